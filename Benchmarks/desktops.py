"""Desktops that nobody sees, with homes full of applications and projects: for the benchmarks.
Everything ends with them."""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
NOBODY = 65534
PATIENCE = 300  # seconds

signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # what was started ends, too


class Desktop:
    """A session bus, and what is common to all that runs on the desktop."""

    unprivileged = False  # whether all of it runs as nobody, where we are root

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="corvid-bench-"))
        self.folder.chmod(0o711)
        self.children = []
        self.before = []
        if self.unprivileged and os.getuid() == 0:
            self.before = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]
        runtime = self._own(self.folder / "runtime")
        # What toolkits need of the system, without its applications.
        data = self.folder / "share"
        data.mkdir()
        for name in ("glib-2.0", "icons", "mime", "themes"):
            (data / name).symlink_to(f"/usr/share/{name}")
        self.environment = {
            "PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(runtime),
            "XDG_RUNTIME_DIR": str(runtime), "XDG_DATA_DIRS": str(data),
            "GSETTINGS_BACKEND": "memory", "NO_AT_BRIDGE": "1"}
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.start(
            ["dbus-daemon", "--nofork", "--print-address", "--config-file",
             str(ROOT / "Tests/Fixtures/session-bus.conf")], said=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for child in reversed(self.children):
            child.terminate()
            child.wait()
        shutil.rmtree(self.folder)

    def _own(self, folder):
        folder.mkdir(mode=0o700)
        if self.before:
            os.chown(folder, NOBODY, NOBODY)
        return folder

    def start(self, command, said=False, **environment):
        """Runs until the end of the desktop. With said: answers its first line."""
        child = subprocess.Popen(
            self.before + command, env={**self.environment, **environment}, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE if said else subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        self.children.append(child)
        return child.stdout.readline().strip() if said else child

    def run(self, command, patience=PATIENCE, **environment):
        """What it prints; what it says on standard error is shown when it fails."""
        done = subprocess.run(
            self.before + [str(word) for word in command], env={**self.environment, **environment},
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=patience, check=False)
        if done.returncode != 0:
            sys.exit(f"{' '.join(map(str, command))}\n{done.stderr}")
        return done

    def home(self, name, corvid, applications, projects):
        """A home of which this program has its caches, as at every start but a user's first."""
        home = self.folder / name
        subprocess.run([sys.executable, ROOT / "Benchmarks/make_world.py", home, str(applications),
                        str(projects)], check=True)
        if self.before:
            subprocess.run(["chown", "-R", f"{NOBODY}:{NOBODY}", home], check=True)
        caches = [home / ".local/share/Corvid" / name for name in ("catalog.json", "projects.json")]
        warming = self.start([str(corvid), "--query", "warm"], HOME=str(home))
        deadline = time.monotonic() + PATIENCE
        while not all(cache.exists() and cache.stat().st_size for cache in caches):
            if time.monotonic() > deadline:
                sys.exit(f"{corvid} writes no caches")
            time.sleep(0.1)
        warming.terminate()
        warming.wait()
        self.children.remove(warming)
        return str(home)


class X11(Desktop):
    """An X server with a window manager."""

    name = "x11"

    def __init__(self):
        super().__init__()
        # No log is made of what it says, so its standard output is free for the number.
        self.environment["DISPLAY"] = ":" + self.start(
            ["Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp",
             "-noreset"], said=True)
        self.start(["openbox", "--sm-disable"], XDG_DATA_DIRS="/usr/share")


class Wayland(Desktop):
    """sway with an output in memory, whose frames are not to be waited for."""

    name = "wayland"
    unprivileged = True  # it does not run as root

    def __init__(self):
        super().__init__()
        config = self.folder / "sway.conf"
        config.write_text(
            "xwayland disable\nseat * hide_cursor 100\ndefault_border none\n"
            "output HEADLESS-1 mode --custom 1280x800@1000Hz\n"
            'for_window [app_id=".*"] floating enable\n')
        self.environment["SWAYSOCK"] = self.environment["XDG_RUNTIME_DIR"] + "/sway.sock"
        self.start(["sway", "-c", str(config)], WLR_BACKENDS="headless", WLR_RENDERER="pixman",
                   WLR_LIBINPUT_NO_DEVICES="1")
        self.environment["WAYLAND_DISPLAY"] = "wayland-1"
        deadline = time.monotonic() + PATIENCE
        while subprocess.run(self.before + ["swaymsg", "-t", "get_outputs"], env=self.environment,
                             capture_output=True, check=False).returncode != 0:
            if time.monotonic() > deadline:
                sys.exit("sway does not start")
            time.sleep(0.1)
