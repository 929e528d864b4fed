"""What the desktop test scripts share: a private home, runtime folder and buses for the session
under test, its processes, waiting, and the ok/FAIL lines of each check."""
import json
import os
import sqlite3
import subprocess
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))


class Failed(Exception):
    pass


class CannotStart(Failed):
    """The session cannot be set up on this machine (a script may skip rather than fail)."""


class Session:
    def __init__(self, bin_dir, prefix):
        self.bin = os.path.abspath(bin_dir)
        self.root = tempfile.mkdtemp(prefix=prefix)
        self.processes = []
        self.failures = []
        runtime = os.path.join(self.root, "run")
        os.makedirs(runtime, mode=0o700)
        self.env = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "HOME": self.root,
            "XDG_RUNTIME_DIR": runtime,
            "XDG_CONFIG_HOME": os.path.join(self.root, "config"),
            "XDG_DATA_HOME": os.path.join(self.root, "data"),
            "XDG_SESSION_ID": "e2e",
            "TZ": "UTC",
            "LANG": "C.UTF-8",
        }

    # --- processes -------------------------------------------------------------------------

    def spawn(self, argv, env=None, **kwargs):
        kwargs.setdefault("stdout", subprocess.DEVNULL)
        kwargs.setdefault("stderr", subprocess.DEVNULL)
        process = subprocess.Popen(argv, env=env or self.env, **kwargs)
        self.processes.append(process)
        return process

    def run(self, argv, check=True, timeout=20):
        result = subprocess.run(argv, env=self.env, capture_output=True, text=True,
                                timeout=timeout)
        if check and result.returncode != 0:
            raise Failed(f"{' '.join(argv)} failed ({result.returncode}): {result.stderr.strip()}")
        return result

    def wait_for(self, condition, what, seconds=15):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            try:
                if condition():
                    return
            except (Failed, subprocess.TimeoutExpired):
                pass
            time.sleep(0.1)
        raise Failed(f"{what} did not come up")

    def start_bus(self, name):
        bus = self.spawn(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                         stdout=subprocess.PIPE, text=True)
        address = bus.stdout.readline().strip()
        if not address:
            raise CannotStart(f"the private {name} bus did not start")
        return address

    def start_xvfb(self):
        """A private X display (Xvfb picks a free number) and a session bus beside it."""
        read_end, write_end = os.pipe()
        self.spawn(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1024x768x24",
                    "-nolisten", "tcp", "-noreset"], pass_fds=(write_end,))
        os.close(write_end)
        with os.fdopen(read_end) as display:
            number = display.readline().strip()
        if not number:
            raise CannotStart("Xvfb did not start")
        self.env["DISPLAY"] = ":" + number
        self.env["DBUS_SESSION_BUS_ADDRESS"] = self.start_bus("session")

    def wm_running(self):
        result = self.run(["xprop", "-root", "_NET_SUPPORTED"], check=False)
        return "_NET_ACTIVE_WINDOW" in result.stdout

    def read(self, name):
        try:
            with open(os.path.join(self.root, name)) as f:
                return f.read()
        except FileNotFoundError:
            return ""

    # --- Velto ---------------------------------------------------------------------------

    def velto(self, *args, env=None):
        return subprocess.run([os.path.join(self.bin, "velto"), *args], env=env or self.env,
                              capture_output=True, text=True, timeout=30)

    def status(self, env=None):
        """`velto status --json` as a dict (empty when it printed no JSON), and its output."""
        result = self.velto("status", "--json", env=env)
        try:
            return json.loads(result.stdout), result.stdout.strip()[:800] or result.stderr
        except ValueError:
            return {}, result.stdout.strip()[:800] or result.stderr

    def write_settings(self, settings):
        config = os.path.join(self.env["XDG_CONFIG_HOME"], "Velto")
        os.makedirs(config, mode=0o700, exist_ok=True)
        with open(os.path.join(config, "settings.json"), "w") as f:
            json.dump(settings, f)

    def segments_since(self, since_us):
        """(started_us, ended_us, bundle_id, app_name, window_title, end_reason) of every row
        that started at or after `since_us`."""
        path = os.path.join(self.env["XDG_DATA_HOME"], "Velto", "Velto.sqlite")
        if not os.path.exists(path):
            return []
        with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as db:
            rows = db.execute("SELECT started_us, ended_us, bundle_id, app_name, window_title, "
                              "end_reason FROM segment ORDER BY started_us").fetchall()
        return [r for r in rows if r[0] >= since_us]

    def desktop_entry(self, app_id, name):
        applications = os.path.join(self.env["XDG_DATA_HOME"], "applications")
        os.makedirs(applications, exist_ok=True)
        with open(os.path.join(applications, app_id + ".desktop"), "w") as f:
            f.write(f"[Desktop Entry]\nType=Application\nName={name}\nExec={app_id}\n")

    def check_three_windows(self, rows, expected, second_goes_by):
        """The checks every shell suite makes of its scripted session: "first win" and
        "third win" of org.example.One ("One Studio"), "second win" of `two` with no desktop
        entry, a rename of the third; `expected` holds (instant, title) of each switch or
        rename."""
        table = "\n".join(map(str, rows))
        for instant, title in expected:
            self.check(any(r[4] == title and abs(r[0] / 1e6 - instant) <= 1.0 for r in rows),
                       f"a row titled \"{title}\" starts within a second of its switch or rename",
                       table)
        self.check(any(r[2] == "org.example.One" and r[3] == "One Studio" and r[4] == "first win"
                       and r[5] == "focusChange" for r in rows),
                   "a switch records the desktop entry's id and name and ends with "
                   "\"focusChange\"", table)
        self.check(any(r[2] == "two" and r[4] == "second win" for r in rows),
                   f"a window without a desktop entry goes by its {second_goes_by}", table)
        self.check(any(r[4] == "third win" and r[5] == "titleChange" for r in rows),
                   "a rename ends the row with the old title", table)
        return table

    # --- test windows (tests/e2e/test_window.py) ------------------------------------------

    def gtk_window(self, app_id, title, backend="wayland"):
        """A GTK window that renames itself to each line written to its standard input."""
        process = self.spawn(["/usr/bin/python3", os.path.join(HERE, "test_window.py"), app_id,
                              title], env=dict(self.env, GDK_BACKEND=backend),
                             stdin=subprocess.PIPE, text=True)
        self.windows = getattr(self, "windows", {})
        self.windows[title] = process
        return process

    def rename_window(self, old, new):
        self.windows[old].stdin.write(new + "\n")
        self.windows[old].stdin.flush()
        self.windows[new] = self.windows[old]

    # --- results ---------------------------------------------------------------------------

    def check(self, condition, what, detail=""):
        print(("ok    " if condition else "FAIL  ") + what, flush=True)
        if not condition:
            self.failures.append(what)
            if detail:
                print("      " + str(detail).replace("\n", "\n      "), flush=True)

    def stop(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.terminate()
        for process in reversed(self.processes):
            try:
                process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
