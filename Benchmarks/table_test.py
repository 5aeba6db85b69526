#!/usr/bin/env python3
"""Tests table.py and compare.py as the scripts that they are."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
PANEL = {"hotkey": [5.0, 9.0], "key": [1.0, 2.0], "start": [40.0, 50.0], "pss": 24.5, "wakeups": 0,
         "cpu": 0.0}
ANSWERS = {"first": [1.5, 3.0], "idle": [0.1, 0.5, 6.0, 1.0], "stream": [0.2, 1.5, 7.5, 3.0],
           "tokens": 60000, "end": 2.0}


def run(script, *arguments):
    return subprocess.run([sys.executable, HERE / script, *arguments], capture_output=True,
                          text=True, check=False)


class TableTest(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.addCleanup(self.temporary.cleanup)
        self.folder = pathlib.Path(self.temporary.name)

    def give(self, name, figures):
        text = figures if isinstance(figures, str) else json.dumps(figures)
        (self.folder / name).write_text(text)

    def table(self):
        made = run("table.py", self.folder)
        self.assertEqual(made.returncode, 0, made.stderr)
        self.assertEqual(made.stdout, (self.folder / "table.txt").read_text())
        return json.loads((self.folder / "table.json").read_text())

    def row(self, name):
        return next(row for row in self.table()["rows"] if row["name"] == name)

    def give_panel(self, **ours):
        self.give("X11-floor.json", PANEL)
        self.give("X11-ours.json", {**PANEL, **ours})

    def test_a_budget_over_the_floor_holds_up_to_its_factor(self):
        self.give_panel(hotkey=[6.0, 10.0])
        self.assertEqual(self.row("hot key → painted, X11, ms")["verdict"], "holds")
        self.give_panel(hotkey=[6.01, 10.0])
        self.assertEqual(self.row("hot key → painted, X11, ms")["verdict"], "MISSED")

    def test_one_missed_figure_misses_the_budget(self):
        self.give_panel(hotkey=[5.0, 10.01])
        self.assertEqual(self.row("hot key → painted, X11, ms")["verdict"], "MISSED")

    def test_a_single_wakeup_misses_the_budget(self):
        self.give_panel(wakeups=1)
        self.assertEqual(self.row("hidden for 10 s, X11")["verdict"], "MISSED")

    def test_the_middle_of_the_runs_counts(self):
        self.give("refresh-1000-2000.txt", "".join(
            f"n=200 p50=0.02ms p95=0.03ms p99={p99}ms max=0.84ms\n" for p99 in (0.9, 0.1, 0.2)))
        row = self.row("refresh, 1000 applications, 2000 projects, ms")
        self.assertEqual((row["ours"]["p99"], row["verdict"]), (0.2, "holds"))

    def test_the_size_without_a_budget_has_no_verdict(self):
        self.give("refresh-100-2000.txt", "n=200 p50=0.02ms p95=0.03ms p99=9.00ms max=9.84ms\n")
        row = self.row("refresh, 100 applications, 2000 projects, ms")
        self.assertEqual((row["budget"], row["verdict"]), (None, None))

    def test_every_benchmark_has_its_rows_in_the_text(self):
        self.give("walk.json", {"entries": 200000, "projects": 2000, "ours": 110.0, "floor": 100.0})
        self.give("answers.json", ANSWERS)
        self.give_panel(early={"pss": 30.0, "fds": 22, "threads": 11},
                        late={"pss": 30.5, "fds": 22, "threads": 11})
        wayland = {key: PANEL[key] for key in ("key", "start", "wakeups", "cpu")}
        wayland |= {"bound": [8.0, 9.0], "toggle": [5.0, 6.0]}
        self.give("Wayland-floor.json", wayland)
        self.give("Wayland-ours.json", wayland)
        table = self.table()
        text = (self.folder / "table.txt").read_text()
        self.assertEqual(len(table["rows"]), 1 + 7 + 5 + 2)
        for row in table["rows"]:
            self.assertIn(row["name"], text)

    def test_comparing_tells_the_change_and_fails_for_a_budget_newly_missed(self):
        self.give_panel()
        self.table()
        before = (self.folder / "table.json").rename(self.folder / "before.json")
        self.give_panel(hotkey=[10.0, 9.0])
        self.table()
        worse = run("compare.py", before, self.folder / "table.json")
        self.assertEqual(worse.returncode, 1, worse.stderr)
        self.assertIn("hot key → painted, X11, ms: p50 5 → 10 (+100%), p95 9 → 9 (+0%)",
                      worse.stdout)
        self.assertIn("holds → MISSED", worse.stdout)
        better = run("compare.py", self.folder / "table.json", before)
        self.assertEqual(better.returncode, 0, better.stderr)
        self.assertIn("MISSED → holds", better.stdout)

    def test_comparing_fails_for_a_row_that_is_gone(self):
        self.give_panel()
        self.give("answers.json", ANSWERS)
        self.table()
        before = (self.folder / "table.json").rename(self.folder / "before.json")
        (self.folder / "answers.json").unlink()
        self.table()
        compared = run("compare.py", before, self.folder / "table.json")
        self.assertEqual(compared.returncode, 1)
        self.assertIn("words → painted, ms: gone", compared.stdout)


if __name__ == "__main__":
    unittest.main()
