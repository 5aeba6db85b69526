#!/usr/bin/env python3
"""Says of each figure whether build B is better or worse than build A, or that it cannot be told.

usage: compare.py A B [TURNS]

A and B are build folders; the two programs take turns on X11 and on Wayland, each with a home and
caches of its own. Needs `cmake --build build --target benchmarks`. Fails when something is worse."""
import sys

sys.dont_write_bytecode = True
from desktops import Wayland, X11
from figures import column, flat, spread, verdict
from sitting import TURNS, WAITS, ours, sit

# Which of the two figures of what was measured, and what it is.
OTHERS = [("memory", 0, "PSS hidden, MB"), ("memory", 1, "private dirty hidden, MB"),
          ("refresh", 0, "refresh p50, ms"), ("refresh", 1, "refresh p99, ms")]


def rows(desktop, results):
    """Of each figure that both have: what it is, both spreads, the verdict."""
    before, after = results.values()
    wanted = [(kind, what, which, f"{names[desktop]}, {unit}") for what, names in WAITS.items()
              for kind, units in (("timed", ("ms", "processor ms")),
                                  ("counted", ("X requests", "X round trips")))
              for which, unit in enumerate(units) if desktop in names]
    for kind, what, which, name in wanted + [("timed", *other) for other in OTHERS]:
        turns = [column(side[kind], what, which) for side in (before, after)]
        if all(turns):
            yield f"{desktop}, {name}", *(spread(flat(each)) for each in turns), verdict(*turns)


def text(figures):
    return "{p50:.2f} ({p5:.2f} to {p95:.2f})".format(**figures)


def main():
    turns = int(sys.argv[3]) if len(sys.argv) > 3 else TURNS
    worse = False
    for kind in (X11, Wayland):
        with kind() as desktop:
            sides = [ours(desktop, build, name) for name, build in zip("AB", sys.argv[1:3])]
            for side in sides:
                side.refreshes = kind is X11
            results = sit(desktop, sides, turns)
        for name, before, after, said in rows(desktop.name, results):
            change = f"{after['p50'] / before['p50'] - 1:+.0%}" if before["p50"] else ""
            print(f"{name}: {text(before)} → {text(after)}  {change}  {said}",
                  flush=True)
            worse = worse or said == "worse"
    sys.exit(1 if worse else 0)


if __name__ == "__main__":
    main()
