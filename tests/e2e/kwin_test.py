#!/usr/bin/python3
"""Desktop tests of the KWin session on a real, headless KWin (kwin_wayland --virtual).

Starts KWin on a private runtime folder and session bus, with small GTK windows of distinct
app_ids (foot does not run on KWin's virtual screen); switches focus with one-shot KWin scripts
as a user's click would, renames a window from its own input. Runs `velto record` as a KDE
Plasma session would start it and checks what it stored, that KWin loaded and then unloaded
Velto's window script, and what `velto status` says with and without KWin.

Usage: kwin_test.py BIN_DIR   (the build's bin folder with velto)
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import json
import os
import re
import shutil
import signal
import sys
import time

import harness
from harness import CannotStart, Failed

SKIP = 77
# Segments shorter than 3 s are not recorded; every step lasts longer.
STEP = 4
TOOLS = ["kwin_wayland", "dbus-daemon", "dbus-send"]


class Session(harness.Session):
    def __init__(self, bin_dir):
        super().__init__(bin_dir, "velto-kwin-")

    def start(self):
        try:
            import gi
            gi.require_version("Gtk", "3.0")
        except (ImportError, ValueError) as error:
            raise CannotStart(f"GTK 3 for Python is missing ({error}); run scripts/setup")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = self.start_bus("session")
        self.env["DBUS_SYSTEM_BUS_ADDRESS"] = self.start_bus("system")
        # The packaged binary carries a file capability that containers refuse; a copy has none.
        kwin = os.path.join(self.root, "kwin_wayland")
        shutil.copy(shutil.which("kwin_wayland"), kwin)
        log = open(os.path.join(self.root, "kwin.log"), "w")
        self.kwin = self.spawn([kwin, "--virtual", "--no-lockscreen", "--no-global-shortcuts",
                                "--no-kactivities", "--socket", "wayland-kwin", "--width", "1280",
                                "--height", "800"],
                               env=dict(self.env, KWIN_COMPOSE="Q"), stderr=log, stdout=log)
        try:
            self.wait_for(lambda: self.kwin.poll() is None and self.kwin_on_bus(), "KWin")
        except Failed:
            raise CannotStart("headless KWin did not start: " + self.read("kwin.log")[-400:])
        self.env["WAYLAND_DISPLAY"] = "wayland-kwin"

    def kwin_on_bus(self):
        result = self.dbus("--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus.NameHasOwner", "string:org.kde.KWin", check=False)
        return "boolean true" in result.stdout

    def dbus(self, *args, check=True):
        return self.run(["dbus-send", "--session", "--print-reply", *args], check=check)

    def kwin_script(self, name, source):
        """Runs a one-shot KWin script, as a user's action would."""
        path = os.path.join(self.root, name + ".js")
        with open(path, "w") as f:
            f.write(source)
        reply = self.dbus("--dest=org.kde.KWin", "/Scripting",
                          "org.kde.kwin.Scripting.loadScript", f"string:{path}",
                          f"string:{name}").stdout
        number = re.search(r"int32 (-?\d+)", reply)
        if not number or int(number.group(1)) < 0:
            raise Failed(f"KWin did not load the test script {name}: {reply}")
        for path in (f"/Scripting/Script{number.group(1)}", f"/{number.group(1)}"):
            if self.dbus("--dest=org.kde.KWin", path, "org.kde.kwin.Script.run",
                         check=False).returncode == 0:
                break
        time.sleep(0.2)
        self.dbus("--dest=org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting.unloadScript",
                  f"string:{name}")

    def script_loaded(self, name):
        reply = self.dbus("--dest=org.kde.KWin", "/Scripting",
                          "org.kde.kwin.Scripting.isScriptLoaded", f"string:{name}").stdout
        return "boolean true" in reply

    def window(self, app_id, title):
        self.gtk_window(app_id, title)
        time.sleep(1.5)  # mapped and focused by KWin as a new window

    def focus(self, title):
        source = ("const windows = workspace.windowList ? workspace.windowList() : "
                  "workspace.clientList();\n"
                  "for (let i = 0; i < windows.length; ++i) {\n"
                  f"  if (windows[i].caption == {json.dumps(title)}) {{\n"
                  "    if (workspace.activeWindow !== undefined) workspace.activeWindow = windows[i];\n"
                  "    else workspace.activeClient = windows[i];\n"
                  "  }\n}\n")
        self.kwin_script("velto-test-focus", source)

    def rename(self, old, new):
        self.rename_window(old, new)
        time.sleep(0.3)


