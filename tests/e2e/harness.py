"""What the desktop test scripts share: a private home, runtime folder and buses for the session
under test, its processes, waiting, and the ok/FAIL lines of each check."""
import os
import subprocess
import tempfile
import time


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

    def read(self, name):
        try:
            with open(os.path.join(self.root, name)) as f:
                return f.read()
        except FileNotFoundError:
            return ""

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
