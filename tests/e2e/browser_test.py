#!/usr/bin/python3
"""Desktop test of the browser extension and its native messaging host with a real browser.

On the X11 session of desktop_test.py (Xvfb, openbox, private buses), `velto browser install`
connects Debian's Chromium in a private home, and Chromium runs headless with the extension
`velto browser install` wrote out. A loopback HTTP server serves pages on three hosts (one of
them excluded); the test switches tabs over Chromium's DevTools endpoints while an xterm window
standing for the browser (its _NET_WM_PID is the browser's) is in front, opens a page in an
off-the-record context, and checks that the store holds both allowed hosts with their times and
nothing of the excluded or the private one. Firefox ESR is
run the same way when it is installed.

Usage: browser_test.py BIN_DIR   (the build's bin folder with velto and velto-browser-host)
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import http.server
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import threading
import time
import urllib.parse
import urllib.request

import bidi
import desktop_test
from harness import CannotStart, Failed

SKIP = 77
STEP = 5
CHROMIUM = "/usr/lib/chromium/chromium"
FIREFOX = "/usr/lib/firefox-esr/firefox-esr"
HOSTS = ("alpha.test", "beta.test", "gamma.test")
EXCLUDED = "gamma.test"
PRIVATE = "secret.test"
SERVED = set()  # the hosts whose page the server sent


class Pages(http.server.BaseHTTPRequestHandler):
    """A page per host, titled after it."""

    def do_GET(self):
        host = (self.headers.get("Host") or "").split(":")[0]
        SERVED.add(host)
        title = host.split(".")[0].capitalize() + " page"
        body = f"<!doctype html><title>{title}</title><p>{host}</p>".encode()
        self.send_response(200)
        self.send_header("Content-Type", "text/html; charset=utf-8")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *args):
        pass


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Chromium:
    """Headless Chromium in its own process group, driven over the DevTools HTTP endpoints."""

    key = "chromium"
    bundle = "chromium"

    def __init__(self, session, extension, first_url):
        self.port = free_port()
        self.manifest = os.path.join(session.env["XDG_CONFIG_HOME"], "chromium",
                                     "NativeMessagingHosts", "org.velto.browser_host.json")
        profile = os.path.join(session.env["XDG_CONFIG_HOME"], "chromium")
        argv = [CHROMIUM, "--headless=new", f"--user-data-dir={profile}", "--no-first-run",
                "--no-default-browser-check", "--disable-gpu",
                f"--remote-debugging-port={self.port}", f"--load-extension={extension}",
                f"--disable-extensions-except={extension}",
                "--host-resolver-rules=MAP *.test 127.0.0.1", first_url]
        if os.getuid() == 0:
            argv.insert(1, "--no-sandbox")
        self.log = open(os.path.join(session.root, "chromium.log"), "w")
        self.process = subprocess.Popen(argv, env=session.env, stdout=self.log,
                                        stderr=subprocess.STDOUT, start_new_session=True)
        session.wait_for(lambda: self.targets() is not None, "Chromium's DevTools endpoint", 60)

    def call(self, path, method="GET"):
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}{path}", method=method)
        with urllib.request.urlopen(request, timeout=5) as reply:
            return reply.read().decode()

    def targets(self):
        try:
            return [t for t in json.loads(self.call("/json/list")) if t.get("type") == "page"]
        except (OSError, ValueError):
            return None

    def first_tab(self):
        return next(t["id"] for t in self.targets() if ".test" in t.get("url", ""))

    def open(self, url):
        return json.loads(self.call(f"/json/new?{url}", method="PUT"))["id"]

    def activate(self, target):
        self.call(f"/json/activate/{target}")

    def open_private(self, url):
        """Opens `url` in an off-the-record context, as an incognito window does."""
        endpoint = json.loads(self.call("/json/version"))["webSocketDebuggerUrl"]
        devtools = bidi.BiDi(self.port, path=urllib.parse.urlparse(endpoint).path)
        try:
            context = devtools.command("Target.createBrowserContext")["browserContextId"]
            devtools.command("Target.createTarget", {"url": url, "browserContextId": context})
        finally:
            devtools.close()

    def stop(self):
        stop_group(self.process)
        self.log.close()


class Firefox:
    """Headless Firefox ESR in its own process group; the extension is installed and tabs are
    driven over WebDriver BiDi."""

    key = "firefox"
    bundle = "firefox"

    def __init__(self, session, extension, first_url):
        self.port = free_port()
        self.manifest = os.path.join(session.root, ".mozilla", "native-messaging-hosts",
                                     "org.velto.browser_host.json")
        profile = os.path.join(session.root, "firefox-profile")
        os.makedirs(profile, exist_ok=True)
        with open(os.path.join(profile, "user.js"), "w") as f:
            for name, value in [("network.dns.forceResolve", "127.0.0.1"),
                                ("network.proxy.type", 0),
                                ("browser.shell.checkDefaultBrowser", False),
                                ("datareporting.policy.dataSubmissionEnabled", False),
                                ("browser.startup.homepage_override.mstone", "ignore"),
                                ("app.update.enabled", False)]:
                f.write(f"user_pref({json.dumps(name)}, {json.dumps(value)});\n")
        self.log = open(os.path.join(session.root, "firefox.log"), "w")
        self.process = subprocess.Popen(
            [FIREFOX, "--headless", "--no-remote", "--profile", profile,
             "--remote-debugging-port", str(self.port), "about:blank"],
            env=session.env, stdout=self.log, stderr=subprocess.STDOUT, start_new_session=True)
        self.bidi = None

        def connected():
            try:
                self.bidi = bidi.BiDi(self.port)
                return True
            except (OSError, bidi.BiDiError):
                return False
        session.wait_for(connected, "Firefox's remote agent", 60)
        self.bidi.command("session.new", {"capabilities": {}})
        self.bidi.command("webExtension.install",
                          {"extensionData": {"type": "path", "path": extension}})
        tree = self.bidi.command("browsingContext.getTree", {"maxDepth": 0})
        self.first = tree["contexts"][0]["context"]
        self.navigate(self.first, first_url)

    def navigate(self, context, url):
        self.bidi.command("browsingContext.navigate",
                          {"context": context, "url": url, "wait": "complete"})

    def first_tab(self):
        return self.first

    def open(self, url):
        context = self.bidi.command("browsingContext.create", {"type": "tab"})["context"]
        self.navigate(context, url)
        self.activate(context)
        return context

    def activate(self, context):
        self.bidi.command("browsingContext.activate", {"context": context})

    def stop(self):
        if self.bidi:
            self.bidi.close()
        stop_group(self.process)
        self.log.close()


def stop_group(process):
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGTERM)
        try:
            process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()


def host_process(group):
    """(pid, parent pid) of the velto-browser-host in the process group `group`, or None."""
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat") as f:
                stat = f.read()
            with open(f"/proc/{entry}/comm") as f:
                comm = f.read().strip()
        except OSError:
            continue
        fields = stat.rsplit(")", 1)[1].split()
        if comm.startswith("velto-browser-h") and int(fields[2]) == group:
            return int(entry), int(fields[1])
    return None


def status(s):
    """`velto status --json` as a dict, and its output."""
    result = s.velto("status", "--json", check=False)
    try:
        return json.loads(result.stdout), result.stdout.strip()[:800] or result.stderr
    except ValueError:
        return {}, result.stdout.strip()[:800] or result.stderr


def host_seconds(rows, host):
    return sum(r[3] for r in rows if r[1] == host)


def browser_run(s, kind, port, recorder_first):
    """Tab switches in the browser reach the store as sites with their times. With
    `recorder_first` false the browser and its host start before the recorder, which must still
    learn the tab in front without a switch."""
    name = kind.__name__
    installed = s.velto("browser", "install", kind.key, check=False)
    s.check(installed.returncode == 0, f"velto browser install {kind.key}", installed.stderr)
    status_, raw = status(s)
    s.check(status_.get("browserHosts") == [kind.key] and
            status_.get("browserReports") == "missing",
            f"velto status lists {name}, and no recorder takes reports yet", raw)
    extension = os.path.join(s.env["XDG_DATA_HOME"], "Velto", "browser-extension")

    recorder = s.start_recorder(f"record-{kind.key}.log") if recorder_first else None
    front = s.window(f"stand-in-{kind.key}", name, name)
    other = s.window(f"other-{kind.key}", "Other", "other")
    s.activate(other)
    base = "http://{}:" + str(port) + "/"
    browser = kind(s, extension, base.format("alpha.test"))
    try:
        s.check(os.path.exists(browser.manifest), f"the host manifest is in {name}'s folder",
                browser.manifest)
        host = []
        s.wait_for(lambda: host.append(host_process(browser.process.pid)) or host[-1],
                   f"velto-browser-host under {name}", 60)
        host_pid, browser_pid = host[-1]
        # The stand-in window belongs to the process that started the host, as a real browser
        # window would.
        s.run(["xprop", "-id", front, "-f", "_NET_WM_PID", "32c", "-set", "_NET_WM_PID",
               str(browser_pid)])
        alpha = browser.first_tab()
        if recorder is None:
            time.sleep(2)  # the first report is sent while no recorder listens
            recorder = s.start_recorder(f"record-{kind.key}.log")
        status_, raw = status(s)
        s.check(status_.get("browserReports") == "listening",
                "velto status sees the recorder take the extension's reports", raw)
        s.activate(front)
        s.pause(STEP)
        beta = browser.open(base.format("beta.test"))
        s.pause(STEP)
        browser.open(base.format(EXCLUDED))
        s.pause(STEP)
        browser.activate(alpha)
        s.pause(STEP)
        browser.activate(beta)
        s.pause(STEP)
        if hasattr(browser, "open_private"):
            browser.open_private(base.format(PRIVATE))
            s.pause(STEP)
        s.activate(other)
        s.pause(2)
    finally:
        browser.stop()
    s.wait_for(lambda: not os.path.exists(f"/proc/{host_pid}"),
               "the host's exit once the browser closed the pipe", 10)
    recorder.send_signal(signal.SIGTERM)
    recorder.wait(timeout=10)

    rows = [r for r in s.segments("bundle_id, host, window_title, seconds")
            if r[0].startswith(kind.bundle)]
    s.check(host_seconds(rows, "alpha.test") >= 2 * STEP - 3 and
            host_seconds(rows, "beta.test") >= 2 * STEP - 3,
            f"{name}: the store holds both hosts with their times", rows)
    s.check(any(r[1] == "alpha.test" and r[2] == "Alpha page" for r in rows) and
            any(r[1] == "beta.test" and r[2] == "Beta page" for r in rows),
            f"{name}: each site's rows carry its tab's title", rows)
    everything = s.segments("bundle_id, host, window_title, seconds")
    s.check(not any(r[1] == EXCLUDED or (r[2] or "").startswith("Gamma") for r in everything),
            f"{name}: the excluded site is never written", everything)
    if hasattr(kind, "open_private"):
        s.check(PRIVATE in SERVED and
                not any(r[1] == PRIVATE or (r[2] or "").startswith("Secret") for r in everything),
                f"{name}: the private window's page loads, and its site is never written",
                (sorted(SERVED), everything))

    removed = s.velto("browser", "uninstall", check=False)
    status_, raw = status(s)
    s.check(removed.returncode == 0 and not os.path.exists(browser.manifest) and
            not os.path.exists(extension) and status_.get("browserHosts") == [],
            "velto browser uninstall removes the manifest and the extension", removed.stderr)


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    missing = [tool for tool in desktop_test.TOOLS if shutil.which(tool) is None]
    if not os.access(CHROMIUM, os.X_OK):
        missing.append("chromium")
    try:
        import dbusmock  # noqa: F401
    except ImportError:
        missing.append("python3-dbusmock")
    if missing:
        print("browser tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    if not os.path.exists(os.path.join(sys.argv[1], "velto-browser-host")):
        print("browser tests skipped: velto-browser-host is not built in " + sys.argv[1])
        return SKIP

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Pages)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    s = desktop_test.Session(sys.argv[1])
    try:
        s.start()
        s.write_settings({"velto.idleThresholdSeconds": 120,
                          "velto.exclusions": {"apps": [], "hosts": [EXCLUDED],
                                               "skipPrivateWindows": True}})
        browser_run(s, Chromium, server.server_address[1], recorder_first=True)
        if os.access(FIREFOX, os.X_OK):
            browser_run(s, Firefox, server.server_address[1], recorder_first=False)
        else:
            print("Firefox ESR not installed: its run is skipped (run scripts/setup)")
    except CannotStart as error:
        print(f"browser tests skipped: {error}")
        s.stop()
        return SKIP
    except Failed as error:
        s.check(False, str(error))
    finally:
        s.stop()
        server.shutdown()
        if s.failures:
            print(f"logs kept in {s.root}")
        else:
            shutil.rmtree(s.root, ignore_errors=True)
    return 1 if s.failures else 0


if __name__ == "__main__":
    sys.exit(main())