def plasma_env(s):
    env = {k: v for k, v in s.env.items() if k != "VELTO_BACKEND"}
    env.update(XDG_SESSION_TYPE="wayland", XDG_CURRENT_DESKTOP="KDE")
    return env


def status_run(s):
    status, shown = s.status(plasma_env(s))
    sources = status.get("sources", {})
    s.check(status.get("backend") == "kwin" and sources.get("windows") == "ok" and
            sources.get("idle") == "ok" and sources.get("processes") == "ok",
            "a Plasma session on Wayland chooses the KWin script, with idle time and processes",
            shown)
    human = s.velto("status", env=plasma_env(s)).stdout
    s.check("KWin script" in human, "velto status names the KWin script as the window source",
            human)

    # A Plasma session whose KWin is not on the bus: said, nothing recorded.
    lonely = dict(plasma_env(s), DBUS_SESSION_BUS_ADDRESS=s.start_bus("session"))
    status, shown = s.status(lonely)
    s.check(status.get("backend") is None and
            status.get("backendReason") == "backend.none.kwinScript",
            "without KWin on the session bus there is no backend, and the status says why", shown)


def record_run(s):
    # KWin's virtual session has no input devices: the user counts as away from the start.
    s.write_settings({"velto.idleThresholdSeconds": 3600})
    s.focus("first win")
    since = int(time.time() * 1e6)
    recorder = s.spawn([os.path.join(s.bin, "velto"), "record"], env=plasma_env(s),
                       stderr=open(os.path.join(s.root, "record.log"), "w"))
    s.wait_for(lambda: "Recording." in s.read("record.log"), "the recorder")
    script = f"velto-windows-{recorder.pid}"
    s.check(s.script_loaded(script), "the recorder loads its window script into KWin",
            s.read("record.log")[-600:])
    expected = []

    def step(action, title):
        time.sleep(STEP)
        action()
        expected.append((time.time(), title))

    step(lambda: s.focus("second win"), "second win")
    step(lambda: s.focus("third win"), "third win")
    step(lambda: s.rename("third win", "third win renamed"), "third win renamed")
    step(lambda: s.focus("first win"), "first win")
    time.sleep(STEP)
    s.windows["first win"].stdin.close()  # the window in front closes
    closed = time.time()
    time.sleep(STEP)
    recorder.send_signal(signal.SIGTERM)
    code = recorder.wait(timeout=15)

    rows = s.segments_since(since)
    s.check_three_windows(rows, expected, "app_id")
    firsts = [r for r in rows if r[4] == "first win"]
    s.check(bool(firsts) and abs(firsts[-1][1] / 1e6 - closed) <= 1.5,
            "the window in front closing ends its row", firsts)
    s.check(code == 0 and not s.script_loaded(script),
            "the recorder unloads its script when it stops", f"exit {code}")


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    if missing:
        print("KWin tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    s = Session(sys.argv[1])
    try:
        s.start()
    except (CannotStart, Failed) as error:
        s.stop()
        print(f"KWin tests skipped: {error}")
        shutil.rmtree(s.root, ignore_errors=True)
        return SKIP
    try:
        s.desktop_entry("org.example.One", "One Studio")
        s.window("org.example.One", "first win")
        s.window("two", "second win")
        s.window("org.example.One", "third win")
        status_run(s)
        record_run(s)
    except Failed as error:
        s.check(False, str(error))
    finally:
        # KWin first, so its clients do not linger.
        if s.kwin.poll() is None:
            s.kwin.terminate()
            s.kwin.wait(timeout=10)
        s.stop()
        if s.failures:
            print(f"logs kept in {s.root}")
        else:
            shutil.rmtree(s.root, ignore_errors=True)
    return 1 if s.failures else 0


if __name__ == "__main__":
    sys.exit(main())
