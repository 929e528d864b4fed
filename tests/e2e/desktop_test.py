#!/usr/bin/python3
"""Desktop tests of `velto record` on a real X11 session.

Starts Xvfb with openbox, a private session bus with dunst, a second private bus standing in
for the system bus with a python-dbusmock logind, and xterm windows driven by xdotool. Runs the
recorder as a user would and checks what it stored.

Usage: desktop_test.py BIN_DIR   (the build's bin folder with velto and velto-e2e-notify)
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import json
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import time

import harness
from harness import CannotStart, Failed

SKIP = 77
# Segments shorter than 3 s are not recorded; every step lasts longer.
STEP = 4
TOOLS = ["Xvfb", "openbox", "xdotool", "xterm", "xprop", "dbus-daemon", "dbus-send", "dunst",
         "dunstctl"]


class Session(harness.Session):
    def __init__(self, bin_dir):
        super().__init__(bin_dir, "velto-e2e-")

    def start(self):
        self.start_xvfb()
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = self.start_bus("system")
        self.spawn(["openbox", "--sm-disable"])
        self.spawn(["dunst"])
        self.logind = self.spawn(["/usr/bin/python3", "-m", "dbusmock", "--system", "--template",
                                  "logind"])
        self.wait_for(lambda: self.mock("ListSessions", check=False).returncode == 0,
                      "the mocked logind")
        self.wait_for(lambda: self.run(["dunstctl", "is-paused"], check=False).returncode == 0,
                      "dunst")
        self.wait_for(self.wm_running, "openbox")
        self.mock_call("/org/freedesktop/login1", "org.freedesktop.DBus.Mock", "AddSession",
                       "ssusb", "e2e", "seat0", str(os.getuid()), "tester", "true")

    # --- D-Bus -----------------------------------------------------------------------------

    def dbus_send(self, bus, *args, check=True):
        address = self.env["DBUS_SYSTEM_BUS_ADDRESS"] if bus == "system" else \
            self.env["DBUS_SESSION_BUS_ADDRESS"]
        return self.run(["dbus-send", f"--bus={address}", "--print-reply", *args], check=check)

    def mock(self, method, check=True):
        return self.dbus_send("system", "--dest=org.freedesktop.login1", "/org/freedesktop/login1",
                              f"org.freedesktop.login1.Manager.{method}", check=check)

    def mock_call(self, path, interface, method, signature, *values):
        typed = {"s": "string", "u": "uint32", "b": "boolean"}
        args = [f"{typed[kind]}:{value}" for kind, value in zip(signature, values)]
        return self.dbus_send("system", "--dest=org.freedesktop.login1", path,
                              f"{interface}.{method}", *args)

    def set_locked(self, locked):
        self.mock_call("/org/freedesktop/login1/session/e2e", "org.freedesktop.login1.Session",
                       "SetLockedHint", "b", "true" if locked else "false")

    def prepare_for_sleep(self, sleeping):
        # Mock.EmitSignal(interface, name, signature, args): dbus-send cannot build the variant
        # array, so python-dbus does it.
        script = (
            "import dbus,sys;"
            "b=dbus.bus.BusConnection(sys.argv[1]);"
            "o=b.get_object('org.freedesktop.login1','/org/freedesktop/login1');"
            "o.EmitSignal('org.freedesktop.login1.Manager','PrepareForSleep','b',"
            "[dbus.Boolean(sys.argv[2]=='1')],dbus_interface='org.freedesktop.DBus.Mock')")
        self.run(["/usr/bin/python3", "-c", script, self.env["DBUS_SYSTEM_BUS_ADDRESS"],
                  "1" if sleeping else "0"])

    # --- X11 -------------------------------------------------------------------------------

    def window(self, name, window_class, title, launcher=()):
        """An xterm window; `launcher` is a command that execs the xterm command after it."""
        self.spawn([*launcher, "xterm", "-name", name, "-class", window_class, "-T", title,
                    "-e", "sleep", "100000"])
        found = []

        def appeared():
            result = self.run(["xdotool", "search", "--classname", f"^{name}$"], check=False)
            found[:] = result.stdout.split()
            return bool(found)
        self.wait_for(appeared, f"the {name} window")
        return found[0]

    def activate(self, window):
        self.run(["xdotool", "windowactivate", "--sync", window])

    def input(self):
        self.run(["xdotool", "mousemove_relative", "--", "1", "1"])

    def pause(self, seconds, keep_active=True):
        """Waits, moving the pointer every 2 s unless the user is meant to be away."""
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            if keep_active:
                self.input()
            time.sleep(min(2.0, max(0.0, deadline - time.monotonic())))

    # --- velto -----------------------------------------------------------------------------

    def velto(self, *args, check=True):
        return self.run([os.path.join(self.bin, "velto"), *args], check=check)

    def start_recorder(self, log_name):
        log = open(os.path.join(self.root, log_name), "w")
        recorder = self.spawn([os.path.join(self.bin, "velto"), "record"], stderr=log)
        self.wait_for(lambda: "Recording." in self.read(log_name), "the recorder")
        return recorder

    def segments(self, columns="bundle_id, app_name, window_title, end_reason, seconds"):
        path = os.path.join(self.env["XDG_DATA_HOME"], "Velto", "Velto.sqlite")
        with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as db:
            return db.execute(f"SELECT {columns} FROM segment ORDER BY started_us").fetchall()


def scenario(s):
    config = os.path.join(s.env["XDG_CONFIG_HOME"], "Velto")
    os.makedirs(config, mode=0o700, exist_ok=True)
    with open(os.path.join(config, "settings.json"), "w") as f:
        json.dump({"velto.idleThresholdSeconds": 10, "velto.awayPromptMinutes": 1}, f)
    applications = os.path.join(s.env["XDG_DATA_HOME"], "applications")
    os.makedirs(applications)
    with open(os.path.join(applications, "org.example.Beta.desktop"), "w") as f:
        f.write("[Desktop Entry]\nType=Application\nName=Beta Studio\nExec=beta\n"
                "StartupWMClass=BetaWin\n")

    alpha = s.window("alpha", "Alpha", "alpha one")
    beta = s.window("beta", "BetaWin", "beta main")
    s.activate(alpha)
    s.input()

    status = s.velto("status")
    s.check("Recorder: not running" in status.stdout and "idle: XScreenSaver" in status.stdout
            and "sleep, lock and session switches: logind" in status.stdout,
            "velto status sees the display, idle time and logind", status.stdout)

    started = time.monotonic()
    recorder = s.start_recorder("record-1.log")
    s.check("No X11 display" not in s.read("record-1.log") and
            "No logind" not in s.read("record-1.log"),
            "the recorder finds every source", s.read("record-1.log"))
    s.pause(STEP)
    s.run(["xdotool", "set_window", "--name", "alpha two", alpha])
    s.pause(STEP)
    s.activate(beta)
    s.pause(STEP)
    s.activate(alpha)
    s.pause(STEP)
    s.set_locked(True)
    s.pause(STEP)
    s.set_locked(False)
    s.pause(STEP)
    s.prepare_for_sleep(True)
    s.pause(STEP)
    s.prepare_for_sleep(False)
    s.pause(STEP)
    s.velto("pause")
    s.pause(STEP)
    paused_status = s.velto("status").stdout
    s.velto("resume")
    s.pause(STEP)
    s.velto("pause", "--for", "30m")
    s.pause(2)
    timed_status = s.velto("status").stdout
    s.velto("resume")
    s.pause(STEP)

    rows = s.segments()
    reasons = [row[3] for row in rows]
    s.check(("alpha", "Alpha", "alpha one", "titleChange") in [r[:4] for r in rows],
            "a title change ends the segment with the old title", rows)
    s.check(any(r[0] == "org.example.Beta" and r[1] == "Beta Studio" and r[2] == "beta main"
                and r[3] == "focusChange" for r in rows),
            "a focus switch records the desktop entry's id and name", rows)
    s.check(any(r[0] == "alpha" and r[2] == "alpha two" and r[3] == "lock" for r in rows),
            "a mocked lock ends the segment with \"lock\"", rows)
    s.check("sleep" in reasons, "a mocked PrepareForSleep ends the segment with \"sleep\"", rows)
    s.check("paused" in reasons, "velto pause ends the segment with \"paused\"", rows)
    s.check("Tracking: paused" in paused_status and "Recorder: running" in paused_status,
            "velto status shows the running recorder paused", paused_status)
    s.check("Tracking: paused until" in timed_status,
            "velto pause --for pauses the running recorder until a time", timed_status)

    code = s.run([os.path.join(s.bin, "velto-e2e-notify"), "limit.e2e", "Time limit reached",
                  "Alpha: 1 h of 1 h"], check=False)
    s.check(code.returncode == 0, "the notification client is authorised and posts", code.stderr)
    s.run(["dunstctl", "close-all"], check=False)
    history = s.run(["dunstctl", "history"], check=False).stdout
    try:
        summaries = [entry["summary"]["data"] for entry in json.loads(history)["data"][0]]
    except (ValueError, KeyError, IndexError):
        summaries = []
    s.check(summaries.count("Time limit reached") == 1,
            "the notification reaches dunst once (a repost replaces it)", history[:400])

    # A limit set from the command line reaches the running recorder, which alerts at once:
    # Alpha has been in front for longer than the limit. (Here, so that the wait for the first
    # heartbeat below absorbs the time it takes.)
    added = s.velto("limits", "add", "app:alpha", "5s", check=False)
    s.check(added.returncode == 0, "velto limits add takes a limit", added.stderr)
    s.pause(3)
    s.run(["dunstctl", "close-all"], check=False)
    history = s.run(["dunstctl", "history"], check=False).stdout
    try:
        summaries = [entry["summary"]["data"] for entry in json.loads(history)["data"][0]]
    except (ValueError, KeyError, IndexError):
        summaries = []
    s.check("alpha has hit today's limit" in [t.lower() for t in summaries],
            "a limit added with velto limits add reaches the running recorder and alerts",
            summaries)
    listed = s.velto("limits", "--json", check=False)
    try:
        limit = json.loads(listed.stdout)["limits"][0]
    except (ValueError, KeyError, IndexError):
        limit = {}
    s.check(limit.get("key") == "limit:day:app:alpha" and limit.get("overOrMet") is True,
            "velto limits --json lists the rule as reached", listed.stdout)

    # The checkpoint is written at the first heartbeat, 60 s after start.
    s.pause(max(0.0, 64 - (time.monotonic() - started)))
    bar = s.velto("status", "--format", "waybar").stdout
    try:
        module = json.loads(bar)
    except ValueError:
        module = {}
    s.check(bar.count("\n") == 1 and module.get("alt") == "recording"
            and "Alpha" in module.get("tooltip", "") and "Beta Studio" in module.get("tooltip", "")
            and module.get("class") in ("calm", "near", "over") and module.get("text"),
            "velto status --format waybar prints one line with today's apps for a bar module", bar)
    recorder.send_signal(signal.SIGKILL)
    recorder.wait()
    before = len(s.segments())
    recorder = s.start_recorder("record-2.log")
    # Idle closes the segment at the last input, so it needs more than 3 s of input first.
    s.pause(2 * STEP)
    rows = s.segments()
    s.check(any(r[3] == "recovered" and r[0] == "alpha" for r in rows[before:]),
            "kill -9 and a restart yield a \"recovered\" record", rows[before:])

    # Away: no input for 70 s (threshold 10 s, away prompt from 1 min), then back.
    s.pause(70, keep_active=False)
    s.input()
    s.pause(7)
    rows = s.segments()
    s.check(any(r[3] == "idle" for r in rows[before:]), "idle ends the segment with \"idle\"",
            rows[before:])
    log = s.read("record-2.log")
    s.check("offered to the user: true" in log, "the away stretch is offered as a gap", log)

    recorder.send_signal(signal.SIGTERM)
    code = recorder.wait(timeout=10)
    rows = s.segments()
    s.check(code == 0 and rows[-1][3] == "appQuit" and "Recording stopped." in
            s.read("record-2.log"), "SIGTERM stops cleanly with \"appQuit\"", rows[-1:])


def browser_tab_run(s):
    """With the accessibility opt-in, a browser's tab is read over a fake AT-SPI bus."""
    config = os.path.join(s.env["XDG_CONFIG_HOME"], "Velto")
    os.makedirs(config, mode=0o700, exist_ok=True)
    with open(os.path.join(config, "settings.json"), "w") as f:
        json.dump({"velto.idleThresholdSeconds": 10, "velto.accessibilityRequested": True}, f)
    a11y = s.start_bus("accessibility")
    fake = os.path.join(os.path.dirname(os.path.abspath(__file__)), "fake_accessibility.py")
    title = "Example Page \u2014 Mozilla Firefox"
    browser = s.window("fakefox", "firefox", title,
                       launcher=("/usr/bin/python3", fake, a11y, "https://example.org/page",
                                 title, "--"))
    other = s.window("gamma", "Gamma", "gamma")
    s.activate(other)

    status = s.velto("status").stdout
    s.check("browser tabs: AT-SPI on" in status, "velto status shows tab reading on", status)
    recorder = s.start_recorder("record-3.log")
    enabled = s.dbus_send("session", "--dest=org.a11y.Bus", "/org/a11y/bus",
                          "org.freedesktop.DBus.Properties.Get", "string:org.a11y.Status",
                          "string:IsEnabled", check=False).stdout
    s.check("boolean true" in enabled, "the opt-in turns org.a11y.Status IsEnabled on", enabled)
    s.activate(browser)
    s.pause(STEP)
    s.activate(other)
    s.pause(STEP)
    recorder.send_signal(signal.SIGTERM)
    recorder.wait(timeout=10)
    # The id is "firefox" or a system desktop file's whose StartupWMClass is firefox.
    rows = s.segments("bundle_id, window_title, host, end_reason")
    s.check(any(r[0].startswith("firefox") and r[1:] == (title, "example.org", "focusChange")
                for r in rows),
            "the active frame's DocURL gives the browser segment its host", rows[-4:])


