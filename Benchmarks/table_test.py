#!/usr/bin/env python3
"""Tests what the benchmarks' figures are taken for: table.py as the script that it is, the verdicts
of compare.py, the picture of the growth."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest
import xml.dom.minidom

sys.dont_write_bytecode = True
import compare
import figures
import growth

HERE = pathlib.Path(__file__).resolve().parent
ANSWERS = {"first": [1.5, 3.0], "idle": [0.1, 0.5, 6.0, 1.0], "stream": [0.2, 1.5, 7.5, 3.0],
           "tokens": 60000, "end": 2.0}
TURNS = 30


def side(wakeups=0, dirty=9.0, turns=TURNS, **times):
    """A program's turns: each wait takes what is said here, in milliseconds, or in turn number n
    what the function says of n."""
    times = {"hotkey": 5.0, "key": 1.0, "start": 40.0, **times}
    of = lambda time, turn: time(turn) if callable(time) else time
    return {"timed": [{what: [[of(time, turn), 0.5]] for what, time in times.items()}
                      for turn in range(turns)],
            "counted": [{what: [[31, 11]] for what in times}] * 3,
            "alone": {"idle": [[wakeups, 0.0]], "memory": [[24.5, dirty]]}}


class TableTest(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.addCleanup(self.temporary.cleanup)
        self.folder = pathlib.Path(self.temporary.name)

    def give(self, name, result):
        (self.folder / f"{name}.json").write_text(json.dumps(result))

    def table(self):
        made = subprocess.run([sys.executable, HERE / "table.py", self.folder],
                              capture_output=True, text=True, check=False)
        self.assertEqual(made.returncode, 0, made.stderr)
        self.assertEqual(made.stdout, (self.folder / "table.txt").read_text())
        return json.loads((self.folder / "table.json").read_text())

    def row(self, name):
        return next(row for row in self.table()["rows"] if row["name"] == name)

    def verdict(self, name, floor=None, **ours):
        self.give("x11", {"floor": floor or side(), "ours": side(**ours)})
        return self.row(name)["verdict"]

    def test_a_budget_over_the_floor_holds_up_to_its_factor(self):
        hot_key = "hot key → painted, x11, ms"
        self.assertEqual(self.verdict(hot_key, hotkey=6.0), "holds")
        self.assertEqual(self.verdict(hot_key, hotkey=6.01), "MISSED")

    def test_one_missed_figure_misses_the_budget(self):
        late = lambda turn: 10.01 if turn % 10 == 0 else 5.0
        self.assertEqual(self.verdict("hot key → painted, x11, ms", hotkey=late), "MISSED")

    def test_a_floor_that_drifts_allows_no_verdict(self):
        drifts = lambda by: side(hotkey=lambda turn: 5.0 if turn < TURNS // 2 else 5.0 * by)
        hot_key = "hot key → painted, x11, ms"
        for ours in (5.0, 100.0):
            self.assertEqual(self.verdict(hot_key, drifts(1.26), hotkey=ours), "cannot tell")
            self.assertEqual(self.verdict(hot_key, drifts(1 / 1.26), hotkey=ours), "cannot tell")
        self.assertEqual(self.verdict(hot_key, drifts(1.24), hotkey=5.0), "holds")

    def test_a_single_wakeup_misses_the_budget(self):
        hidden = "hidden, x11, MB; 10 s of it, ms"
        self.assertEqual(self.verdict(hidden), "holds")
        self.assertEqual(self.verdict(hidden, wakeups=1), "MISSED")

    def test_memory_over_its_limit_misses_the_budget(self):
        self.assertEqual(self.verdict("hidden, x11, MB; 10 s of it, ms", dirty=10.1), "MISSED")

    def test_the_middle_of_the_runs_counts(self):
        self.give("refresh", {"1000 + 2000": [[0.02, p99] for p99 in (0.9, 0.1, 0.15)]})
        row = self.row("refresh, 1000 + 2000, ms")
        self.assertEqual((row["ours"]["p99"], row["verdict"]), (0.15, "holds"))

    def test_the_size_without_a_budget_has_no_verdict(self):
        self.give("refresh", {"100 + 2000": [[0.02, 9.0]]})
        row = self.row("refresh, 100 + 2000, ms")
        self.assertEqual((row["budget"], row["verdict"]), (None, None))

    def test_every_benchmark_has_its_rows_in_the_text(self):
        self.give("walk", {"entries": 200000, "projects": 2000, "ours": 110.0, "floor": 100.0})
        self.give("answers", ANSWERS)
        self.give("soak", dict.fromkeys(("early", "late"), {"pss": 30.0, "fds": 22, "threads": 11}))
        self.give("growth", GROWTH)
        themed = {f"{name}, GTK": {**side(), "timed": [{"start": [[60.0, 50.0]]}] * TURNS}
                  for name in ("floor", "ours")}
        self.give("x11", {"floor": side(), "ours": side(), **themed})
        self.give("wayland", {"floor": side(toggle=8.0), "ours": side(toggle=9.0)})
        table = self.table()
        text = (self.folder / "table.txt").read_text()
        self.assertEqual(len(table["rows"]), 1 + 2 + 2 + 4 + (3 + 1 + 1) + (4 + 1))
        for row in table["rows"]:
            self.assertIn(row["name"], text)
        self.assertIn("p50 5.00 (5.00 to 5.00)  cpu 0.50  requests 31  trips 11", text)


GROWTH = {str(size): {"timed": [{"start": [[200.0 + size / 1000, 50.0]]}] * 3,
                      "alone": {"idle": [[0, 0]], "memory": [[20.0, 9.0]]},
                      "refresh": [[size / 1e6, size / 1e5]]} for size in growth.SIZES}


class CompareTest(unittest.TestCase):
    # Differs from turn to turn by more than any of the changes below.
    before = [[100.0 + 17 * (turn % 3), 100.0 + 17 * (turn % 3)] for turn in range(TURNS)]

    def verdict(self, factor):
        after = [[sample * factor(turn) for sample in samples]
                 for turn, samples in enumerate(self.before)]
        return figures.verdict(self.before, after)

    def test_what_is_quicker_in_every_turn_is_better(self):
        self.assertEqual(self.verdict(lambda turn: 0.95), "better")

    def test_what_is_slower_in_nearly_every_turn_is_worse(self):
        self.assertEqual(self.verdict(lambda turn: 0.9 if turn < 6 else 1.05), "worse")

    def test_what_wins_as_often_as_chance_would_cannot_be_told(self):
        self.assertEqual(self.verdict(lambda turn: 0.5 if turn % 2 else 1.05), "cannot tell")
        self.assertEqual(self.verdict(lambda turn: 0.9 if turn < 8 else 1.05), "cannot tell")

    def test_few_turns_cannot_tell(self):
        self.assertEqual(figures.verdict([[1.0]] * 7, [[2.0]] * 7), "cannot tell")
        self.assertEqual(figures.verdict([[1.0]] * 8, [[2.0]] * 8), "worse")

    def test_a_sitting_whose_halves_differ_cannot_tell(self):
        drifts = [[100.0 if turn < TURNS // 2 else 126.0] for turn in range(TURNS)]
        self.assertEqual(figures.verdict(drifts, [[each[0] / 2] for each in drifts]), "cannot tell")

    def test_equal_counts_are_the_same(self):
        self.assertEqual(figures.verdict([[31, 31]] * 10, [[31, 31]] * 10), "same")

    def test_every_figure_that_both_have_is_compared(self):
        slower = side(hotkey=6.0)
        slower["timed"][0]["memory"] = [[1, 2]]
        rows = {name: said for name, _, _, said in
                compare.rows("x11", {"A": side(), "B": slower})}
        self.assertEqual(rows.pop("x11, hot key → painted, ms"), "worse")
        self.assertEqual(len(rows), 3 * 4 - 1)
        self.assertEqual(set(rows.values()), {"same"})


class GrowthTest(unittest.TestCase):
    def test_the_picture_has_every_figure_of_every_size(self):
        drawn = xml.dom.minidom.parseString(growth.picture(GROWTH))
        texts = [each.firstChild.data for each in drawn.getElementsByTagName("text")]
        for size, of_size in GROWTH.items():
            self.assertEqual(texts.count(f"{int(size):,}"), 3)
            for value in growth.figures(of_size).values():
                self.assertIn(f"{value:.3g}", texts)


if __name__ == "__main__":
    unittest.main()
