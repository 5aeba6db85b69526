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
import statistics
import subprocess
import sys

sys.dont_write_bytecode = True
import growth
from figures import column, flat, is_steady, spread
from sitting import WAITS


class Table:
    def __init__(self):
        self.rows = []

    def add(self, name, ours, floor=None, limits=None, steady=True):
        """ours, floor: figures by name ("p50"). limits: what a figure of ours may be at most, as a
        number or as a factor over the floor's ("1.2x"). steady: whether the floor can be built on."""
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
        if limits and not steady:
            verdict = "cannot tell"
        self.rows.append({"name": name, "ours": ours, "floor": floor,
                          "budget": ", ".join(texts) or None, "verdict": verdict})


def pair(figures, second="p95"):
    return {"p50": figures[0], second: figures[1]}


def add_refreshes(table, refreshes):
    sizes = {"1000 + 2000": {"p99": 0.15}, "1000 + 100000": {"p99": 2}}
    for size, runs in refreshes.items():
        middle = sorted(runs, key=lambda run: run[1])[len(runs) // 2]
        table.add(f"refresh, {size}, ms", pair(middle, "p99"), limits=sizes.get(size))


def add_walk(table, walk):
    table.add(f"project walk, {walk['entries']} entries, ms", {"p50": walk["ours"]},
              {"p50": walk["floor"]}, {"p50": "1.1x"})


LIMITS = {"x11": {"hotkey": {"p50": "1.2x", "p95": 10}},
          "wayland": {"hotkey": {"p50": "1.5x"}, "toggle": {"p50": "1.5x"}}}
for limits_ in LIMITS.values():
    limits_ |= {"key": {"p50": "1.3x", "p95": 5}, "start": {"p50": "1.3x"}}
MEMORY = {"PSS": 32, "dirty": 10}


def wait(side, what):
    """Of what was timed and counted of one side; the turns that were timed, for their drift."""
    times = column(side["timed"], what, 0)
    figures = spread(flat(times))
    figures["cpu"] = statistics.median(flat(column(side["timed"], what, 1)))
    for which, name in enumerate(("requests", "trips")):
        if counts := flat(column(side["counted"], what, which)):
            figures[name] = int(statistics.median(counts))
    return figures, times


def add_desktop(table, desktop, sides):
    for theme in ("", ", GTK"):
        if "ours" + theme not in sides:
            continue
        ours, floor = sides["ours" + theme], sides["floor" + theme]
        for what, names in WAITS.items():
            if what in ours["timed"][0]:
                (figures, _), (least, times) = wait(ours, what), wait(floor, what)
                table.add(f"{names[desktop]}, {desktop}{theme}, ms", figures, least,
                          LIMITS[desktop][what], is_steady(times))
    ours, floor = ({**dict(zip(("wakeups", "cpu"), side["alone"]["idle"][0])),
                    **dict(zip(("PSS", "dirty"), *side["alone"]["memory"][:1]))}
                   for side in (sides["ours"], sides["floor"]))
    table.add(f"hidden, {desktop}, MB; 10 s of it, ms", ours, floor,
              {"wakeups": 0, **{name: most for name, most in MEMORY.items() if name in ours}})


def add_soak(table, soak):
    for when in ("early", "late"):
        table.add(f"soak, {when}", soak[when])


def add_answers(table, answers):
    table.add("words → painted, ms", pair(answers["first"]), limits={"p95": 16})
    (idle, _, idle_longest, idle_work), (median, _, longest, work) = (
        answers["idle"], answers["stream"])
    table.add("ping → answered while words come, ms",
              {"p50": median, "longest": longest, "own work": work},
              {"p50": idle, "longest": idle_longest, "own work": idle_work}, {"longest": 8})


def add_growth(table, results):
    for size, of_size in results.items():
        table.add(f"growth, {int(size):,} in all", growth.figures(of_size))


def figures(values):
    if not values:
        return "–"
    shown = {name: f"{value:.2f}" if isinstance(value, float) else str(value)
             for name, value in values.items()}
    if "p5" in shown:
        low, high = shown.pop("p5"), shown.pop("p95")
        shown["p50"] += f" ({low} to {high})"
    return "  ".join(f"{name} {value}" for name, value in shown.items())


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
    for name, add in (("refresh", add_refreshes), ("walk", add_walk), ("answers", add_answers),
                      ("soak", add_soak), ("growth", add_growth)):
        if found := output(name):
            add(table, found)
    for desktop in ("x11", "wayland"):
        if sides := output(desktop):
            add_desktop(table, desktop, sides)

    (folder / "table.txt").write_text(text(table.rows))
    (folder / "table.json").write_text(json.dumps(
        {"when": datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="seconds"),
         "commit": commit(), "machine": machine(), "rows": table.rows},
        ensure_ascii=False, indent=1) + "\n")
    print(text(table.rows), end="")


if __name__ == "__main__":
    main()
