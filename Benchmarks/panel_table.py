#!/usr/bin/env python3
"""Prints the panel's figures beside those of a bare window, and what answers cost.

usage: panel_table.py FLOOR OURS ANSWERS, the output of PanelBench for each and of AnswerBench"""
import json
import sys

ROWS = [("hotkey", "hot key → painted", 1.2, 10), ("key", "key → painted", 2, 5),
        ("start", "start → painted", 1.4, None)]
PSS_BUDGET = 40
FIRST_WORDS_BUDGET, BLOCK_BUDGET = 16, 8


def verdict(holds):
    return "holds" if holds else "MISSED"


def main():
    floor, ours, answers = (json.load(open(path, encoding="utf-8")) for path in sys.argv[1:4])
    print(f"{'ms':20} {'floor p50':>10} {'p95':>8} {'ours p50':>10} {'p95':>8}  budget")
    for key, name, factor, worst in ROWS:
        (base, base95), (median, p95) = floor[key], ours[key]
        holds = median <= factor * base and (worst is None or p95 <= worst)
        budget = f"p50 ≤ {factor} × floor" + (f", p95 ≤ {worst}" if worst else "")
        print(f"{name:20} {base:10.2f} {base95:8.2f} {median:10.2f} {p95:8.2f}  "
              f"{budget}: {verdict(holds)}")
    print(f"PSS hidden, MB       {floor['pss']:10.1f} {'':8} {ours['pss']:10.1f} {'':8}  "
          f"≤ {PSS_BUDGET}: {verdict(ours['pss'] <= PSS_BUDGET)}")
    print(f"wakeups in 10 s      {floor['wakeups']:10} {'':8} {ours['wakeups']:10} {'':8}  "
          f"0: {verdict(ours['wakeups'] == 0)} ({ours['cpu']} ms of processor time)")
    for when in ("early", "late"):
        if when in ours:
            print(f"soak, {when}: {ours[when]}")

    median, p95 = answers["first"]
    print(f"words → painted      {'':10} {'':8} {median:10.2f} {p95:8.2f}  "
          f"p95 ≤ {FIRST_WORDS_BUDGET}: {verdict(p95 <= FIRST_WORDS_BUDGET)}")
    (base, _, base_worst, _), (median, _, worst, work) = answers["idle"], answers["stream"]
    print(f"{'ping → answered':20} {'idle p50':>10} {'longest':>8} {'ours p50':>10} {'longest':>8}")
    print(f"{answers['tokens']:6} words come    {base:10.2f} {base_worst:8.2f} {median:10.2f} "
          f"{worst:8.2f}  longest ≤ {BLOCK_BUDGET}: {verdict(worst <= BLOCK_BUDGET)} (at most {work} of it our own work)")


main()
