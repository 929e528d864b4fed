#!/usr/bin/python3
"""Desktop tests of the wlroots session on a real, headless sway.

Starts sway with the headless backend (as an unprivileged user when run as root, since sway
refuses to run as root), private session and system buses, and foot terminals of distinct
app_ids; switches focus with swaymsg, renames a window from a script inside it and moves the
seat's pointer for input. Checks what velto-e2e-wlroots reports as it happens, which backend
`velto status` chooses from what sway offers, what `velto record` stores with the wlroots
backend (switches, renames, pause, idle), that an xterm under Xwayland is never taken for the
front of a native window, and that the desktop application runs as a native Wayland client.

Usage: sway_test.py BIN_DIR   (the build's bin folder with velto and velto-e2e-wlroots)
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import json
import os
import pwd
import queue
import shutil
import signal
import subprocess
import sys
import threading
import time

import harness
from harness import CannotStart, Failed

SKIP = 77
# Segments shorter than 3 s are not recorded; every step lasts longer.
STEP = 4
TOOLS = ["sway", "swaymsg", "foot", "dbus-daemon", "Xwayland", "xterm"]
# The idle threshold of the record run: input stops for longer than this, then comes back.
IDLE_THRESHOLD = 6


class Session(harness.Session):
    def __init__(self, bin_dir):
        super().__init__(bin_dir, "velto-sway-")
        os.chmod(self.root, 0o755)
        self.flags = os.path.join(self.root, "flags")
        os.makedirs(self.flags)
        # Programs that sway starts (as nobody when run as root) leave their answers here.
        os.chmod(self.flags, 0o777)
        self.user = None

    def start(self):
        runtime = self.env["XDG_RUNTIME_DIR"]
        config = os.path.join(self.root, "sway.config")
        with open(config, "w") as f:
            f.write("output * bg #202020 solid_color\nfocus_follows_mouse no\n"
                    "default_border none\n")
        sway_env = dict(self.env, WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1",
                        WLR_RENDERER="pixman", WLR_HEADLESS_OUTPUTS="1")
        argv = ["sway", "-c", config]
        if os.geteuid() == 0:
            # sway will not run as root: it runs as nobody in a runtime folder of nobody's, which
            # root's clients still reach.
            if shutil.which("setpriv") is None:
                raise CannotStart("running as root and setpriv is missing to start sway as nobody")
            nobody = pwd.getpwnam("nobody")
            os.chown(runtime, nobody.pw_uid, nobody.pw_gid)
            argv = ["setpriv", f"--reuid={nobody.pw_uid}", f"--regid={nobody.pw_gid}",
                    "--clear-groups", *argv]
        log = open(os.path.join(self.root, "sway.log"), "w")
        self.sway = self.spawn(argv, env=sway_env, stderr=log)
        deadline = time.monotonic() + 15
        while time.monotonic() < deadline and self.sway.poll() is None:
            names = os.listdir(runtime)
            sockets = [n for n in names if n.startswith("sway-ipc.") and n.endswith(".sock")]
            if "wayland-1" in names and sockets:
                self.env["WAYLAND_DISPLAY"] = "wayland-1"
                self.env["SWAYSOCK"] = os.path.join(runtime, sockets[0])
                break
            time.sleep(0.1)
        if "SWAYSOCK" not in self.env:
            raise CannotStart("headless sway did not start: " +
                              self.read("sway.log").strip()[-400:])
        self.wait_for(lambda: self.run(["swaymsg", "-t", "get_version"]).returncode == 0,
                      "sway's IPC")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = self.start_bus("session")
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = self.start_bus("system")

    # --- sway ------------------------------------------------------------------------------

    def views(self):
        tree = json.loads(self.run(["swaymsg", "-r", "-t", "get_tree"]).stdout)
        found = []

        def walk(node):
            if "pid" in node and ("app_id" in node or "window_properties" in node):
                found.append(node)
            for child in node.get("nodes", []) + node.get("floating_nodes", []):
                walk(child)
        walk(tree)
        return found

    def terminal(self, app_id, title):
        """A foot window that renames itself ("TITLE renamed") once its flag file appears."""
        flag = os.path.join(self.flags, title.replace(" ", "_"))
        script = (f"while [ ! -e {flag} ]; do sleep 0.1; done; "
                  f"printf '\\033]2;{title} renamed\\007'; exec sleep 100000")
        process = self.spawn(["foot", f"--app-id={app_id}", f"--title={title}", "sh", "-c",
                              script])
        self.wait_for(lambda: any(v.get("name") == title for v in self.views()),
                      f"the {title} window")
        return process, flag

    def focus(self, title):
        self.run(["swaymsg", f'[title="^{title}$"] focus'])

    def rename(self, flag, title):
        open(flag, "w").close()
        self.wait_for(lambda: any(v.get("name") == title for v in self.views()), "the rename",
                      seconds=5)


    def x_display(self):
        """The Xwayland display sway gives its clients (the server starts on first use)."""
        answer = os.path.join(self.flags, "display")
        self.run(["swaymsg", "exec", f"echo $DISPLAY > {answer}"])
        self.wait_for(lambda: os.path.exists(answer) and os.path.getsize(answer) > 0,
                      "sway's Xwayland display")
        with open(answer) as f:
            return f.read().strip()

    def x_terminal(self, title):
        """An xterm under Xwayland, started by sway as its own clients are."""
        self.run(["swaymsg", "exec", f"xterm -T '{title}'"])
        self.wait_for(lambda: any(v.get("name") == title and v.get("shell") == "xwayland"
                                  for v in self.views()), f"the {title} X11 window", seconds=20)


class User:
    """Pointer input through sway's seat, twice a second while active: headless sway has no
    input devices, so without it the user counts as away from the start."""

    def __init__(self, s):
        self.s = s
        self.active = threading.Event()
        self.last_input = None
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        step = 1
        while True:
            self.active.wait()
            # "--": a negative step is not an option of swaymsg's.
            move = ["swaymsg", "--", "seat", "-", "cursor", "move", str(step), "0"]
            result = subprocess.run(move, env=self.s.env, capture_output=True, timeout=10)
            if result.returncode == 0:
                self.last_input = time.time()
            step = -step
            time.sleep(0.5)

    def start(self):
        """Starts the input; the instant of the first one."""
        asked = time.time()
        self.active.set()
        deadline = time.monotonic() + 5
        while (self.last_input or 0) < asked and time.monotonic() < deadline:
            time.sleep(0.05)
        return self.last_input

    def stop(self):
        """Stops the input; the instant of the last one."""
        self.active.clear()
        time.sleep(0.6)
        return self.last_input


class Probe:
    """velto-e2e-wlroots, its lines collected as they come, each with its arrival time."""

    def __init__(self, s):
        self.process = s.spawn([os.path.join(s.bin, "velto-e2e-wlroots")],
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.lines = queue.Queue()
        threading.Thread(target=self.pump, daemon=True).start()

    def pump(self):
        for line in self.process.stdout:
            try:
                self.lines.put((time.time(), json.loads(line)))
            except ValueError:
                pass
        self.lines.put((time.time(), None))

    def next(self, event, seconds=3):
        """The next line of `event` within `seconds`; none if it does not come."""
        deadline = time.monotonic() + seconds
        while True:
            left = deadline - time.monotonic()
            if left <= 0:
                return None, None
            try:
                at, line = self.lines.get(timeout=left)
            except queue.Empty:
                return None, None
            if line is None:
                return None, None
            if line.get("event") == event:
                return at, line

    def ask(self, command, seconds=3):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.next(command, seconds)[1]


def probe_run(s, one, two, three):
    """What the session reports, as it happens."""
    (one_process, one_flag), (two_process, _), (three_process, _) = one, two, three
    s.focus("first term")
    probe = Probe(s)
    started, start = probe.next("start", seconds=10)
    if start is None:
        raise Failed("velto-e2e-wlroots printed nothing")
    s.check(start.get("connected") is True, "the session connects to sway's toplevel list", start)
    front = start.get("front") or {}
    s.check(front.get("bundleId") == "one" and front.get("pid") == one_process.pid,
            "the window in front at start is known, with sway's pid for it", start)
    print(f"      idle time from: {start.get('idle')}", flush=True)

    window_ids = {}

    def switch(title, bundle, process, what):
        before = time.time()
        s.focus(title)
        at, line = probe.next("front")
        app = (line or {}).get("app") or {}
        s.check(line is not None and app.get("bundleId") == bundle and
                line.get("title") == title and app.get("pid") == process.pid and
                at - before <= 1.0, what, line)
        window_ids[title] = app.get("windowId")

    window_ids["first term"] = front.get("windowId")
    switch("second term", "org.example.Two", two_process,
           "a focus switch is an activation with the desktop entry's id, title and pid")
    switch("third term", "one", three_process,
           "another window of the first app_id is an activation of its own")
    switch("first term", "one", one_process, "switching back is an activation")
    ids = list(window_ids.values())
    s.check(all(ids) and len(set(ids)) == 3, "each window has a number of its own", window_ids)

    before = time.time()
    s.rename(one_flag, "first term renamed")
    at, line = probe.next("title")
    s.check(line is not None and line.get("title") == "first term renamed" and
            line.get("windowId") == window_ids["first term"] and at - before <= 1.5,
            "a rename of the window in front is reported with its new title", line)

    clients = probe.ask("clients") or {}
    pids = sorted(app.get("pid") for app in clients.get("apps", []))
    s.check(pids == sorted([one_process.pid, two_process.pid, three_process.pid]),
            "every window's application is listed once per process", clients)

    # No input devices at all: idle from the start, to within the notification's timeout.
    time.sleep(max(0.0, started + 2.5 - time.time()))
    idle = probe.ask("idle") or {}
    if start.get("idle"):
        s.check(idle.get("seconds", 0) >= 1.0, "seconds since the last input grow without input",
                idle)

    s.run(["swaymsg", "workspace", "9"])
    at, line = probe.next("front")
    s.check(line is not None and line.get("app") is None,
            "an empty workspace in front is nothing in front", line)
    s.run(["swaymsg", "workspace", "1"])
    probe.next("front")

    # The front window closing: its process exits.
    s.focus("third term")
    probe.next("front")
    three_process.terminate()
    at, line = probe.next("front")
    app = (line or {}).get("app") or {}
    s.check(line is not None and app.get("windowId") != window_ids["third term"],
            "the window in front closing ends its activation", line)
    probe.process.stdin.close()
    s.check(probe.process.wait(timeout=5) == 0, "the probe stops at the end of its input")


def start_recorder(s, env, log_name):
    recorder = s.spawn([os.path.join(s.bin, "velto"), "record"], env=env,
                       stderr=open(os.path.join(s.root, log_name), "w"))
    s.wait_for(lambda: "Recording." in s.read(log_name), "the recorder")
    return recorder


def stop_recorder(recorder):
    recorder.send_signal(signal.SIGTERM)
    recorder.wait(timeout=10)


def record_run(s, one, two):
    """What `velto record` stores with the wlroots backend."""
    (_, _), (_, two_flag) = one, two
    s.write_settings({"velto.idleThresholdSeconds": IDLE_THRESHOLD})
    env = dict(s.env, VELTO_BACKEND="wlroots")
    s.focus("first term renamed")
    s.user.start()
    since = int(time.time() * 1e6)
    recorder = start_recorder(s, env, "record.log")
    expected = []  # (instant, title) of every boundary made

    def step(action, title):
        time.sleep(STEP)
        action()
        expected.append((time.time(), title))

    step(lambda: s.focus("second term"), "second term")
    step(lambda: s.focus("first term renamed"), "first term renamed")
    step(lambda: s.focus("second term"), "second term")
    step(lambda: s.rename(two_flag, "second term renamed"), "second term renamed")

    def velto(*args):
        result = s.velto(*args, env=env)
        if result.returncode != 0:
            raise Failed(f"velto {' '.join(args)} failed: {result.stderr.strip()}")

    time.sleep(STEP)
    velto("pause")
    paused = time.time()
    time.sleep(STEP)
    velto("resume")
    resumed = time.time()
    time.sleep(STEP)
    # Away: no input for well past the threshold (it is checked every 5 s), then back.
    last_input = s.user.stop()
    time.sleep(IDLE_THRESHOLD + 8)
    back = s.user.start()
    time.sleep(7)
    s.run(["swaymsg", "workspace", "9"])
    emptied = time.time()
    time.sleep(STEP)
    stop_recorder(recorder)

    rows = s.segments_since(since)
    log = s.read("record.log")
    for instant, title in expected:
        starts = [r for r in rows if abs(r[0] / 1e6 - instant) <= 1.0]
        s.check(any(r[4] == title for r in starts),
                f"a row titled \"{title}\" starts within a second of its switch or rename",
                "\n".join(map(str, rows)))
    s.check(any(r[2] == "org.example.Two" and r[3] == "Two Studio" and r[4] == "second term"
                and r[5] == "focusChange" for r in rows),
            "a focus switch records the desktop entry's id and name", rows)
    s.check(any(r[2] == "org.example.Two" and r[4] == "second term" and r[5] == "titleChange"
                for r in rows), "a rename ends the row with the old title", rows)
    renamed = [r for r in rows if r[4] == "second term renamed"]
    s.check(any(r[5] == "paused" and abs(r[1] / 1e6 - paused) <= 1.0 for r in renamed),
            "velto pause ends the row within a second", renamed)
    s.check(any(abs(r[0] / 1e6 - resumed) <= 1.0 for r in renamed),
            "velto resume starts a row of the window in front within a second", renamed)
    s.check(any(r[5] == "idle" and abs(r[1] / 1e6 - last_input) <= 1.5 for r in renamed),
            f"no input past the threshold ends the row with \"idle\" at the last input "
            f"({last_input:.1f})", renamed)
    s.check(any(back <= r[0] / 1e6 <= back + 6 for r in renamed),
            "input again starts a row of the window in front", renamed)
    s.check(bool(renamed) and abs(renamed[-1][1] / 1e6 - emptied) <= 1.0,
            "nothing in front ends the row within a second", renamed)
    s.check("Lost the connection" not in log, "the connection to sway holds", log[-800:])


def choice_run(s):
    """Without VELTO_BACKEND the choice asks the compositor what it offers."""
    plain = {k: v for k, v in s.env.items() if k != "VELTO_BACKEND"}
    cases = [
        # (what, environment, backend, reason)
        ("a Wayland session whose compositor offers the toplevel list records with wlroots",
         dict(plain, XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="sway"), "wlroots", None),
        ("the compositor's globals decide over the desktop's name",
         dict(plain, XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="KDE"), "wlroots", None),
        ("a KDE session whose compositor cannot be asked gets the KWin script, which says "
         "why it cannot run",
         dict(plain, XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="KDE",
              WAYLAND_DISPLAY="wayland-none"), None, "backend.none.kwinScript"),
    ]
    for what, env, backend, reason in cases:
        result = s.velto("status", "--json", env=env)
        try:
            status = json.loads(result.stdout)
        except ValueError:
            status = {}
        s.check(status.get("backend") == backend and status.get("backendReason") == reason,
                what, result.stdout.strip()[:600] or result.stderr.strip())

    # Processes come from sway's IPC: without SWAYSOCK the status says they are not known.
    for env, known in ((plain, True), ({k: v for k, v in plain.items() if k != "SWAYSOCK"}, False)):
        result = s.velto("status", "--json", env=dict(env, VELTO_BACKEND="wlroots"))
        try:
            status = json.loads(result.stdout)
        except ValueError:
            status = {}
        said = "record.missing.processes" in status.get("missingSources", [])
        s.check(status.get("sources", {}).get("processes") == ("ok" if known else "missing")
                and said != known,
                "window processes are " + ("known through sway's IPC" if known else
                                           "said to be unknown without SWAYSOCK"),
                result.stdout.strip()[:600])


def xwayland_run(s, one):
    """With Xwayland running, the X11 view of the session is never taken for the front."""
    display = s.x_display()
    s.x_terminal("x term")
    # What a user's session looks like: both displays, no VELTO_BACKEND.
    env = {k: v for k, v in s.env.items() if k != "VELTO_BACKEND"}
    env.update(XDG_SESSION_TYPE="wayland", DISPLAY=display)
    status = s.velto("status", "--json", env=env)
    s.check('"backend":"wlroots"' in status.stdout.replace(" ", ""),
            "a Wayland session with Xwayland chooses the wlroots backend",
            status.stdout.strip()[:600])
    s.focus("x term")
    since = int(time.time() * 1e6)
    recorder = start_recorder(s, env, "record-xwayland.log")
    time.sleep(STEP)
    s.focus("first term renamed")
    native = time.time()
    time.sleep(STEP)
    s.focus("x term")
    x11 = time.time()
    time.sleep(STEP)
    stop_recorder(recorder)
    rows = s.segments_since(since)
    s.check(any(r[2] == "one" and r[4] == "first term renamed" and abs(r[0] / 1e6 - native) <= 1
                for r in rows),
            "a native window in front is recorded as itself while an X11 window is open",
            "\n".join(map(str, rows)))
    s.check(not any(r[4] == "x term" and r[0] / 1e6 < native + 0.5 < r[1] / 1e6 for r in rows),
            "no row of the X11 window covers the time the native one was in front", rows)
    s.check(any(r[4] == "x term" and abs(r[0] / 1e6 - x11) <= 1 and r[2] for r in rows),
            "the X11 window in front is recorded with its application", rows)


def gui_run(s):
    """The desktop application runs as a native Wayland client and records."""
    env = {k: v for k, v in s.env.items() if k != "VELTO_BACKEND"}
    env.update(XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="sway")
    s.focus("first term renamed")
    since = int(time.time() * 1e6)
    gui = s.spawn([os.path.join(s.bin, "velto-gui")], env=env,
                  stderr=open(os.path.join(s.root, "gui.log"), "w"))
    s.wait_for(lambda: any(v.get("app_id") == "velto" for v in s.views()),
               "the desktop application's window", seconds=20)
    windows = [v for v in s.views() if v.get("app_id") == "velto"]
    s.check(all(v.get("shell") == "xdg_shell" for v in windows),
            "the desktop application's windows are native Wayland windows",
            [(v.get("name"), v.get("shell")) for v in windows])
    log = s.read("gui.log")
    s.check("no tray area" in log, "without a tray it says so and opens the report window",
            log[-600:])
    time.sleep(STEP)
    s.focus("second term renamed")
    switched = time.time()
    time.sleep(STEP)
    gui.send_signal(signal.SIGTERM)
    gui.wait(timeout=10)
    rows = s.segments_since(since)
    s.check(any(r[4] == "second term renamed" and abs(r[0] / 1e6 - switched) <= 1 for r in rows),
            "the desktop application records the window in front", "\n".join(map(str, rows)))


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    if missing:
        print("sway tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    s = Session(sys.argv[1])
    try:
        s.start()
    except (CannotStart, Failed) as error:
        s.stop()
        print(f"sway tests skipped: {error}")
        shutil.rmtree(s.root, ignore_errors=True)
        return SKIP
    try:
        s.desktop_entry("org.example.Two", "Two Studio")
        one = s.terminal("one", "first term")
        two = s.terminal("org.example.Two", "second term")
        three = s.terminal("one", "third term")
        probe_run(s, one, two, three)
        s.user = User(s)
        choice_run(s)
        record_run(s, one, two)
        xwayland_run(s, one)
        gui_run(s)
    except Failed as error:
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
