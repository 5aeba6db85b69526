#!/usr/bin/env python3
"""Makes a home folder with so many applications and projects, the same at every run.

usage: make_world.py FOLDER APPLICATIONS PROJECTS

Applications are desktop entries below FOLDER/.local/share/applications, projects are folders with
a marker below roots of FOLDER that FOLDER/.config/Corvid/defaults.json names."""
import json
import pathlib
import random
import sys

WORDS = """alpha api app atlas auth backend beta billing blog board book bot build cache calendar cart
chat check cloud code config console core crypto dash data deploy design desk dev docs draft drive edge
editor engine event feed file finder flow forge form front game gate git graph grid hub image index ink
job kit lab lane layer ledger lib light link list load log mail map market media mesh meter mind mobile
model monitor music net node note office order page paint panel pay photo pilot pipe plan play port proxy
pulse query queue radar reader relay report route rule safe scan scout search secure server session shell
shop signal site sketch sound space spark spot stack stage store stream studio sync system table task team
term test text theme time token tool trace track trail tree turbo vault video view voice wave web widget
wiki work xcode zed""".split()
MARKERS = ["package.json", "Cargo.toml", "go.mod", "pyproject.toml", "Makefile", "CMakeLists.txt"]
CATEGORIES = ["Development;IDE;", "Network;WebBrowser;", "System;TerminalEmulator;", "Office;",
              "Graphics;", "AudioVideo;", "Game;", "Utility;"]
PROJECTS_PER_ROOT = 5000  # each costs two entries, or three, of a root's budget of 30,000


def main():
    home = pathlib.Path(sys.argv[1]).resolve()
    application_count, project_count = int(sys.argv[2]), int(sys.argv[3])
    pick = random.Random(20261121)

    entries = home / ".local/share/applications"
    entries.mkdir(parents=True, exist_ok=True)
    for number in range(application_count):
        name = " ".join(word.title() for word in pick.sample(WORDS, pick.randint(1, 3)))
        (entries / f"org.example.App{number}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nExec=true\n"
            f"GenericName={pick.choice(WORDS).title()} {pick.choice(WORDS).title()}\n"
            f"Categories={pick.choice(CATEGORIES)}\n")

    roots = []
    for number in range(project_count):
        if number % PROJECTS_PER_ROOT == 0:
            roots.append(home / f"root{len(roots)}")
        name = "-".join(pick.sample(WORDS, pick.randint(1, 3)))
        folder = roots[-1] / f"{name}-{number}"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / pick.choice(MARKERS)).touch()

    settings = home / ".config/Corvid/defaults.json"
    settings.parent.mkdir(parents=True, exist_ok=True)
    settings.write_text(json.dumps({"projectRoots": [str(root) for root in roots]}, indent=4))


main()
