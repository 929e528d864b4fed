#!/usr/bin/python3
"""A fake accessibility bus for the desktop tests: the session's org.a11y.Bus, the registry and
one browser application whose bus connection belongs to the process that then becomes the
browser's window (exec'd as the command after "--"), so the window's _NET_WM_PID and the
application's GetConnectionUnixProcessID agree, as they do for a real browser.

The application has two frames: an inactive one showing https://other.example.net/ and the
active one named TITLE whose document (inside a panel, next to a toolbar with an address bar)
carries URL as Gecko's DocURL.

Usage: fake_accessibility.py A11Y_BUS_ADDRESS URL TITLE -- COMMAND...
The session bus is $DBUS_SESSION_BUS_ADDRESS. org.a11y.Status IsEnabled starts false and
remembers what it is set to.
"""
import os
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

ACCESSIBLE = "org.a11y.atspi.Accessible"
DOCUMENT = "org.a11y.atspi.Document"
TEXT = "org.a11y.atspi.Text"
PROPERTIES = "org.freedesktop.DBus.Properties"
ROOT = "/org/a11y/atspi/accessible/root"
# AtspiRole values.
APPLICATION, FRAME, PANEL, TOOL_BAR, ENTRY, DOCUMENT_WEB = 75, 23, 39, 63, 79, 95
ACTIVE = 1 << 1


class Tree(dbus.service.FallbackObject):
    """Every object of one connection, keyed by path: role, name, state, children, attributes,
    text. Children on this connection are given as paths, others as (bus name, path)."""

    def __init__(self, connection, nodes):
        super().__init__(connection, "/")
        self.owner = connection
        self.nodes = nodes

    def node(self, path):
        if path not in self.nodes:
            raise dbus.exceptions.DBusException("no such object " + path,
                                                name="org.freedesktop.DBus.Error.UnknownObject")
        return self.nodes[path]

    def reference(self, child):
        if isinstance(child, tuple):
            return dbus.Struct((child[0], dbus.ObjectPath(child[1])), signature="so")
        return dbus.Struct((self.owner.get_unique_name(), dbus.ObjectPath(child)),
                           signature="so")

    @dbus.service.method(ACCESSIBLE, in_signature="", out_signature="a(so)", path_keyword="path")
    def GetChildren(self, path):
        return dbus.Array([self.reference(c) for c in self.node(path).get("children", [])],
                          signature="(so)")

    @dbus.service.method(ACCESSIBLE, in_signature="", out_signature="u", path_keyword="path")
    def GetRole(self, path):
        return dbus.UInt32(self.node(path)["role"])

    @dbus.service.method(ACCESSIBLE, in_signature="", out_signature="au", path_keyword="path")
    def GetState(self, path):
        return dbus.Array([dbus.UInt32(self.node(path).get("state", 0)), dbus.UInt32(0)],
                          signature="u")

    @dbus.service.method(DOCUMENT, in_signature="", out_signature="a{ss}", path_keyword="path")
    def GetAttributes(self, path):
        attributes = self.node(path).get("attributes")
        if attributes is None:
            raise dbus.exceptions.DBusException(
                "not a document", name="org.freedesktop.DBus.Error.UnknownMethod")
        return dbus.Dictionary(attributes, signature="ss")

    @dbus.service.method(TEXT, in_signature="ii", out_signature="s", path_keyword="path")
    def GetText(self, start, end, path):
        return self.node(path).get("text", "")

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v", path_keyword="path")
    def Get(self, interface, name, path):
        if interface == ACCESSIBLE and name == "Name":
            return dbus.String(self.node(path).get("name", ""))
        raise dbus.exceptions.DBusException("no property " + name,
                                            name="org.freedesktop.DBus.Error.UnknownProperty")


class A11yBus(dbus.service.Object):
    def __init__(self, connection, address):
        super().__init__(connection, "/org/a11y/bus")
        self.address = address
        self.status = {"IsEnabled": False, "ScreenReaderEnabled": False}

    @dbus.service.method("org.a11y.Bus", in_signature="", out_signature="s")
    def GetAddress(self):
        return self.address

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return dbus.Boolean(self.status[name])

    @dbus.service.method(PROPERTIES, in_signature="ssv", out_signature="")
    def Set(self, interface, name, value):
        if interface == "org.a11y.Status" and name in self.status:
            self.status[name] = bool(value)

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return dbus.Dictionary({k: dbus.Boolean(v) for k, v in self.status.items()},
                               signature="sv")


def serve(application, a11y_address, url, title, ready, parent):
    registry = dbus.bus.BusConnection(a11y_address)
    session = dbus.bus.BusConnection(os.environ["DBUS_SESSION_BUS_ADDRESS"])
    objects = [
        Tree(application, {
            ROOT: {"role": APPLICATION, "name": "Firefox", "children": ["/f0", "/f1"]},
            "/f0": {"role": FRAME, "name": "Other — Mozilla Firefox", "children": ["/f0/doc"]},
            "/f0/doc": {"role": DOCUMENT_WEB, "attributes": {"DocURL": "https://other.example.net/"}},
            "/f1": {"role": FRAME, "name": title, "state": ACTIVE,
                    "children": ["/f1/toolbar", "/f1/panel"]},
            "/f1/toolbar": {"role": TOOL_BAR, "children": ["/f1/toolbar/address"]},
            "/f1/toolbar/address": {"role": ENTRY, "text": "typed.example.com"},
            "/f1/panel": {"role": PANEL, "children": ["/f1/panel/doc"]},
            "/f1/panel/doc": {"role": DOCUMENT_WEB,
                              "attributes": {"DocURL": url, "MimeType": "text/html"}},
        }),
        # The registry lists itself first: a connection of another process, to be passed over.
        Tree(registry, {ROOT: {"role": 14, "children": [
            (registry.get_unique_name(), ROOT), (application.get_unique_name(), ROOT)]}}),
        A11yBus(session, a11y_address),
    ]
    for connection, name in ((registry, "org.a11y.atspi.Registry"), (session, "org.a11y.Bus")):
        reply = connection.request_name(name, dbus.bus.NAME_FLAG_DO_NOT_QUEUE)
        if reply != dbus.bus.REQUEST_NAME_REPLY_PRIMARY_OWNER:
            print(f"fake_accessibility: {name} is taken", file=sys.stderr)
            os._exit(1)
    os.write(ready, b"1")
    os.close(ready)
    loop = GLib.MainLoop()

    def parent_alive():
        if os.getppid() != parent:
            loop.quit()
            return False
        return True
    GLib.timeout_add(500, parent_alive)
    loop.run()
    del objects


def main():
    if len(sys.argv) < 6 or sys.argv[4] != "--":
        print(__doc__)
        return 2
    a11y_address, url, title, command = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[5:]
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    # Connected here, so the bus records this process (the future window) as the owner.
    application = dbus.bus.BusConnection(a11y_address)
    read_end, write_end = os.pipe()
    parent = os.getpid()
    if os.fork() == 0:
        os.close(read_end)
        serve(application, a11y_address, url, title, write_end, parent)
        os._exit(0)
    os.close(write_end)
    os.read(read_end, 1)
    os.execvp(command[0], command)


if __name__ == "__main__":
    sys.exit(main())
