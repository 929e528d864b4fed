#!/usr/bin/python3
"""Crash loops and concurrent writers for real, over a scripted X11 session (xdotool switching
between xterm windows).

Crash loops: `velto record` killed with SIGKILL at random instants, many times, and restarted
each time. Requires of the stored rows: none overlapping or duplicated; one "recovered" row for
each kill that came after a heartbeat of the segment it cut; and recorded time short of the
session's length by at most a minute per kill (never more than the session).

Concurrent writers: while the recorder records, other processes import a large export, delete
and reassign stretches, and shorten the history kept (a purge). Every command lands or fails with
its own message in bounded time, and every switch the recorder saw is stored.

A held store: another process holds the store's write lock far past the busy wait while windows
change. The recorder keeps the segments it cannot store (in memory and on disk) without
stalling, is killed during the hold, and its next run stores them: every switch is a row
boundary within a second, nothing twice.

Usage: crash_test.py BIN_DIR [SEED]
Exit status: 0 all checks passed, 1 a check failed, 77 the session cannot be set up here.
"""
import json
import os
import random
import subprocess
import threading
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


def store_path(s):
    return os.path.join(s.env["XDG_DATA_HOME"], "Velto", "Velto.sqlite")


def rows(s, since_us):
    with sqlite3.connect(f"file:{store_path(s)}?mode=ro", uri=True) as db:
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


def big_export(path, rows, start):
    """A segments export of `rows` rows a minute apart from `start` (seconds since 1970)."""
    records = []
    for n in range(rows):
        at = start + n * 60
        records.append({"start": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(at)),
                        "end": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(at + 50)),
                        "seconds": 50, "bundle_id": f"imported{n % 7}", "app": "Imported",
                        "end_reason": "focusChange"})
    with open(path, "w") as f:
        json.dump(records, f)


def concurrent_writers(s):
    windows = [s.window(name, name.capitalize(), f"{name} term") for name in ("delta", "epsilon")]
    # Rows for the edits to change: three days of January 2025, far from today.
    first = os.path.join(s.root, "january.json")
    big_export(first, 3 * 24 * 60, 1735776000)  # from 2025-01-02T00:00:00Z
    s.velto("import", first)
    export = os.path.join(s.root, "big.json")
    big_export(export, 200000, 1738368000)  # from 2025-02-01T00:00:00Z
    s.activate(windows[0])
    recorder = s.start_recorder("concurrent.log")
    switches = []
    # The import holds the store for seconds; the edits come while it does.
    commands = [
        ["import", export],
        ["delete", "--date", "2025-01-02"],
        ["reassign", "--date", "2025-01-03", "--give-to", "org.example.Elsewhere"],
        ["delete", "--from", "2025-01-04T10:00", "--to", "2025-01-04T12:00"],
        # Keeps 30 days: the purge that follows takes January 2025 (and the recorder purges too,
        # when it sees the setting change).
        ["settings", "set", "velto.retentionDays", "30", "--yes"],
    ]
    results = [None] * len(commands)

    def run(index):
        started = time.monotonic()
        result = subprocess.run([os.path.join(s.bin, "velto"), *commands[index]], env=s.env,
                                capture_output=True, text=True, timeout=180)
        results[index] = (result, time.monotonic() - started)

    threads = [threading.Thread(target=run, args=(i,)) for i in range(len(commands))]
    threads[0].start()
    s.pause(3)
    for thread in threads[1:]:
        thread.start()
        s.pause(0.5)
    for n in range(8):
        s.pause(4)
        s.activate(windows[(n + 1) % 2])
        switches.append(time.time())
    for thread in threads:
        thread.join()
    # The next segment stores anything kept back while the others wrote.
    s.activate(windows[0])
    s.pause(4)
    s.activate(windows[1])
    s.pause(2)
    recorder.send_signal(signal.SIGTERM)
    recorder.wait(timeout=15)

    landed = 0
    for command, (result, seconds) in zip(commands, results):
        said = (result.stdout + result.stderr).strip()
        landed += result.returncode == 0
        s.check((result.returncode == 0 or said) and "database is locked" not in said.lower()
                and seconds < 120,
                f"velto {command[0]} {command[1]} lands or says why, in {seconds:.1f} s", said[-400:])
    day = 1735776000 * 10**6  # 2025-01-02T00:00:00Z
    left = [r for r in rows(s, day) if r[0] < day + 86400 * 10**6]
    s.check(results[1][0].returncode != 0 or not left,
            "the delete that said it landed removed its whole day", f"{len(left)} rows left")
    january = [r for r in rows(s, day) if r[0] < day + 3 * 86400 * 10**6]
    s.check(results[4][0].returncode != 0 or not january,
            "the purge after the shorter history removed every row older than it keeps",
            f"{len(january)} January rows left")
    since = int((switches[0] - 60) * 1e6)
    found = rows(s, since)
    recent = [r for r in found if r[0] >= int(switches[0] * 1e6) - 2_000_000]
    for instant in switches[:-1]:
        s.check(any(abs(r[0] / 1e6 - instant) <= 1.0 for r in recent),
                "the recorder stores the row of a switch made while others wrote",
                "\n".join(map(str, recent)))
    log = s.read("concurrent.log")
    s.check("Dropped a segment" not in log, "no segment is dropped for a busy store", log[-600:])
    kept = log.count("Kept the segment")
    print(f"      writes: {len(commands)} commands, {landed} landed, "
          f"{len(commands) - landed} refused with a message; {kept} recorded segment(s) kept "
          f"back while the store was busy", flush=True)


