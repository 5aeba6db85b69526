#!/usr/bin/env python3
"""Sets two tables of `make bench` side by side, row by row.

usage: compare.py BEFORE.json AFTER.json

Fails when a budget that held is missed now, or a row that was there is gone."""
import json
import sys


def change(before, after):
    text = f"{before:g} → {after:g}"
    return f"{text} ({(after - before) / before:+.0%})" if before else text


def changes(before, after):
    return ", ".join(f"{name} {change(before[name], after[name])}"
                     for name in after or {} if name in (before or {}))


def main():
    before, after = (json.load(open(path, encoding="utf-8")) for path in sys.argv[1:3])
    for which, table in (("before", before), ("after", after)):
        print(f"{which}: {table['commit']}, {table['when']}, {table['machine']}")
    rows = {row["name"]: row for row in before["rows"]}
    worse = False
    for row in after["rows"]:
        old = rows.pop(row["name"], None)
        if not old:
            print(f"{row['name']}: new")
            continue
        print(f"{row['name']}: {changes(old['ours'], row['ours'])}")
        if row["floor"]:
            print(f"    floor: {changes(old['floor'], row['floor'])}")
        if old["verdict"] != row["verdict"]:
            print(f"    {old['verdict']} → {row['verdict']}")
            worse = worse or row["verdict"] == "MISSED"
    for name in rows:
        print(f"{name}: gone")
    sys.exit(1 if worse or rows else 0)


if __name__ == "__main__":
    main()