def window_rows(s, since_us):
    return [r for r in s.segments("started_us, ended_us, bundle_id, window_title, tool_name, "
                                  "end_reason") if r[0] >= since_us]


def windows_run(s):
    """Windows of one application: every switch and rename is a row boundary within a second,
    with that window's title and tool; a class of one's own is an application of its own; a
    closed front window stops getting time at once."""
    config = os.path.join(s.env["XDG_CONFIG_HOME"], "Velto")
    os.makedirs(config, mode=0o700, exist_ok=True)
    with open(os.path.join(config, "settings.json"), "w") as f:
        json.dump({"velto.idleThresholdSeconds": 120}, f)
    flags = os.path.join(s.root, "flags")
    os.makedirs(flags, exist_ok=True)

    def terminal(name, title, *options):
        """Stock xterm, one process per window, running one long program (its tool)."""
        process = s.spawn(["xterm", "-name", name, *options, "-T", title, "-e", "sleep",
                           "100000"])
        found = []

        def appeared():
            result = s.run(["xdotool", "search", "--name", f"^{title}$"], check=False)
            found[:] = result.stdout.split()
            return bool(found)
        s.wait_for(appeared, f"the {name} window")
        return found[0], process

    def rename(process, title):
        """Writes the title escape to the terminal, as a program inside it would."""
        with open(f"/proc/{process.pid}/task/{process.pid}/children") as f:
            children = f.read().split()
        if not children:
            raise Failed(f"xterm {process.pid} runs no program")
        tty = os.readlink(f"/proc/{children[0]}/fd/1")
        with open(tty, "w") as terminal_device:
            terminal_device.write(f"\033]2;{title}\007")

    one, one_process = terminal("term1", "first term")
    two, two_process = terminal("term2", "second term")
    three, three_process = terminal("term3", "third term")
    s.activate(one)
    since = int(time.time() * 1e6)
    recorder = s.start_recorder("record-4.log")
    expected = []  # (instant, title) of every boundary the user made

    def switch(window, title):
        s.pause(STEP)
        s.activate(window)
        expected.append((time.time(), title))

    switch(two, "second term")
    switch(three, "third term")
    switch(one, "first term")
    s.pause(STEP)
    rename(one_process, "first term renamed")
    s.wait_for(lambda: s.run(["xdotool", "getwindowname", one]).stdout.strip() ==
               "first term renamed", "the rename")
    expected.append((time.time(), "first term renamed"))
    switch(two, "second term")
    s.pause(STEP)

    # A class of the user's own: "xterm -class Other" is not Debian's xterm. It is the only
    # window left when it closes, which is when openbox leaves _NET_ACTIVE_WINDOW on it.
    for process in (one_process, two_process, three_process):
        process.terminate()
        process.wait(timeout=5)
    # It closes itself when its flag appears, as when the user types "exit".
    close_flag = os.path.join(flags, "other")
    s.spawn(["xterm", "-class", "Other", "-T", "other term", "-e", "sh", "-c",
             f"while [ ! -e {close_flag} ]; do sleep 0.1; done"])
    s.wait_for(lambda: s.run(["xdotool", "search", "--class", "^Other$"], check=False).stdout,
               "the Other window")
    other = s.run(["xdotool", "search", "--class", "^Other$"]).stdout.split()[0]
    s.activate(other)
    s.pause(STEP)
    open(close_flag, "w").close()
    s.wait_for(lambda: not s.run(["xdotool", "search", "--class", "^Other$"], check=False).stdout,
               "the Other window to close")
    closed_at = time.time()
    s.pause(STEP)
    recorder.send_signal(signal.SIGTERM)
    recorder.wait(timeout=10)

    rows = window_rows(s, since)
    terms = [r for r in rows if r[3] and "term" in r[3] and not r[3].startswith("other")]
    for instant, title in expected:
        starts = [r for r in terms if abs(r[0] / 1e6 - instant) <= 1.0]
        s.check(any(r[3] == title for r in starts),
                f"a row titled \"{title}\" starts within a second of its switch or rename",
                "\n".join(map(str, terms)))
    for r in terms:
        spans = [t for t, _ in expected if r[0] / 1e6 + 1.0 < t < r[1] / 1e6 - 1.0]
        s.check(not spans, f"no row spans a switch ({r[3]})", r)
    own = "debian-xterm" if os.path.exists("/usr/share/applications/debian-xterm.desktop") \
        else "xterm"
    s.check(all(r[2] == own for r in terms), f"stock xterm windows are \"{own}\"",
            {r[2] for r in terms})
    s.check(all(r[4] == "sleep" for r in terms),
            "each terminal row carries the tool running in its own window", [r[4] for r in terms])
    others = [r for r in rows if r[2] == "other"]
    s.check(len(others) == 1 and others[0][3] == "other term",
            "\"xterm -class Other\" is an application of its own", rows[-3:])
    s.check(len(others) == 1 and abs(others[0][1] / 1e6 - closed_at) <= 1.0,
            "closing the window in front ends its row within a second", others)