def held_store(s):
    windows = [s.window(name, name.capitalize(), f"{name} term") for name in ("zeta", "eta")]
    # Rows for a command to try to delete while the store is held: two days ago, well within
    # the history kept.
    earlier = int(time.time()) // 3600 * 3600 - 2 * 86400
    export = os.path.join(s.root, "earlier.json")
    big_export(export, 10, earlier)
    s.velto("import", export)
    s.activate(windows[0])
    since = int(time.time() * 1e6)
    recorder = s.start_recorder("held-0.log")
    s.pause(4)
    holder = sqlite3.connect(store_path(s), timeout=30, isolation_level=None)
    holder.execute("BEGIN IMMEDIATE")
    switches = []
    for n in range(3):
        s.activate(windows[(n + 1) % 2])
        switches.append(time.time())
        s.pause(4)
    # A command meanwhile waits for the store, says that it waits, and lands once it is free.
    stretch = [time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(earlier + hour * 3600))
               for hour in (0, 1)]
    result = []
    command = threading.Thread(target=lambda: result.append(s.velto(
        "delete", "--from", stretch[0], "--to", stretch[1], check=False)))
    started = time.monotonic()
    command.start()
    s.pause(8)
    kept_file = os.path.join(os.path.dirname(store_path(s)), "kept-segments.json")
    log = s.read("held-0.log")
    s.check("Kept the segment to store it later (3 waiting)" in log and os.path.exists(kept_file),
            "the recorder keeps the three segments it cannot store, on disk too", log[-600:])
    recorder.send_signal(signal.SIGKILL)
    recorder.wait()
    holder.execute("ROLLBACK")
    holder.close()
    command.join(timeout=60)
    waited = time.monotonic() - started
    said = (result[0].stdout + result[0].stderr).strip() if result else "(still running)"
    s.check(bool(result) and result[0].returncode == 0 and "Waiting for another Velto process"
            in said and "database is locked" not in said.lower(),
            f"a command that meets the held store says it waits, and lands when it is free "
            f"({waited:.1f} s)", said)
    left = [r for r in rows(s, earlier * 10**6) if r[0] < (earlier + 3600) * 10**6]
    s.check(not left, "the command's delete removed its stretch", f"{len(left)} rows left")
    recorder = s.start_recorder("held-1.log")
    s.pause(3)
    recorder.send_signal(signal.SIGTERM)
    recorder.wait(timeout=15)
    log = s.read("held-1.log")
    s.check("Found 3 segments kept by an earlier run" in log and not os.path.exists(kept_file),
            "the next run stores what the killed one kept", log[-600:])
    found = rows(s, since)
    table = "\n".join(map(str, found))
    # The window in front at the kill was open for less than a heartbeat: its row is lost.
    for instant in switches[:-1]:
        s.check(any(abs(a[1] / 1e6 - instant) <= 1.0 and abs(b[0] / 1e6 - instant) <= 1.0
                    for a, b in zip(found, found[1:])),
                "a switch made while the store was held is a row boundary within a second",
                table)
    s.check(any(abs(r[1] / 1e6 - switches[-1]) <= 1.0 for r in found),
            "the row before the last switch ends at it", table)
    keys = [(r[0], r[1], r[2]) for r in found]
    s.check(len(keys) == len(set(keys)), "no kept row is stored twice", table)


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
        concurrent_writers(s)
        held_store(s)
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
