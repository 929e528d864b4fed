#!/usr/bin/python3
"""Resident memory and CPU of `velto record` with the wlroots backend on a headless sway, with a
private session bus and two foot windows. Reported, not asserted.

Usage: recorder_footprint_sway.py BUILD_BIN_DIR [SECONDS] [--active]
With --active, the seat's pointer moves every 2 s (so the compositor's idle notification fires
and clears about every 2 s, far more often than a person pauses) and focus switches between the
two windows every 20 s. Prints VmHWM, VmRSS, RssAnon, RssFile (kB) at the end and utime+stime
(s) over the run, and that figure per hour.
"""
import os
import signal
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import sway_test  # noqa: E402


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    args = [a for a in sys.argv[1:] if a != "--active"]
    active = "--active" in sys.argv
    if not args:
        print(__doc__)
        return 2
    seconds = float(args[1]) if len(args) > 1 else 600
    s = sway_test.Session(args[0])
    try:
        s.start()
        s.terminal("one", "first term")
        s.terminal("two", "second term")
        env = dict(s.env, VELTO_BACKEND="wlroots")
        recorder = sway_test.start_recorder(s, env, "record.log")
        time.sleep(3)
        start = cpu_seconds(recorder.pid)
        began = time.monotonic()
        step, switches = 1, 0
        while time.monotonic() - began < seconds:
            if active:
                s.run(["swaymsg", "--", "seat", "-", "cursor", "move", str(step), "0"])
                step = -step
                if int(time.monotonic() - began) // 20 > switches:
                    switches += 1
                    s.focus("second term" if switches % 2 else "first term")
            time.sleep(2)
        used = cpu_seconds(recorder.pid) - start
        with open(f"/proc/{recorder.pid}/status") as f:
            for line in f:
                if line.split(":")[0] in ("VmHWM", "VmRSS", "RssAnon", "RssFile"):
                    print(line.rstrip())
        print(f"cpu_seconds: {used:.2f} over {seconds:.0f} s "
              f"({used * 3600 / seconds:.2f} s per hour; {'active' if active else 'no input'}, "
              f"{switches} focus switches)")
        recorder.send_signal(signal.SIGTERM)
        print("recorder exit status", recorder.wait(timeout=10))
    finally:
        s.stop()
    return 0


if __name__ == "__main__":
    sys.exit(main())
