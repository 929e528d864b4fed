"""A minimal client for the browser test's remote protocols: one WebSocket (text frames only) to
Firefox's WebDriver BiDi agent or Chromium's DevTools, commands sent one at a time, events
skipped. Both speak {"id", "method", "params"} and answer with the same id."""
import base64
import json
import os
import socket
import struct


class BiDiError(Exception):
    pass


class BiDi:
    def __init__(self, port, path="/session", timeout=30):
        self.sock = socket.create_connection(("127.0.0.1", port), timeout=timeout)
        key = base64.b64encode(os.urandom(16)).decode()
        self.sock.sendall((f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\n"
                           "Upgrade: websocket\r\nConnection: Upgrade\r\n"
                           f"Sec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n")
                          .encode())
        head = b""
        while b"\r\n\r\n" not in head:
            chunk = self.sock.recv(1)
            if not chunk:
                raise BiDiError("the remote agent closed the connection")
            head += chunk
        if b" 101 " not in head.split(b"\r\n")[0]:
            raise BiDiError("no WebSocket upgrade: " + head.split(b"\r\n")[0].decode())
        self.next_id = 1

    def close(self):
        self.sock.close()

    def _send(self, text):
        data = text.encode()
        header = bytearray([0x81])
        if len(data) < 126:
            header.append(0x80 | len(data))
        elif len(data) < 65536:
            header.append(0x80 | 126)
            header += struct.pack(">H", len(data))
        else:
            header.append(0x80 | 127)
            header += struct.pack(">Q", len(data))
        mask = os.urandom(4)
        self.sock.sendall(bytes(header) + mask +
                          bytes(b ^ mask[i % 4] for i, b in enumerate(data)))

    def _exactly(self, n):
        data = b""
        while len(data) < n:
            chunk = self.sock.recv(n - len(data))
            if not chunk:
                raise BiDiError("the remote agent closed the connection")
            data += chunk
        return data

    def _receive(self):
        message = b""
        while True:
            first, second = self._exactly(2)
            length = second & 0x7F
            if length == 126:
                length = struct.unpack(">H", self._exactly(2))[0]
            elif length == 127:
                length = struct.unpack(">Q", self._exactly(8))[0]
            mask = self._exactly(4) if second & 0x80 else None
            payload = self._exactly(length)
            if mask:
                payload = bytes(b ^ mask[i % 4] for i, b in enumerate(payload))
            opcode = first & 0x0F
            if opcode == 8:
                raise BiDiError("the remote agent closed the session")
            if opcode in (9, 10):
                continue
            message += payload
            if first & 0x80:
                return message.decode()

    def command(self, method, params=None):
        ident = self.next_id
        self.next_id += 1
        self._send(json.dumps({"id": ident, "method": method, "params": params or {}}))
        while True:
            reply = json.loads(self._receive())
            if reply.get("id") != ident:
                continue
            if reply.get("type") == "error":
                raise BiDiError(f"{method}: {reply.get('error')}: {reply.get('message')}")
            if isinstance(reply.get("error"), dict):
                raise BiDiError(f"{method}: {reply['error'].get('message')}")
            return reply.get("result", {})
