#!/usr/bin/python3
"""The Debian package as a user gets it: built by CPack from the build folder, checked by
lintian, resolved against Debian's archive as on a clean system, installed, run, and removed.

Where it is installed: into a throwaway root on this machine (`dpkg --root`), not into a fresh
Debian made by debootstrap or mmdebstrap. A fresh bookworm with the package's dependencies (Qt 6,
ICU, Wayland, xcb, Xvfb to run it) is well over a hundred packages to fetch and unpack, minutes
beyond what this suite may add to CI, and the machines running it may hold no chroot rights.
What a fresh system would show is covered in three cheaper parts:
  - dependencies: `apt-get install --simulate` of the .deb against an empty package database and
    the machine's bookworm lists: every dependency resolves from the archive alone;
  - files: dpkg unpacks the package into the throwaway root with its own database there, and
    the installed binaries run from it (the libraries they link are this machine's, which are
    bookworm's);
  - removal: `dpkg --purge` leaves nothing in the root but dpkg's own database, and the user's
    data in the home folder untouched.
A real `apt-get install ./velto_*.deb` on the machine itself is not used: the machine is shared
by other builds and tests, which would see the installed /usr/share/applications/velto.desktop
and /usr/share/velto while it is there.

The installed `velto record` runs under Xvfb with openbox and a private session bus; the
installed `velto export` reads each earlier release's files under tests/data/upgrade and must
give what that release gave; a store of a newer schema is left byte for byte as it was while
the recorder runs on in memory. `velto settings` enables the installed systemd user unit (with
the real systemctl, which links it without a running user manager) and `velto status` names it.

Usage: package_test.py BIN_DIR
Exit status: 0 all checks passed, 1 a check failed, 77 the tools cannot run here.
"""
import glob
import hashlib
import json
import os
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

import harness
from harness import CannotStart, Failed

SKIP = 77
TOOLS = ["cpack", "dpkg", "dpkg-deb", "dpkg-shlibdeps", "apt-get", "lintian",
         "desktop-file-validate", "appstreamcli", "Xvfb", "openbox", "xterm", "xdotool",
         "xprop", "dbus-daemon", "systemctl"]
SOURCE = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
UPGRADE_DATA = os.path.join(SOURCE, "tests", "data", "upgrade")

# Files a distribution user expects to find (relative to the root).
EXPECTED_FILES = [
    "usr/bin/velto", "usr/bin/velto-gui", "usr/bin/velto-browser-host", "usr/bin/velto-replay",
    "usr/share/applications/velto.desktop",
    "usr/share/metainfo/org.velto.Velto.metainfo.xml",
    "usr/share/icons/hicolor/scalable/apps/velto.svg",
    "usr/share/icons/hicolor/symbolic/apps/velto-symbolic.svg",
    "usr/share/icons/hicolor/48x48/apps/velto.png",
    "usr/share/icons/hicolor/256x256/apps/velto.png",
    "usr/share/velto/categories.json",
    "usr/share/velto/browser-extension/manifest.json",
    "usr/share/velto/desktop-shells/kwin/velto-windows.js",
    "usr/share/man/man1/velto.1.gz",
    "usr/share/bash-completion/completions/velto",
    "usr/share/zsh/vendor-completions/_velto",
    "usr/share/fish/vendor_completions.d/velto.fish",
    "usr/lib/systemd/user/velto.service",
    "usr/share/doc/velto/copyright",
    "usr/share/doc/velto/changelog.Debian.gz",
]


class Session(harness.Session):
    def __init__(self, bin_dir):
        super().__init__(bin_dir, "velto-package-")
        self.root_dir = os.path.join(self.root, "root")
        self.times = []

    def timed(self, what, started):
        self.times.append(f"{what} {time.monotonic() - started:.1f} s")

    def command(self, argv, timeout=300, env=None):
        result = subprocess.run(argv, capture_output=True, text=True, timeout=timeout,
                                env=env or {**os.environ, "LANG": "C.UTF-8"})
        if result.returncode != 0:
            raise Failed(f"{' '.join(argv)} failed ({result.returncode}): "
                         f"{(result.stderr or result.stdout).strip()[-1500:]}")
        return result

    def installed(self, *path):
        return os.path.join(self.root_dir, *path)

    def velto(self, *args, env=None):
        return subprocess.run([self.installed("usr", "bin", "velto"), *args],
                              env=env or self.env, capture_output=True, text=True, timeout=30)

    # --- the desktop the installed recorder runs in -----------------------------------------

    def start_display(self):
        self.start_xvfb()
        self.spawn(["openbox", "--sm-disable"])
        self.wait_for(self.wm_running, "openbox")

    def start_recorder(self, log_name):
        log = open(os.path.join(self.root, log_name), "w")
        recorder = self.spawn([self.installed("usr", "bin", "velto"), "record"], stderr=log)
        self.wait_for(lambda: "Recording." in self.read(log_name), "the installed recorder")
        return recorder

    def stop_recorder(self, recorder):
        recorder.terminate()
        recorder.wait(timeout=10)
        return recorder.returncode


