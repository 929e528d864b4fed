#!/usr/bin/python3
"""Desktop tests of the GNOME session on a real, headless GNOME Shell (Wayland, virtual monitor).

Starts GNOME Shell on a private home, runtime folder, session bus and a second private bus for
the system bus, with a test-only helper extension (tests/e2e/gnome-test-helper) that hides the
start-up overview and focuses windows by title, and small GTK windows of distinct app_ids. Goes
through what a user does: `velto record` installs Velto's extension and says to log out and in;
after the Shell restarts, `velto record` turns the extension on and records. Checks the stored
rows (switches, a rename, idle through Mutter's idle monitor, a window closing) and what
`velto status` says at each step.

Usage: gnome_test.py BIN_DIR   (the build's bin folder with velto)
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import os
import shutil
import signal
import subprocess
import sys
import threading
import time

import harness
from harness import CannotStart, Failed

SKIP = 77
STEP = 4
IDLE_THRESHOLD = 6
TOOLS = ["gnome-shell", "dbus-daemon", "dbus-send"]
HELPER = "velto-test@velto.org"
EXTENSION = "velto@velto.org"


class Session(harness.Session):
    def __init__(self, bin_dir):
        super().__init__(bin_dir, "velto-gnome-")
        self.shell = None
        self.extensions = os.path.join(self.env["XDG_DATA_HOME"], "gnome-shell", "extensions")

    def prepare(self):
        try:
            import gi
            gi.require_version("Gtk", "3.0")
        except (ImportError, ValueError) as error:
            raise CannotStart(f"GTK 3 for Python is missing ({error}); run scripts/setup")
        shutil.copytree(os.path.join(harness.HERE, "gnome-test-helper"),
                        os.path.join(self.extensions, HELPER))
        # Settings in a key file, so no dconf service is needed; only the helper is on.
        settings = os.path.join(self.env["XDG_CONFIG_HOME"], "glib-2.0", "settings")
        os.makedirs(settings)
        with open(os.path.join(settings, "keyfile"), "w") as f:
            f.write(f"[org/gnome/shell]\nenabled-extensions=['{HELPER}']\n")
        self.env["GSETTINGS_BACKEND"] = "keyfile"
        self.env["DBUS_SESSION_BUS_ADDRESS"] = self.start_bus("session")
        # GNOME Shell's login-manager code needs a system bus to talk to.
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = self.start_bus("system")

    def start_shell(self, log_name):
        log = open(os.path.join(self.root, log_name), "w")
        self.shell = self.spawn(
            ["gnome-shell", "--headless", "--wayland", "--wayland-display", "wayland-gs",
             "--virtual-monitor", "1280x800", "--no-x11"],
            env=dict(self.env, MUTTER_DEBUG_RESET_IDLETIME="1"), stdout=log, stderr=log)
        try:
            self.wait_for(lambda: self.shell.poll() is None and self.has_name("org.velto.Test"),
                          "GNOME Shell with the test helper", seconds=40)
        except Failed:
            raise CannotStart("headless GNOME Shell did not start: " + self.read(log_name)[-600:])
        self.env["WAYLAND_DISPLAY"] = "wayland-gs"

    def stop_shell(self):
        """What logging out does to the Shell; its windows go with it."""
        for process in getattr(self, "windows", {}).values():
            if process.poll() is None:
                process.terminate()
        self.windows = {}
        self.shell.send_signal(signal.SIGTERM)
        try:
            self.shell.wait(timeout=15)
        except subprocess.TimeoutExpired:
            self.shell.kill()
            self.shell.wait()
        self.wait_for(lambda: not self.has_name("org.gnome.Shell"), "the Shell to leave the bus")

    def dbus(self, *args, check=True):
        return self.run(["dbus-send", "--session", "--print-reply", *args], check=check)

    def has_name(self, name):
        reply = self.dbus("--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                          "org.freedesktop.DBus.NameHasOwner", f"string:{name}", check=False)
        return "boolean true" in reply.stdout

    def window(self, app_id, title):
        self.gtk_window(app_id, title)
        self.wait_for(lambda: self.focus(title), f"the {title} window")
        time.sleep(0.5)

    def focus(self, title):
        reply = self.dbus("--dest=org.velto.Test", "/org/velto/Test", "org.velto.Test.Activate",
                          f"string:{title}", check=False)
        return "boolean true" in reply.stdout

    def reset_idle(self):
        self.dbus("--dest=org.gnome.Mutter.IdleMonitor", "/org/gnome/Mutter/IdleMonitor/Core",
                  "org.gnome.Mutter.IdleMonitor.ResetIdletime", check=False)


class User:
    """Input, as far as Mutter's idle monitor knows, twice a second while active."""

    def __init__(self, s):
        self.s = s
        self.active = threading.Event()
        self.last_input = 0.0
        threading.Thread(target=self.run, daemon=True).start()

    def run(self):
        while True:
            self.active.wait()
            self.s.reset_idle()
            self.last_input = time.time()
            time.sleep(0.5)

    def start(self):
        asked = time.time()
        self.active.set()
        while self.last_input < asked:
            time.sleep(0.05)
        return self.last_input

    def stop(self):
        self.active.clear()
        time.sleep(0.7)
        return self.last_input