def no_display_run(s):
    """Without a display or buses, the recorder names what is missing and keeps running."""
    env = dict(s.env)
    for key in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS"):
        env.pop(key, None)
    env["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + os.path.join(s.root, "no-bus")
    env["XDG_RUNTIME_DIR"] = os.path.join(s.root, "run-bare")
    env["XDG_DATA_HOME"] = os.path.join(s.root, "data-bare")
    os.makedirs(env["XDG_RUNTIME_DIR"], mode=0o700)
    recorder = subprocess.Popen([os.path.join(s.bin, "velto"), "record"], env=env,
                                stderr=subprocess.PIPE, text=True)
    time.sleep(2)
    recorder.send_signal(signal.SIGINT)
    try:
        _, err = recorder.communicate(timeout=10)
    except subprocess.TimeoutExpired:
        recorder.kill()
        _, err = recorder.communicate()
    s.check(recorder.returncode == 0 and "No X11 display" in err and "No logind" in err and
            "Recording stopped." in err,
            "without a display or buses the recorder says so and stops cleanly", err)


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    try:
        import dbusmock  # noqa: F401
    except ImportError:
        missing.append("python3-dbusmock")
    if missing:
        print("desktop tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    s = Session(sys.argv[1])
    try:
        s.start()
        no_display_run(s)
        scenario(s)
        browser_tab_run(s)
        windows_run(s)
    except (CannotStart, Failed) as error:
        s.check(False, str(error))
    finally:
        s.stop()
        if s.failures:
            print(f"logs kept in {s.root}")
        else:
            shutil.rmtree(s.root, ignore_errors=True)
    return 1 if s.failures else 0


if __name__ == "__main__":
    sys.exit(main())
