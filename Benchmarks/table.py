#!/usr/bin/env python3
"""Makes one table of what the benchmarks printed: ours, floor, budget, verdict.

usage: table.py FOLDER

FOLDER holds the output of each benchmark. Writes table.txt and table.json into it and prints the
first. Of a benchmark that was not run there are no rows."""
import datetime
import json
import os
import pathlib
import platform
import re
import subprocess
import sys


class Table:
    def __init__(self):
        self.rows = []

    def add(self, name, ours, floor=None, limits=None):
        """ours, floor: figures by name ("p50"). limits: what a figure of ours may be at most, as a
        number or as a factor over the floor's ("1.2x")."""
        verdict = None
        texts = []
        for figure, limit in (limits or {}).items():
            factor = isinstance(limit, str)
            most = float(limit[:-1]) * floor[figure] if factor else limit
            texts.append(f"{figure} ≤ {limit[:-1]} × floor" if factor else f"{figure} ≤ {limit}")
            if ours[figure] > most:
                verdict = "MISSED"
        if limits and not verdict:
            verdict = "holds"
        self.rows.append({"name": name, "ours": ours, "floor": floor,
                          "budget": ", ".join(texts) or None, "verdict": verdict})


def pair(figures, second="p95"):
    return {"p50": figures[0], second: figures[1]}


def add_refreshes(table, folder):
    sizes = {(1000, 2000): {"p99": 0.2}, (1000, 100000): {"p99": 4}}
    for path in sorted(folder.glob("refresh-*.txt"), key=lambda each: len(each.name)):
        apps, projects = map(int, re.findall(r"\d+", path.stem))
        runs = [{figure: float(value) for figure, value in re.findall(r"(p50|p99)=([\d.]+)", line)}
                for line in path.read_text().splitlines()]
        # The middle one of the runs.
        runs.sort(key=lambda run: run["p99"])
        table.add(f"refresh, {apps} applications, {projects} projects, ms", runs[len(runs) // 2],
                  limits=sizes.get((apps, projects)))


def add_walk(table, walk):
    table.add(f"project walk, {walk['entries']} entries, ms", {"p50": walk["ours"]},
              {"p50": walk["floor"]}, {"p50": "1.2x"})


WAITS = {"hotkey": ("hot key → painted", {"p50": "1.2x", "p95": 10}),
         "bound": ("bound key → painted", {"p50": "1.2x", "p95": 10}),
         "toggle": ("toggle command → painted", {"p50": "1.2x", "p95": 10}),
         "key": ("key → painted", {"p50": "2x", "p95": 5}),
         "start": ("start → painted", {"p50": "1.4x"})}


def add_panel(table, desktop, floor, ours):
    for key, (name, limits) in WAITS.items():
        if key in ours:
            table.add(f"{name}, {desktop}, ms", pair(ours[key]), pair(floor[key]), limits)
    if "pss" in ours:
        table.add(f"PSS hidden, {desktop}, MB", {"PSS": ours["pss"]}, {"PSS": floor["pss"]},
                  {"PSS": 40})
    table.add(f"hidden for 10 s, {desktop}", {"wakeups": ours["wakeups"], "cpu ms": ours["cpu"]},
              {"wakeups": floor["wakeups"], "cpu ms": floor["cpu"]}, {"wakeups": 0})
    for when in ("early", "late"):
        if when in ours:
            table.add(f"soak, {when}, {desktop}", ours[when])


def add_answers(table, answers):
    table.add("words → painted, ms", pair(answers["first"]), limits={"p95": 16})
    (idle, _, idle_longest, idle_work), (median, _, longest, work) = (
        answers["idle"], answers["stream"])
    table.add("ping → answered while words come, ms",
              {"p50": median, "longest": longest, "own work": work},
              {"p50": idle, "longest": idle_longest, "own work": idle_work}, {"longest": 8})


def figures(values):
    if not values:
        return "–"
    return "  ".join(f"{name} {value:.2f}" if isinstance(value, float) else f"{name} {value}"
                     for name, value in values.items())


def text(rows):
    lines = [("", "floor", "ours", "budget", "")]
    lines += [(row["name"], figures(row["floor"]), figures(row["ours"]), row["budget"] or "",
               row["verdict"] or "") for row in rows]
    widths = [max(len(line[column]) for line in lines) for column in range(4)]
    return "".join("  ".join(cell.ljust(width) for cell, width in zip(line, [*widths, 0])).rstrip()
                   + "\n" for line in lines)


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return {"processor": model[1] if model else platform.machine(), "cores": os.cpu_count(),
            "kernel": platform.release(), "load": os.getloadavg()[0]}


def commit():
    known = subprocess.run(["git", "describe", "--always", "--dirty"], capture_output=True,
                           text=True, check=False, cwd=pathlib.Path(__file__).parent)
    return known.stdout.strip() or None


def main():
    folder = pathlib.Path(sys.argv[1])

    def output(name):
        path = folder / f"{name}.json"
        return json.loads(path.read_text()) if path.exists() else None

    table = Table()
    add_refreshes(table, folder)
    if walk := output("walk"):
        add_walk(table, walk)
    for desktop in ("X11", "Wayland"):
        floor, ours = output(f"{desktop}-floor"), output(f"{desktop}-ours")
        if floor and ours:
            add_panel(table, desktop, floor, ours)
    if answers := output("answers"):
        add_answers(table, answers)

    (folder / "table.txt").write_text(text(table.rows))
    (folder / "table.json").write_text(json.dumps(
        {"when": datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="seconds"),
         "commit": commit(), "machine": machine(), "rows": table.rows},
        ensure_ascii=False, indent=1) + "\n")
    print(text(table.rows), end="")


if __name__ == "__main__":
    main()