def build_package(s):
    build = os.path.dirname(s.bin)
    if not os.path.exists(os.path.join(build, "CPackConfig.cmake")):
        raise CannotStart(f"{build} holds no CPack configuration")
    started = time.monotonic()
    out = os.path.join(s.root, "package")
    s.command(["cpack", "--config", os.path.join(build, "CPackConfig.cmake"), "-G", "DEB",
               "-B", out])
    s.timed("cpack", started)
    debs = glob.glob(os.path.join(out, "velto_*.deb"))
    if len(debs) != 1:
        raise Failed(f"cpack made {debs or 'no package'}")
    return debs[0]


def check_package(s, deb):
    fields = s.command(["dpkg-deb", "--field", deb]).stdout
    depends = next((line for line in fields.splitlines() if line.startswith("Depends:")), "")
    s.check(all(name in depends for name in ("libqt6widgets6", "libsqlite3-0", "libsystemd0",
                                              "libicu72", "libxcb1", "libstdc++6")),
            "the dependencies come from the shared libraries", depends)

    started = time.monotonic()
    lintian = subprocess.run(["lintian", "--fail-on", "error", "--tag-display-limit", "0", deb],
                             capture_output=True, text=True, timeout=300)
    s.timed("lintian", started)
    errors = [line for line in lintian.stdout.splitlines() if line.startswith("E:")]
    s.check(lintian.returncode == 0 and not errors, "lintian finds no errors",
            "\n".join(errors) or lintian.stderr[-800:])

    # Against an empty package database: what a clean bookworm would have to fetch.
    started = time.monotonic()
    state = os.path.join(s.root, "apt-state")
    os.makedirs(os.path.join(state, "lists", "partial"))
    empty_status = os.path.join(state, "status")
    open(empty_status, "w").close()
    apt = subprocess.run(
        ["apt-get", "install", "--simulate", "--no-install-recommends",
         "-o", f"Dir::State::status={empty_status}", "-o", "Debug::NoLocking=1",
         "-o", f"Dir::Cache={os.path.join(state, 'cache')}", deb],
        capture_output=True, text=True, timeout=300)
    s.timed("apt-get --simulate", started)
    installs = [line for line in apt.stdout.splitlines() if line.startswith("Inst ")]
    if apt.returncode != 0 and "Unable to locate" in apt.stderr + apt.stdout:
        s.check(False, "the dependencies resolve against Debian's archive",
                "no package lists on this machine (apt-get update)")
    else:
        s.check(apt.returncode == 0 and any(line.startswith("Inst velto ") for line in installs),
                f"a clean system gets every dependency from the archive "
                f"({len(installs)} packages)", (apt.stderr or apt.stdout)[-1500:])


def install(s, deb):
    admin = s.installed("var", "lib", "dpkg")
    for folder in ("info", "updates", "triggers"):
        os.makedirs(os.path.join(admin, folder))
    for name in ("status", "available"):
        open(os.path.join(admin, name), "w").close()
    # The dependencies are this machine's; the root's own database does not know them.
    s.command(["dpkg", f"--root={s.root_dir}", "--force-depends", "--force-not-root",
               "--force-bad-path", "--install", deb])
    listed = s.command(["dpkg", f"--root={s.root_dir}", "--status", "velto"]).stdout
    s.check("Status: install ok installed" in listed, "dpkg installs the package", listed[:400])
    missing = [path for path in EXPECTED_FILES if not os.path.exists(s.installed(path))]
    s.check(not missing, "every binary, the menu entry, icons, AppStream file, man page, "
            "completions and the user unit are installed", missing)

    desktop = s.installed("usr", "share", "applications", "velto.desktop")
    result = subprocess.run(["desktop-file-validate", desktop], capture_output=True, text=True)
    with open(desktop) as f:
        entry = f.read()
    s.check(result.returncode == 0 and not result.stdout.strip(),
            "desktop-file-validate accepts the menu entry", result.stdout + result.stderr)
    s.check("StartupWMClass=Velto\n" in entry and "Comment[de]=" in entry and
            "Exec=velto\n" in entry, "the entry names the window class and speaks German",
            entry)
    metainfo = s.installed("usr", "share", "metainfo", "org.velto.Velto.metainfo.xml")
    result = subprocess.run(["appstreamcli", "validate", "--no-net", "--explain", metainfo],
                            capture_output=True, text=True)
    s.check(result.returncode == 0, "appstreamcli validates the metainfo file",
            result.stdout + result.stderr)
    with open(s.installed("usr", "lib", "systemd", "user", "velto.service")) as f:
        unit = f.read()
    s.check("ExecStart=/usr/bin/velto record\n" in unit and "Restart=on-failure\n" in unit,
            "the user unit runs the installed velto record", unit)
    man = subprocess.run(["sh", "-c", f"gzip -dc '{s.installed('usr/share/man/man1/velto.1.gz')}'"
                          " | head -c 400"], capture_output=True, text=True)
    s.check(man.stdout.startswith(".TH VELTO 1") or ".TH" in man.stdout,
            "the man page is a manual page", man.stdout[:200])


