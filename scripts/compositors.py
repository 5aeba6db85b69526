"""Wayland compositors that run unseen, what types and clicks on them, and pictures of what they
show: for check-compositors."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

from pictures import Failure, Picture

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build"
PATIENCE = 30  # seconds
OUTPUT = (1280, 800)
BESIDE = (60, 700)  # where neither the card nor its shadow is


def eventually(condition, what, patience=PATIENCE):
    """The first true value; fails with `what` when there is none in time."""
    deadline = time.monotonic() + patience
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.1)
    raise Failure(what)


class Session:
    """What a compositor and its clients have in common. Everything ends with it."""

    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="corvid-"))
        self.folder.chmod(0o700)
        self.children = []
        self.environment = {
            "PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(self.folder),
            "XDG_RUNTIME_DIR": str(self.folder), "XDG_DATA_DIRS": "/usr/local/share:/usr/share",
            "NO_AT_BRIDGE": "1", "GSETTINGS_BACKEND": "keyfile", "LIBGL_ALWAYS_SOFTWARE": "1"}
        self.trace = self.folder / "started"
        self.write("frobnicator", f"#!/bin/sh\necho started > {self.trace}\n").chmod(0o755)
        self.write(".local/share/applications/org.example.Frobnicator.desktop",
                   "[Desktop Entry]\nType=Application\nName=Frobnicator\n"
                   f"Exec={self.folder}/frobnicator\n")
        bus = self.start(["dbus-daemon", "--nofork", "--print-address", "--config-file",
                          str(ROOT / "Tests/Fixtures/session-bus.conf")], output=True)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for child in reversed(self.children):
            child.terminate()
            try:
                child.wait(5)
            except subprocess.TimeoutExpired:
                child.kill()
                child.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        return path

    def start(self, command, output=False, **environment):
        log = open(self.folder / f"{pathlib.Path(command[0]).name}.log", "wb")
        child = subprocess.Popen(
            command, env={**self.environment, **environment}, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE if output else log, stderr=log, cwd=self.folder)
        self.children.append(child)
        return child

    def run(self, command):
        return subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              timeout=3 * PATIENCE, check=False).stdout

    def log_of(self, program):
        return (self.folder / f"{program}.log").read_text(errors="replace")

    def await_socket(self, pattern, child):
        def socket():
            if child.poll() is not None:
                last = self.log_of(child.args[0]).strip().splitlines()[-1:] or [""]
                raise Failure(f"does not start: {last[0].strip()}")
            return next((each for each in self.folder.iterdir()
                         if re.fullmatch(pattern, each.name)), None)
        return eventually(socket, "does not start").name


class InMemory:
    """Drives a compositor that lets clients type, click and take pictures."""

    def __init__(self, session, outputs, scale, display):
        self.session, self.scale = session, scale
        session.environment["WAYLAND_DISPLAY"] = display
        # While no keyboard is there, keys that one brings along get lost.
        session.start(["wtype", "-s", "3000000"])
        eventually(lambda: re.search(rb"capabilities:.*keyboard", session.run(["wayland-info"])),
                   "lets nobody type")
        width, height = OUTPUT[0] * outputs, OUTPUT[1]
        self.mouse = session.start([str(BUILD / "tests/corvid_wayland_pointer"), str(width),
                                    str(height)], output=True)
        self.move(BESIDE)

    def _tell_mouse(self, line):
        self.mouse.stdin.write(line.encode() + b"\n")
        self.mouse.stdin.flush()
        self.mouse.stdout.readline()

    def move(self, place):
        self._tell_mouse("move %d %d" % place)

    def click(self, place):
        self.move(place)
        self._tell_mouse("press 272")

    def type(self, text):
        self.session.run(["wtype", text])

    def press(self, key):
        self.session.run(["wtype", "-k", key])

    def picture(self, number=0):
        output = f"HEADLESS-{number + 1}"
        return Picture.of_ppm(self.session.run(["grim", "-t", "ppm", "-o", output, "-"]))


class InWindows:
    """Drives a compositor whose outputs are windows of an X server, side by side."""

    @staticmethod
    def start_server(session):
        server = session.start(["Xvfb", "-displayfd", "1", "-screen", "0", "3840x1200x24",
                                "-nolisten", "tcp", "-fbdir", str(session.folder)], output=True)
        session.environment["DISPLAY"] = ":" + server.stdout.readline().decode().strip()

    def __init__(self, session, outputs, scale):
        self.session = session
        self.display = session.environment.pop("DISPLAY")
        self.scale = scale
        self.size = [round(side * scale) for side in OUTPUT]
        self.outputs = outputs

    def _ask(self, command):
        return self.session.run(["env", "DISPLAY=" + self.display, *command])

    def arrange(self):
        """Puts the outputs' windows side by side: without a window manager they are all in the
        corner."""
        def windows():
            found = self._ask(["xdotool", "search", "--onlyvisible", "--maxdepth", "1", "--class",
                               ""]).split()
            widths = {each: self._width_of(each) for each in found}
            large = [each for each in found if widths[each] in (self.size[0], self.outputs *
                                                                self.size[0])]
            return large if sum(map(widths.get, large)) >= self.outputs * self.size[0] else None
        for number, window in enumerate(sorted(eventually(windows, "has no outputs"), key=int)):
            self._ask(["xdotool", "windowmove", "--sync", window, str(number * self.size[0]), "0"])
        self.move(BESIDE)

    def _width_of(self, window):
        geometry = self._ask(["xdotool", "getwindowgeometry", "--shell", window]).decode()
        return int(re.search(r"WIDTH=(\d+)", geometry)[1])

    def move(self, place):
        x, y = (str(round(side * self.scale)) for side in place)
        self._ask(["xdotool", "mousemove", "--sync", x, y])

    def click(self, place):
        self.move(place)
        self._ask(["xdotool", "click", "1"])

    def type(self, text):
        self._ask(["xdotool", "type", "--delay", "20", text])

    def press(self, key):
        self._ask(["xdotool", "key", key])

    def picture(self, number=0):
        return Picture.of_xwd(self.session.folder / "Xvfb_screen0", number * self.size[0],
                              *self.size)


def start_wlroots(session, command, outputs, scale):
    child = session.start(command, WLR_BACKENDS="headless", WLR_HEADLESS_OUTPUTS=str(outputs),
                          WLR_RENDERER="pixman", WLR_LIBINPUT_NO_DEVICES="1")
    return InMemory(session, outputs, scale, session.await_socket(r"wayland-\d+", child))


def arrange_wlroots(session, outputs, scale):
    mode = "%dx%d" % tuple(round(side * scale) for side in OUTPUT)
    for number in range(outputs):
        session.run(["wlr-randr", "--output", f"HEADLESS-{number + 1}", "--custom-mode", mode,
                     "--scale", str(scale), "--pos", f"{number * OUTPUT[0]},0"])


def start_sway(session, outputs, scale):
    mode = "%dx%d" % tuple(round(side * scale) for side in OUTPUT)
    lines = ["xwayland disable", "seat * hide_cursor 100", "default_border none",
             f"output * mode {mode} scale {scale}"]
    lines += [f"output HEADLESS-{each + 1} position {each * OUTPUT[0]} 0"
              for each in range(outputs)]
    config = session.write("sway.conf", "\n".join(lines) + "\n")
    return start_wlroots(session, ["sway", "-c", str(config)], outputs, scale)


def start_labwc(session, outputs, scale):
    session.write("labwc/rc.xml", "<labwc_config><placement><policy>center</policy></placement>"
                  "</labwc_config>\n")
    result = start_wlroots(session, ["labwc", "-C", str(session.folder / "labwc")], outputs, scale)
    arrange_wlroots(session, outputs, scale)
    return result


def need_graphics_card():
    if not list(pathlib.Path("/dev").glob("dri/renderD*")):
        raise Failure("needs a graphics card")


def start_wayfire(session, outputs, scale):
    if version_of("wayfire").startswith("0.9"):
        need_graphics_card()
    mode = "%dx%d" % tuple(round(side * scale) for side in OUTPUT)
    lines = ["[core]", "plugins = place foreign-toplevel wm-actions xdg-activation"
             " wlr-decorations-dummy", "xwayland = false"]
    for each in range(outputs):
        lines += [f"[output:HEADLESS-{each + 1}]", f"mode = {mode}", f"scale = {scale}",
                  f"position = {each * OUTPUT[0]},0"]
    config = session.write("wayfire.ini", "\n".join(lines) + "\n")
    return start_wlroots(session, ["wayfire", "-c", str(config)], outputs, scale)


def start_hyprland(session, outputs, scale):
    need_graphics_card()
    lines = [f"monitor=,{OUTPUT[0] * scale:.0f}x{OUTPUT[1] * scale:.0f}@60,auto,{scale}",
             "xwayland {\n enabled = false\n}", "misc {\n disable_hyprland_logo = true\n}"]
    config = session.write("hyprland.conf", "\n".join(lines) + "\n")
    child = session.start(["Hyprland", "--config", str(config)])
    return InMemory(session, outputs, scale, session.await_socket(r"wayland-\d+", child))


def start_weston(session, outputs, scale):
    if scale != int(scale):
        raise Failure("its windows have whole scales only")
    config = session.write("weston.ini", "[core]\nshell=desktop-shell.so\nidle-time=0\n"
                           "xwayland=true\n[shell]\npanel-position=none\nlocking=false\n")
    InWindows.start_server(session)
    child = session.start(["weston", "--backend=x11", "--renderer=pixman", f"--config={config}",
                           f"--width={OUTPUT[0]}", f"--height={OUTPUT[1]}",
                           f"--output-count={outputs}", "--socket=wayland-corvid"])
    session.environment["WAYLAND_DISPLAY"] = session.await_socket("wayland-corvid", child)
    desktop = InWindows(session, outputs, scale)
    log = lambda: re.search(r"xserver listening on display (:\d+)", session.log_of("weston"))
    session.environment["DISPLAY"] = eventually(log, "has no XWayland")[1]
    desktop.arrange()
    return desktop


def start_weston_alone(session, outputs, scale):
    desktop = start_weston(session, outputs, scale)
    session.environment["CORVID_PLATFORM"] = "wayland"
    return desktop


def start_kwin(session, outputs, scale):
    InWindows.start_server(session)
    child = session.start(["kwin_wayland", "--x11-display", session.environment["DISPLAY"],
                           "--width", str(OUTPUT[0]), "--height", str(OUTPUT[1]), "--scale", str(scale),
                           "--output-count", str(outputs), "--socket", "wayland-corvid",
                           "--no-lockscreen", "--no-global-shortcuts"])
    session.environment["WAYLAND_DISPLAY"] = session.await_socket("wayland-corvid", child)
    desktop = InWindows(session, outputs, scale)
    desktop.arrange()
    # What it is started with makes the windows larger, but not what is in them.
    for each in range(outputs):
        session.run(["env", "QT_QPA_PLATFORM=wayland", "kscreen-doctor",
                     f"output.{each + 1}.scale.{scale}"])
    return desktop


def start_mutter(session, outputs, scale):
    width, height = (round(side * scale) for side in OUTPUT)
    session.write(".config/glib-2.0/settings/keyfile", "[org/gnome/mutter]\n"
                  "experimental-features=['scale-monitor-framebuffer']\n")
    if b"--nested" not in session.run(["mutter", "--help-all"]):
        raise Failure("runs in no window any more")
    InWindows.start_server(session)
    child = session.start(["mutter", "--wayland", "--nested", "--wayland-display",
                           "wayland-corvid"],
                          MUTTER_DEBUG_DUMMY_MODE_SPECS=f"{width}x{height}",
                          MUTTER_DEBUG_NUM_DUMMY_MONITORS=str(outputs),
                          MUTTER_DEBUG_DUMMY_MONITOR_SCALES=",".join([str(scale)] * outputs))
    session.environment["WAYLAND_DISPLAY"] = session.await_socket("wayland-corvid", child)
    desktop = InWindows(session, outputs, 1)  # whose windows are as large at any scale
    log = lambda: re.search(r"public X11 display (:\d+)", session.log_of("mutter"))
    session.environment["DISPLAY"] = eventually(log, "has no XWayland")[1]
    key = eventually(lambda: list(session.folder.glob(".mutter-Xwaylandauth*")), "has no XWayland")
    session.environment["XAUTHORITY"] = str(key[0])
    desktop.arrange()
    return desktop


def version_of(program):
    output = subprocess.run([program, "--version"], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, check=False,
                            env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}).stdout.decode()
    found = re.search(r"\d+\.\d+[\d.]*", output)
    return found[0] if found else "?"


# Name, its program, and how it is started with so many outputs of this scale.
COMPOSITORS = [("sway", "sway", start_sway), ("labwc", "labwc", start_labwc),
               ("Wayfire", "wayfire", start_wayfire), ("Hyprland", "Hyprland", start_hyprland),
               ("KWin", "kwin_wayland", start_kwin), ("Mutter", "mutter", start_mutter),
               ("Weston", "weston", start_weston),
               ("Weston without XWayland", "weston", start_weston_alone)]
