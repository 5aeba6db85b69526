#!/usr/bin/env python3
"""What more applications and projects cost: half of each, a thousandfold from the smallest to the
largest. `make bench` measures it; this draws the picture.

usage: growth.py GROWTH.json >PICTURE.svg"""
import json
import math
import pathlib
import statistics
import sys

sys.dont_write_bytecode = True
from figures import column, flat, spread
from sitting import left_alone, ours, refresh, sit

SIZES = (100, 1000, 10_000, 100_000)
TURNS = 10
WIDTH, HEIGHT = 300, 220  # of one chart
LEFT, TOP, RIGHT, BOTTOM = 20, 40, 30, 30
COLOURS = ("#0a64d8", "#c2410c")


def measure(desktop, build):
    """By the number of all: the turns of a start, the program left alone, runs of refresh."""
    sides = [ours(desktop, build, str(size), size // 2, size // 2) for size in SIZES]
    ways = sides[0].options
    for side in sides:
        side.options = []  # the start alone
    results = {name: {"timed": of_size["timed"]}
               for name, of_size in sit(desktop, sides, TURNS, counted=0).items()}
    for side in sides:
        results[side.name]["refresh"] = [refresh(desktop, side.command[0], **side.environment)
                                         for _ in range(3)]
        side.options = ways
        results[side.name]["alone"] = left_alone(desktop, side)
    return results


def figures(of_size):
    """Of one size: each figure by name."""
    start = spread(flat(column(of_size["timed"], "start", 0)))
    pss, dirty = of_size["alone"]["memory"][0]
    p50, p99 = (statistics.median(runs) for runs in zip(*of_size["refresh"]))
    return {"start ms p50": start["p50"], "start ms p95": start["p95"], "PSS MB": pss,
            "dirty MB": dirty, "refresh ms p50": p50, "refresh ms p99": p99}


def chart(title, left, sizes, lines):
    """lines: values at the sizes, by name. Both axes are logarithmic, as the sizes are."""
    values = [value for line in lines.values() for value in line]
    low, high = math.log10(min(values)) - 0.15, math.log10(max(values)) + 0.15
    if high - low < 1:  # small changes are to look small
        low, high = (low + high - 1) / 2, (low + high + 1) / 2
    across = [left + LEFT + (WIDTH - LEFT - RIGHT) * i / (len(sizes) - 1) for i in range(len(sizes))]
    up = lambda value: TOP + (HEIGHT - TOP - BOTTOM) * (high - math.log10(value)) / (high - low)
    text = "<text x='{:.0f}' y='{:.0f}' fill='{}' text-anchor='{}'>{}</text>"
    parts = [text.format(left + LEFT, 16, "#222", "start", title)]
    for x, size in zip(across, sizes):
        parts += [f"<path d='M{x:.0f} {TOP}V{HEIGHT - BOTTOM}' stroke='#ddd'/>",
                  text.format(x, HEIGHT - 12, "#555", "middle", f"{size:,}")]
    for (name, line), colour, above in zip(lines.items(), COLOURS, (14, -7)):
        points = [(x, up(value)) for x, value in zip(across, line)]
        parts.append(f"<polyline points='{' '.join(f'{x:.1f},{y:.1f}' for x, y in points)}' "
                     f"fill='none' stroke='{colour}' stroke-width='2'/>")
        parts += [f"<circle cx='{x:.1f}' cy='{y:.1f}' r='3' fill='{colour}'/>"
                  + text.format(x, y + above, colour, "middle", f"{value:.3g}")
                  for (x, y), value in zip(points, line)]
        parts.append(text.format(left + LEFT + (0 if above > 0 else 90), 31, colour, "start", name))
    return parts


def picture(results):
    sizes = [int(size) for size in results]
    rows = [figures(of_size) for of_size in results.values()]
    line = lambda name: [row[name] for row in rows]
    parts = chart("start → painted, ms", 0, sizes, {"median": line("start ms p50"),
                                                    "p95": line("start ms p95")})
    parts += chart("hidden, MB", WIDTH, sizes, {"private, dirty": line("dirty MB"),
                                                "PSS": line("PSS MB")})
    parts += chart("a key stroke's work, ms", 2 * WIDTH, sizes, {"median": line("refresh ms p50"),
                                                                 "p99": line("refresh ms p99")})
    return "\n".join([f"<svg xmlns='http://www.w3.org/2000/svg' width='{3 * WIDTH}' "
                      f"height='{HEIGHT}' font-family='sans-serif' font-size='11'>",
                      "<title>What more applications and projects cost</title>",
                      f"<rect width='{3 * WIDTH}' height='{HEIGHT}' fill='white'/>", *parts, "</svg>", ""])


if __name__ == "__main__":
    print(picture(json.loads(pathlib.Path(sys.argv[1]).read_text())), end="")