def run_installed(s):
    s.start_display()
    s.spawn(["xterm", "-name", "pkgterm", "-class", "PkgTerm", "-T", "installed", "-e",
             "sleep", "100000"])
    found = []

    def appeared():
        result = s.run(["xdotool", "search", "--classname", "^pkgterm$"], check=False)
        found[:] = result.stdout.split()
        return bool(found)
    s.wait_for(appeared, "the xterm window")
    s.run(["xdotool", "windowactivate", "--sync", found[0]])

    recorder = s.start_recorder("record.log")
    status = json.loads(s.velto("status", "--json").stdout or "{}")
    s.check(status.get("recorder", {}).get("running") is True and status.get("backend") == "x11",
            "the installed velto record runs on the X display", status)
    for _ in range(3):
        s.run(["xdotool", "mousemove_relative", "--", "1", "1"])
        time.sleep(1.5)
    code = s.stop_recorder(recorder)
    store = os.path.join(s.env["XDG_DATA_HOME"], "Velto", "Velto.sqlite")
    db = sqlite3.connect(f"file:{store}?mode=ro", uri=True)
    rows = db.execute("SELECT bundle_id, end_reason FROM segment").fetchall()
    db.close()  # an open reader would keep the write-ahead log from being folded in below
    s.check(code == 0 and ("pkgterm", "appQuit") in rows,
            "it records the window in front and stops cleanly", (code, rows))

    # Starting at log-in through the installed unit: the real systemctl links it in the user's
    # folder (SYSTEMD_UNIT_PATH shows it the throwaway root's unit folder as if it were /usr).
    env = dict(s.env, SYSTEMD_UNIT_PATH=s.installed("usr", "lib", "systemd", "user") + ":")
    chosen = s.velto("settings", "set", "launchAtLoginMode", "service", env=env)
    turned = s.velto("settings", "set", "launchAtLogin", "true", env=env)
    link = os.path.join(s.env["XDG_CONFIG_HOME"], "systemd", "user",
                        "graphical-session.target.wants", "velto.service")
    s.check(chosen.returncode == 0 and turned.returncode == 0 and os.path.islink(link) and
            os.readlink(link) == s.installed("usr", "lib", "systemd", "user", "velto.service"),
            "velto settings enables the installed user unit", chosen.stderr + turned.stderr)
    text = s.velto("status", env=env).stdout
    status = json.loads(s.velto("status", "--json", env=env).stdout or "{}")
    s.check("start at log-in: the recorder (systemd user unit velto.service)" in text and
            status.get("loginStart") == {"installed": "service", "chosen": "service"},
            "velto status names the unit", text + json.dumps(status.get("loginStart")))
    back = s.velto("settings", "set", "launchAtLoginMode", "autostart", env=env)
    entry = os.path.join(s.env["XDG_CONFIG_HOME"], "autostart", "velto.desktop")
    s.check(back.returncode == 0 and not os.path.lexists(link) and os.path.exists(entry),
            "choosing the autostart entry disables the unit", back.stderr)
    result = subprocess.run(["desktop-file-validate", entry], capture_output=True, text=True)
    s.check(result.returncode == 0, "the autostart entry is a valid desktop entry",
            result.stdout + result.stderr)


