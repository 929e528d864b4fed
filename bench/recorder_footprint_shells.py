#!/usr/bin/python3
"""Resident memory and CPU of `velto record` on headless KWin or GNOME Shell, with a private
session bus and two GTK windows, Velto's KWin script or Shell extension reporting the window in
front. Reported, not asserted.

Usage: recorder_footprint_shells.py kwin|gnome BUILD_BIN_DIR [SECONDS]
Focus switches between the two windows every 20 s; on GNOME, Mutter's idle time is reset every
2 s as input would. Prints VmHWM, VmRSS, RssAnon, RssFile (kB) at the end and utime+stime (s)
over the run, and that figure per hour.
"""
import os
import signal
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))
import gnome_test  # noqa: E402
import kwin_test  # noqa: E402


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("kwin", "gnome"):
        print(__doc__)
        return 2
    shell, bin_dir = sys.argv[1], sys.argv[2]
    seconds = float(sys.argv[3]) if len(sys.argv) > 3 else 600
    if shell == "kwin":
        s = kwin_test.Session(bin_dir)
        s.start()
        env = kwin_test.plasma_env(s)
    else:
        s = gnome_test.Session(bin_dir)
        s.prepare()
        s.start_shell("shell.log")
        env = gnome_test.gnome_env(s)
        # Installed while the Shell ran: a second start loads it, as a log-out and in would.
        gnome_test.stop_recorder(gnome_test.start_recorder(s, "install.log"))
        s.stop_shell()
        s.start_shell("shell-2.log")
    try:
        s.write_settings({"velto.idleThresholdSeconds": 3600})
        s.window("org.example.One", "first win")
        s.window("two", "second win")
        recorder = s.spawn([os.path.join(s.bin, "velto"), "record"], env=env,
                           stderr=open(os.path.join(s.root, "record.log"), "w"))
        s.wait_for(lambda: "Recording." in s.read("record.log"), "the recorder", seconds=20)
        time.sleep(3)
        start = cpu_seconds(recorder.pid)
        began = time.monotonic()
        switches = 0
        while time.monotonic() - began < seconds:
            if shell == "gnome":
                s.reset_idle()
            if int(time.monotonic() - began) // 20 > switches:
                switches += 1
                s.focus("second win" if switches % 2 else "first win")
            time.sleep(2)
        used = cpu_seconds(recorder.pid) - start
        with open(f"/proc/{recorder.pid}/status") as f:
            for line in f:
                if line.split(":")[0] in ("VmHWM", "VmRSS", "RssAnon", "RssFile"):
                    print(line.rstrip())
        print(f"cpu_seconds: {used:.2f} over {seconds:.0f} s ({used * 3600 / seconds:.2f} s per "
              f"hour; {shell}, {switches} focus switches)")
        recorder.send_signal(signal.SIGTERM)
        print("recorder exit status", recorder.wait(timeout=15))
    finally:
        if shell == "gnome" and s.shell and s.shell.poll() is None:
            s.shell.terminate()
            s.shell.wait(timeout=15)
        if shell == "kwin" and s.kwin.poll() is None:
            s.kwin.terminate()
            s.kwin.wait(timeout=15)
        s.stop()
    return 0


if __name__ == "__main__":
    sys.exit(main())
