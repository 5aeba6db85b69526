#!/usr/bin/env python3
"""Makes a home folder with so many applications and projects, the same at every run.

usage: make_world.py FOLDER APPLICATIONS PROJECTS

Applications are desktop entries below FOLDER/.local/share/applications, each with an icon of its
own in the icon theme; projects are folders with a marker below roots of FOLDER that
FOLDER/.config/Corvid/defaults.json names. Some applications were launched before."""
import json
import pathlib
import random
import struct
import sys
import zlib

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

ICON_SIZE = 48
LAUNCHED = 7


def png(colour):
    """A square icon of one colour with a darker border."""
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    border = bytes(channel // 2 for channel in colour)
    rows = []
    for y in range(ICON_SIZE):
        edge = y in (0, ICON_SIZE - 1)
        row = [border if edge or x in (0, ICON_SIZE - 1) else colour for x in range(ICON_SIZE)]
        rows.append(b"\0" + b"".join(pixel + b"\xff" for pixel in row))
    header = struct.pack(">IIBBBBB", ICON_SIZE, ICON_SIZE, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(b"".join(rows))) + chunk(b"IEND", b""))


def main():
    home = pathlib.Path(sys.argv[1]).resolve()
    application_count, project_count = int(sys.argv[2]), int(sys.argv[3])
    pick = random.Random(20261121)
    pick_keywords = random.Random(20261122)  # of its own: the rest stays as it was without them

    entries = home / ".local/share/applications"
    entries.mkdir(parents=True, exist_ok=True)
    theme = home / ".local/share/icons/hicolor"
    icons = theme / f"{ICON_SIZE}x{ICON_SIZE}/apps"
    icons.mkdir(parents=True, exist_ok=True)
    (theme / "index.theme").write_text(
        f"[Icon Theme]\nName=Hicolor\nDirectories={ICON_SIZE}x{ICON_SIZE}/apps\n\n"
        f"[{ICON_SIZE}x{ICON_SIZE}/apps]\nSize={ICON_SIZE}\nType=Fixed\n")
    for number in range(application_count):
        name = " ".join(word.title() for word in pick.sample(WORDS, pick.randint(1, 3)))
        (entries / f"org.example.App{number}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nExec=true\n"
            f"Icon=org.example.App{number}\n"
            f"GenericName={pick.choice(WORDS).title()} {pick.choice(WORDS).title()}\n"
            f"Categories={pick.choice(CATEGORIES)}\n"
            f"Keywords={';'.join(pick_keywords.sample(WORDS, pick_keywords.randint(0, 20)))};\n")
        (icons / f"org.example.App{number}.png").write_bytes(png(pick.randbytes(3)))

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
    launched = range(min(LAUNCHED, application_count))
    settings.write_text(json.dumps({
        # Alt+K: window managers hold Alt+Space for themselves.
        "hotkeyKeyCode": 40, "hotkeyModifiers": 2048,
        "launchCounts": {f"org.example.App{number}": number + 1 for number in launched},
        "projectRoots": [str(root) for root in roots]}, indent=4))


main()
