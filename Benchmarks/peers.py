#!/usr/bin/env python3
"""Measures other launchers that are installed here beside ours, in turns and all by the same look
from outside, and prints a table in Markdown.

usage: peers.py [TURNS]

Each has the same home with 1,000 applications, which it shows with icons. Of those that stay, the
showing is measured once they run; of the others, from the start of the command. Needs
`cmake --build build --target corvid benchmarks`."""
import datetime
import shutil
import statistics
import subprocess
import sys

sys.dont_write_bytecode = True
from desktops import Wayland, X11
from figures import column, flat, spread
from sitting import BUILD, ROUNDS, TURNS, Side, floor, ours, sit
from table import machine

STAYS = ["--rounds", str(ROUNDS), "--typed", "--memory"]
KRUNNER = "dbus-send --type=method_call --dest=org.kde.krunner /App org.kde.krunner.App.display"
# By desktop: package, command, how it is shown. A command alone shows it and ends with it.
PEERS = {
    "x11": [("rofi", ["rofi", "-show", "drun", "-show-icons"], ["--typed"]),
            ("synapse", ["synapse", "--startup"],
             ["--hidden", "--hotkey", "29+57", *STAYS]),
            ("krunner", ["krunner", "--daemon"], ["--hidden", "--toggle", KRUNNER, *STAYS])],
    "wayland": [("fuzzel", ["fuzzel"], ["--typed"]),
                ("wofi", ["wofi", "--show", "drun", "--allow-images"], ["--typed"])]}
HEADS = ["", "stays", "command → painted", "hot key → painted", "letter → painted",
         "processor, a showing", "memory, hidden"]


def version_of(program):
    owner = subprocess.run(["dpkg-query", "-S", shutil.which(program)], capture_output=True,
                           text=True, check=False).stdout.partition(":")[0]
    version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", owner or program],
                             capture_output=True, text=True, check=False).stdout
    return version.partition(":")[2] or version or "?"


def sides(desktop):
    corvid = ours(desktop, BUILD, "Corvid")
    if desktop.name == "x11":
        corvid.options += ["--toggle", f"{corvid.command[0]} --toggle"]
    bare = floor(desktop)
    bare.name = "a bare Qt window"
    found = [corvid, bare]
    for program, command, options in PEERS[desktop.name]:
        if shutil.which(program):
            found.append(Side(f"{program} {version_of(program)}", command, options,
                              corvid.environment))
        else:
            print(f"{program} is not installed", file=sys.stderr)
    return found


def cell(turns, what, unit, which=0):
    samples = flat(column(turns, what, which))
    return "{p50:.1f} {unit} ({p5:.1f} to {p95:.1f})".format(unit=unit, **spread(samples)) \
        if samples else ""


def rows(side, turns):
    """One for a program that stays; one for a program that is started to be shown."""
    measured = turns[0]
    for shown, stays in (("toggle", "yes"), ("start", "no")):
        if shown in measured or (stays == "yes" and "hotkey" in measured):
            processor = column(turns, shown, 1) or column(turns, "hotkey", 1)
            memory = flat(column(turns, "memory", 0)) if stays == "yes" else []
            yield [side.name, stays, cell(turns, shown, "ms"),
                   cell(turns, "hotkey", "ms") if stays == "yes" else "",
                   cell(turns, "key", "ms"), f"{statistics.median(flat(processor)):.1f} ms",
                   f"{statistics.median(memory):.0f} MB" if memory else ""]


def main():
    turns = int(sys.argv[1]) if len(sys.argv) > 1 else TURNS
    here = machine()
    print(f"{datetime.date.today()}, {here['processor']}, {here['cores']} cores; median of {turns} "
          "turns (p5 to p95)")
    for kind, name in ((X11, "X11"), (Wayland, "Wayland")):
        with kind() as desktop:
            all_ = sides(desktop)
            results = sit(desktop, all_, turns, counted=0)
        print(f"\n| {' | '.join([name] + HEADS[1:])} |\n|{'---|' * len(HEADS)}")
        for side in all_:
            for row in rows(side, results[side.name]["timed"]):
                print(f"| {' | '.join(row)} |", flush=True)


if __name__ == "__main__":
    main()
