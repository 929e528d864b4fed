#!/usr/bin/python3
"""Crash loops for real: `velto record` killed with SIGKILL at random instants, many times over
a scripted X11 session (xdotool switching between xterm windows), and restarted each time.

Requires of the stored rows: none overlapping or duplicated; one "recovered" row for each kill
that came after a heartbeat of the segment it cut; and recorded time short of the session's
length by at most a minute per kill (never more than the session).

Usage: crash_test.py BIN_DIR [SEED]
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import os
import random
import shutil
import signal
import sqlite3
import sys
import time

import desktop_test
from harness import CannotStart, Failed

SKIP = 77
HEARTBEAT = 60
# Kills at random instants of short stretches, and a few after a heartbeat.
SHORT_KILLS = 8
LONG_KILLS = 2


def rows(s, since_us):
    path = os.path.join(s.env["XDG_DATA_HOME"], "Velto", "Velto.sqlite")
    with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as db:
        found = db.execute("SELECT started_us, ended_us, bundle_id, end_reason, seconds FROM "
                           "segment ORDER BY started_us, ended_us").fetchall()
    return [r for r in found if r[0] >= since_us]


def crash_loop(s, seed):
    generator = random.Random(seed)
    s.write_settings({"velto.idleThresholdSeconds": 3600})
    windows = [s.window(name, name.capitalize(), f"{name} term")
               for name in ("alpha", "beta", "gamma")]
    s.activate(windows[0])
    began = time.time()
    since = int(began * 1e6)
    recorder = s.start_recorder("crash-0.log")
    segment_began = time.time()  # the open segment's start: a switch or a (re)start
    kills = []  # (instant, whether it came after a heartbeat of the open segment)
    plan = ["short"] * SHORT_KILLS + ["long"] * LONG_KILLS
    generator.shuffle(plan)
    for number, kind in enumerate(plan, start=1):
        if kind == "long":
            # No switch for more than a heartbeat, then the kill at a random instant after it.
            s.pause(HEARTBEAT + generator.uniform(3, 12))
        else:
            for _ in range(generator.randint(0, 2)):
                s.pause(generator.uniform(4, 9))
                s.activate(generator.choice(windows))
                segment_began = time.time()
            s.pause(generator.uniform(0.5, 9))
        recorder.send_signal(signal.SIGKILL)
        recorder.wait()
        killed = time.time()
        kills.append((killed, killed - segment_began > HEARTBEAT + 1))
        recorder = s.start_recorder(f"crash-{number}.log")
        segment_began = time.time()
    s.pause(5)
    recorder.send_signal(signal.SIGTERM)
    code = recorder.wait(timeout=15)
    ended = time.time()

    found = rows(s, since)
    table = "\n".join(map(str, found))
    s.check(code == 0, "the last recorder stops cleanly", s.read(f"crash-{len(plan)}.log")[-400:])
    overlaps = [(a, b) for a, b in zip(found, found[1:]) if b[0] < a[1]]
    s.check(not overlaps, f"no two of {len(found)} rows overlap after {len(kills)} kills",
            "\n".join(map(str, overlaps)) + "\n" + table)
    keys = [(r[0], r[1], r[2]) for r in found]
    s.check(len(keys) == len(set(keys)), "no row is stored twice", table)
    recovered = [r for r in found if r[3] == "recovered"]
    after_heartbeat = sum(1 for _, late in kills if late)
    s.check(len(recovered) == after_heartbeat,
            f"one \"recovered\" row for each of the {after_heartbeat} kills after a heartbeat",
            table)
    truth = ended - began
    recorded = sum(r[4] for r in found)
    lost = truth - recorded
    s.check(0 <= lost <= HEARTBEAT * len(kills),
            f"recorded time short of the truth by at most a minute per kill "
            f"({recorded:.0f} s of {truth:.0f} s; {lost / len(kills):.1f} s lost per kill)",
            table)
    print(f"      seed {seed}: {len(kills)} kills, {after_heartbeat} after a heartbeat, "
          f"{lost / len(kills):.1f} s lost per kill", flush=True)


def main():
    if len(sys.argv) not in (2, 3):
        print(__doc__)
        return 2
    seed = int(sys.argv[2]) if len(sys.argv) == 3 else int(time.time())
    missing = [tool for tool in desktop_test.TOOLS if shutil.which(tool) is None]
    if missing:
        print("crash tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    s = desktop_test.Session(sys.argv[1])
    try:
        s.start()
    except (CannotStart, Failed) as error:
        s.stop()
        print(f"crash tests skipped: {error}")
        shutil.rmtree(s.root, ignore_errors=True)
        return SKIP
    try:
        crash_loop(s, seed)
    except Failed as error:
        s.check(False, str(error))
    finally:
        s.stop()
        if s.failures:
            print(f"logs kept in {s.root} (seed {seed})")
        else:
            shutil.rmtree(s.root, ignore_errors=True)
    return 1 if s.failures else 0


if __name__ == "__main__":
    sys.exit(main())
