"""Several programs measured in one sitting, in turns: A B A B. What the machine does besides then
happens to all of them alike, and what it did to them can be told from one program's turns."""
import dataclasses
import json
import pathlib
import re
import sys

from desktops import ROOT

BUILD = ROOT / "build"
TURNS = 30
COUNTED_TURNS = 10
ROUNDS = 2  # of showing and typing in a turn
HOT_KEY = ["--hotkey", "56+37"]  # Alt+K, which the homes' settings say

# What PanelBench measures, as it is called on each desktop.
WAITS = {"hotkey": {"x11": "hot key → painted", "wayland": "bound key → painted"},
         "toggle": {"wayland": "toggle command → painted"},
         "key": dict.fromkeys(("x11", "wayland"), "key → painted"),
         "start": dict.fromkeys(("x11", "wayland"), "start → painted")}


@dataclasses.dataclass
class Side:
    name: str
    command: list
    options: list = dataclasses.field(default_factory=list)  # of PanelBench
    environment: dict = dataclasses.field(default_factory=dict)
    refreshes: bool = False  # whether the program measures that by itself


def turn(desktop, side, *options):
    """What PanelBench prints: pairs of figures for each thing that was measured."""
    done = desktop.run([BUILD / "PanelBench", desktop.name, *side.options, *options, "--",
                        *side.command], **side.environment)
    return json.loads(done.stdout)


def refresh(desktop, program, **environment):
    """Milliseconds of the main thread for a key stroke: p50 and p99."""
    said = desktop.run([program, "--bench"], **environment).stderr
    return [float(re.search(rf"{figure}=([\d.]+)", said)[1]) for figure in ("p50", "p99")]


def sit(desktop, sides, turns=TURNS, counted=COUNTED_TURNS):
    """By side's name: what each of its turns printed, first to last, and those that counted what is
    said to the X server. The first turn of each warms the machine and does not count."""
    results = {side.name: {"timed": [], "counted": []} for side in sides}
    for number in range(turns + 1):
        print(f"{desktop.name}, turn {number} of {turns}", file=sys.stderr)
        for side in sides:
            figures = turn(desktop, side)
            if side.refreshes:
                figures["refresh"] = [refresh(desktop, side.command[0], **side.environment)]
            if number > 0:
                results[side.name]["timed"].append(figures)
    for _ in range(counted if desktop.name == "x11" else 0):
        for side in sides:
            results[side.name]["counted"].append(turn(desktop, side, "--counted"))
    return results


def ways(desktop, toggle):
    """How a program that stays is shown: PanelBench's options."""
    shown = HOT_KEY if desktop.name == "x11" else ["--toggle", toggle]
    return [*shown, "--rounds", str(ROUNDS), "--typed", "--memory"]


def left_alone(desktop, side):
    """What the program costs hidden, after it was used for a while."""
    print(f"{desktop.name}, {side.name} left alone", file=sys.stderr)
    return turn(desktop, side, "--rounds", str(TURNS), "--idle")


def ours(desktop, build, name="ours", applications=1000, projects=2000):
    corvid = pathlib.Path(build).resolve() / "corvid"
    home = desktop.home(name, corvid, applications, projects)
    return Side(name, [corvid, "--show"], ways(desktop, f"{corvid} --toggle"), {"HOME": home})


def floor(desktop):
    return Side("floor", [BUILD / "BareWindow", "--show"], ways(desktop, "kill -USR1 %p"))


def with_gtk(side):
    """The start alone, where Qt loads GTK to look like the desktop; nothing where it cannot."""
    plugins = pathlib.Path("/usr/lib").glob("**/qt6/plugins/platformthemes/libqgtk3.so")
    if not any(plugins):
        print("Qt's platform theme for GTK is not installed: no figures with it", file=sys.stderr)
        return []
    return [Side(f"{side.name}, GTK", side.command, ["--memory"],
                 {**side.environment, "XDG_CURRENT_DESKTOP": "GNOME"})]