def gnome_env(s):
    env = {k: v for k, v in s.env.items() if k != "VELTO_BACKEND"}
    env.update(XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="GNOME")
    return env


def start_recorder(s, log_name):
    recorder = s.spawn([os.path.join(s.bin, "velto"), "record"], env=gnome_env(s),
                       stderr=open(os.path.join(s.root, log_name), "w"))
    s.wait_for(lambda: "Recording." in s.read(log_name), "the recorder", seconds=20)
    return recorder


def stop_recorder(recorder):
    recorder.send_signal(signal.SIGTERM)
    return recorder.wait(timeout=15)


def install_run(s):
    """Before the extension: status says what is missing; the recorder installs it."""
    status, shown = s.status(gnome_env(s))
    s.check(status.get("backend") is None and
            status.get("backendReason") == "backend.none.gnomeExtension.missing",
            "without the extension, velto status says it is not installed and how to get it",
            shown)
    s.check(not os.path.exists(os.path.join(s.extensions, EXTENSION)),
            "velto status installs nothing")
    recorder = start_recorder(s, "record-install.log")
    log = s.read("record-install.log")
    stop_recorder(recorder)
    metadata = os.path.join(s.extensions, EXTENSION, "metadata.json")
    s.check(os.path.exists(metadata) and
            os.path.exists(os.path.join(s.extensions, EXTENSION, "extension.js")),
            "velto record installs the extension into the user's extensions folder")
    s.check("log out and back in" in log,
            "a Shell that started before the extension says to log out and in, once", log[-800:])
    rows = s.segments_since(0)
    s.check(not rows, "nothing is recorded while the Shell cannot report windows", rows)


def record_run(s, user):
    """After logging in again: the recorder turns the extension on and records."""
    s.write_settings({"velto.idleThresholdSeconds": IDLE_THRESHOLD})
    s.desktop_entry("org.example.One", "One Studio")
    user.start()
    s.window("org.example.One", "first win")
    s.window("two", "second win")
    s.window("org.example.One", "third win")
    s.focus("first win")
    since = int(time.time() * 1e6)
    recorder = start_recorder(s, "record.log")
    s.wait_for(lambda: s.has_name("org.velto.Shell"), "Velto's extension on the bus")
    status, shown = s.status(gnome_env(s))
    sources = status.get("sources", {})
    s.check(status.get("backend") == "gnome" and sources.get("windows") == "ok" and
            sources.get("idle") == "ok" and sources.get("processes") == "ok",
            "once the extension runs, velto status shows the GNOME backend with idle time", shown)
    expected = []

    def step(action, title):
        time.sleep(STEP)
        action()
        expected.append((time.time(), title))

    step(lambda: s.focus("second win"), "second win")
    step(lambda: s.focus("third win"), "third win")
    step(lambda: s.rename_window("third win", "third win renamed"), "third win renamed")
    step(lambda: s.focus("first win"), "first win")
    time.sleep(STEP)
    last_input = user.stop()
    time.sleep(IDLE_THRESHOLD + 8)
    back = user.start()
    time.sleep(7)
    s.windows["first win"].stdin.close()  # the window in front closes
    closed = time.time()
    time.sleep(STEP)
    code = stop_recorder(recorder)

    rows = s.segments_since(since)
    table = s.check_three_windows(rows, expected, "class")
    firsts = [r for r in rows if r[4] == "first win"]
    s.check(any(r[5] == "idle" and abs(r[1] / 1e6 - last_input) <= 1.5 for r in firsts),
            f"no input past the threshold ends the row with \"idle\" at the last input "
            f"({last_input:.1f})", table)
    s.check(any(back <= r[0] / 1e6 <= back + 6 for r in firsts),
            "input again starts a row of the window in front", table)
    s.check(bool(firsts) and abs(firsts[-1][1] / 1e6 - closed) <= 1.5,
            "the window in front closing ends its row", table)
    s.check(code == 0, "the recorder stops cleanly", f"exit {code}")


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    if missing:
        print("GNOME tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    s = Session(sys.argv[1])
    try:
        s.prepare()
        s.start_shell("shell-1.log")
    except (CannotStart, Failed) as error:
        s.stop()
        print(f"GNOME tests skipped: {error}")
        shutil.rmtree(s.root, ignore_errors=True)
        return SKIP
    try:
        install_run(s)
        s.stop_shell()
        s.start_shell("shell-2.log")
        record_run(s, User(s))
    except Failed as error:
        s.check(False, str(error))
    finally:
        if s.shell and s.shell.poll() is None:
            s.shell.terminate()
            s.shell.wait(timeout=15)
        s.stop()
        if s.failures:
            print(f"logs kept in {s.root}")
        else:
            shutil.rmtree(s.root, ignore_errors=True)
    return 1 if s.failures else 0


if __name__ == "__main__":
    sys.exit(main())