def earlier_releases(s):
    """Each earlier release's files open in the installed program with nothing lost."""
    cases = sorted(name for name in os.listdir(UPGRADE_DATA)
                   if os.path.isdir(os.path.join(UPGRADE_DATA, name)))
    s.check(bool(cases), "there are earlier releases' files to open", UPGRADE_DATA)
    for case in cases:
        home = os.path.join(s.root, "upgrade-" + case)
        shutil.copytree(os.path.join(UPGRADE_DATA, case), home)
        env = dict(s.env, HOME=home, XDG_CONFIG_HOME=os.path.join(home, "config"),
                   XDG_DATA_HOME=os.path.join(home, "data"), TZ="UTC")
        env.pop("DISPLAY", None)
        same = True
        for detail, expected_name in (("segments", "segments.json"),
                                      ("dailyApps", "daily-apps.json")):
            out = os.path.join(home, f"now-{detail}.json")
            result = s.velto("export", "--range", "everything", "--detail", detail, "--format",
                             "json", "--output", out, env=env)
            with open(os.path.join(home, "expected", expected_name)) as f:
                expected = json.load(f)
            try:
                with open(out) as f:
                    now = json.load(f)
            except (OSError, ValueError):
                now = None
            same = same and result.returncode == 0 and now == expected
        s.check(same, f"{case}: the installed velto exports what that release recorded")


def newer_store(s):
    """A store a newer release wrote is left as it is; the recorder runs on in memory."""
    data = os.path.join(s.env["XDG_DATA_HOME"], "Velto")
    store = os.path.join(data, "Velto.sqlite")
    db = sqlite3.connect(store)
    db.execute("PRAGMA user_version = 99")
    db.commit()
    db.close()  # the last connection folds the write-ahead log into the file
    with open(store, "rb") as f:
        before_bytes = f.read()
    before = hashlib.sha256(before_bytes).hexdigest()
    names_before = sorted(os.listdir(data))
    recorder = s.start_recorder("newer.log")
    time.sleep(2)
    code = s.stop_recorder(recorder)
    with open(store, "rb") as f:
        after = hashlib.sha256(f.read()).hexdigest()
    log = s.read("newer.log")
    if before != after:
        with open(store, "rb") as f:
            now = f.read()
        offsets = [i for i in range(min(len(now), len(before_bytes))) if now[i] != before_bytes[i]]
        log += f"\nversions {before_bytes[60:64].hex()} -> {now[60:64].hex()}, beside {names_before}"
        log += f"\nsizes {len(before_bytes)} -> {len(now)}, first changed bytes at {offsets[:8]}"
    s.check(code == 0 and before == after and "newer version of Velto (schema 99)" in log and
            "recording into memory only" in log,
            "a newer store is left byte for byte and the recorder runs in memory", log[-800:])
    leftovers = [name for name in sorted(os.listdir(data)) if name not in names_before and
                 name.startswith("Velto.sqlite")]
    s.check(not leftovers, "nothing is written beside the newer store", leftovers)


def remove(s):
    s.command(["dpkg", f"--root={s.root_dir}", "--force-depends", "--force-not-root",
               "--force-bad-path", "--purge", "velto"])
    left = []
    for folder, dirs, names in os.walk(s.root_dir):
        relative = os.path.relpath(folder, s.root_dir)
        if relative == "var" or relative.startswith("var/lib/dpkg") or relative == "var/lib":
            continue
        left += [os.path.join(relative, name) for name in names]
        left += [os.path.join(relative, name) for name in dirs if relative != "." or
                 name != "var"]
    s.check(not left, "purging the package leaves no file behind", left[:20])
    kept = [os.path.join(s.env["XDG_DATA_HOME"], "Velto", "Velto.sqlite"),
            os.path.join(s.env["XDG_CONFIG_HOME"], "Velto", "settings.json")]
    s.check(all(os.path.exists(path) for path in kept), "the user's data stays", kept)


def main():
    if len(sys.argv) != 2:
        print(__doc__)
        return 2
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    if missing:
        print("package tests skipped: missing " + ", ".join(missing) + " (run scripts/setup)")
        return SKIP
    s = Session(sys.argv[1])
    started = time.monotonic()
    try:
        deb = build_package(s)
        check_package(s, deb)
        install(s, deb)
        run_installed(s)
        earlier_releases(s)
        newer_store(s)
        remove(s)
    except CannotStart as error:
        print(f"package tests skipped: {error}")
        return SKIP
    except (Failed, subprocess.TimeoutExpired) as error:
        s.check(False, str(error))
    finally:
        s.stop()
        print("times: " + ", ".join(s.times) + f", all {time.monotonic() - started:.1f} s")
        if s.failures:
            print(f"logs kept in {s.root}")
        else:
            shutil.rmtree(s.root, ignore_errors=True)
    return 1 if s.failures else 0


if __name__ == "__main__":
    sys.exit(main())
