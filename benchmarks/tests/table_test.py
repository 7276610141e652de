#!/usr/bin/env python3
"""Tests of benchmarks/table.py and of the rows. Nothing is measured."""

import re
import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
BENCHMARKS = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(BENCHMARKS))

import table  # noqa: E402
from rows import WORKS, Work  # noqa: E402

MACHINE = {
    "processor": "Some", "processors": "2", "core": "1", "system": "Linux x86_64", "compiler": "g++", "levels": "plain, AVX2",
    "texts": "../shared/corpora", "load": "0.10", "busy": "0.01", "date": "2020-01-02 03:04 UTC", "quick": "no",
}


def run(name, repetition=0, **fields):
    return {"name": name, "run_name": name, "run_type": "iteration", "repetition_index": repetition, "time_unit": "ns",
            "real_time": 20.0, "cpu_time": 10.0, **fields}


def figures_of(*runs, program="bench"):
    figures = table.Figures()
    figures.add(program, {"context": {}, "benchmarks": list(runs)})
    return figures


def row_of(work):
    (row,) = table.expand([work])
    return row


class Rows(unittest.TestCase):
    def test_of_a_work_with_texts_are_one_for_each(self):
        work = Work("walk", "bench", "walk/{text}", "MB/s", "peer/{text}", "a peer", ["en", "ru"], goal={"ru": 5}, least=3)
        rows = table.expand([work])
        self.assertEqual([row.work for row in rows], ["walk, en", "walk, ru"])
        self.assertEqual([row.ours for row in rows], [["walk/en"], ["walk/ru"]])
        self.assertEqual([row.peer for row in rows], ["peer/en", "peer/ru"])
        self.assertEqual([row.goal for row in rows], [None, 5])
        self.assertEqual([row.least for row in rows], [3, 3])

    def test_of_a_work_with_sizes_are_one(self):
        row = row_of(Work("walk", "bench", "walk/{size}", "ns/byte", sizes=[1, 20]))
        self.assertEqual(row.ours, ["walk/1", "walk/20"])

    def test_are_chosen_by_name_and_by_program(self):
        rows = table.expand([Work("Walk", "bench_a", "w", "ns"), Work("run", "bench_b", "r", "ns")])
        self.assertEqual([row.work for row in table.chosen(rows, "walk")], ["Walk"])
        self.assertEqual([row.work for row in table.chosen(rows, "bench_b$")], ["run"])
        self.assertRaises(table.Failure, table.chosen, rows, "nothing")

    def test_are_told_apart_by_name_and_level(self):
        names = [(row.work, row.of.level) for row in table.expand()]
        self.assertEqual(len(names), len(set(names)))

    def test_have_a_named_peer_or_none(self):
        for work in WORKS:
            self.assertEqual(bool(work.peer), bool(work.by), work.work)

    def test_are_of_programs_that_are_built(self):
        built = set(re.findall(r"\(\s*(bench_\w+)", (BENCHMARKS / "CMakeLists.txt").read_text(encoding="utf-8")))
        scripts = {path.name for path in BENCHMARKS.glob("*.py")} - {"rows.py", "table.py"}
        self.assertEqual({work.program for work in WORKS}, built | scripts)


class TheFigure(unittest.TestCase):
    def test_is_the_best_of_the_repetitions(self):
        figures = figures_of(run("a", 0, cpu_time=12.0, bytes_per_second=1e9), run("a", 1, cpu_time=9.0, bytes_per_second=2e9))
        self.assertEqual(figures.get("bench", "a", "ns"), 9.0)
        self.assertEqual(figures.get("bench", "a", "GB/s"), 2.0)

    def test_passes_over_means(self):
        figures = figures_of(run("a"), run("a", run_type="aggregate", cpu_time=1.0))
        self.assertEqual(figures.get("bench", "a", "ns"), 10.0)

    def test_is_in_the_unit_of_the_row(self):
        cases = [
            ("us", "a", {"time_unit": "ms"}, 10000.0),
            ("ns", "a/real_time", {}, 20.0),
            ("us", "a/manual_time", {"time_unit": "us"}, 20.0),
            ("MB/s", "a", {"bytes_per_second": 5e6}, 5.0),
            ("texts/s", "a", {"items_per_second": 7.0}, 7.0),
            ("ns/byte", "a", {"bytes_per_second": 4e9}, 0.25),
        ]
        for unit, name, fields, expected in cases:
            with self.subTest(unit=unit, name=name):
                self.assertEqual(figures_of(run(name, **fields)).get("bench", name, unit), expected)

    def test_of_a_counter_is_the_counter(self):
        self.assertEqual(figures_of(run("a", KB=12.0)).get("bench", "a", "KB", "KB"), 12.0)

    def test_of_a_benchmark_that_is_gone_is_an_error(self):
        with self.assertRaisesRegex(table.Failure, "bench has no benchmark b:"):
            table.measured(row_of(Work("walk", "bench", "b", "ns")), figures_of(run("a")), ["plain"])
        with self.assertRaisesRegex(table.Failure, "peer"):
            table.measured(row_of(Work("walk", "bench", "a", "ns", "peer", "a peer")), figures_of(run("a")), ["plain"])


class TheResult(unittest.TestCase):
    FIGURES = figures_of(run("ours", bytes_per_second=6e9), run("peer", cpu_time=25.0, bytes_per_second=2e9),
                         run("far", bytes_per_second=1e9), run("no", error_occurred=True, error_message="not root"))

    def result(self, ours, unit, peer="", **fields):
        work = Work("walk", "bench", ours, unit, peer, "a peer" if peer else "", **fields)
        return table.measured(row_of(work), self.FIGURES, ["plain", "AVX2"])

    def test_says_how_many_times_as_fast(self):
        self.assertEqual(self.result("ours", "GB/s", "peer").ratio, 3.0)
        self.assertEqual(self.result("ours", "ns", "peer").ratio, 2.5)
        self.assertIsNone(self.result("ours", "ns").ratio)

    def test_names_the_level(self):
        self.assertEqual(self.result("ours", "ns").level, "portable")
        self.assertEqual(self.result("ours", "ns", level="best").level, "AVX2")

    def test_may_lack_a_peer_that_is_not_everywhere(self):
        self.assertIsNone(self.result("ours", "ns", "gone", peer_may_lack=True).peer)

    def test_of_sizes_goes_from_least_to_most(self):
        work = Work("walk", "bench", "{size}", "ns/byte", sizes=["ours", "far"])
        result = table.measured(row_of(work), self.FIGURES, ["plain"])
        self.assertEqual(table.cells(result)[1], "0.17 to 1.00 ns/byte")
        self.assertEqual(result.each[1], 1.0)

    def test_that_could_not_be_measured_says_why(self):
        self.assertEqual(table.cells(self.result("no", "ns"))[1], "not measured: not root")

    def test_below_its_goal_is_told(self):
        cases = [
            ({"peer": "peer", "unit": "GB/s", "goal": 3.5}, True),
            ({"peer": "peer", "unit": "GB/s", "goal": 3}, False),
            ({"unit": "GB/s", "least": 10}, True),
            ({"unit": "ns", "least": 9}, True),
            ({"unit": "ns", "least": 11}, False),
        ]
        for fields, is_short in cases:
            with self.subTest(**fields):
                self.assertEqual(len(table.shortfalls([self.result("ours", **fields)])), is_short)

    def test_of_another_level_is_left_out(self):
        row = row_of(Work("walk", "bench", "ours", "ns", level="AVX2"))
        self.assertTrue(table.is_here(row, ["plain", "AVX2", "AVX-512"]))
        self.assertFalse(table.is_here(row, ["plain", "AVX2"]), "that is the best one already")
        self.assertFalse(table.is_here(row, ["plain", "NEON"]))


class TheTable(unittest.TestCase):
    def test_has_a_line_for_each_result(self):
        work = Work("walk | run", "bench", "a", "us", "b", "a peer", level="best")
        figures = figures_of(run("a", time_unit="us"), run("b", time_unit="us", cpu_time=1234.5))
        text = table.markdown([table.measured(row_of(work), figures, ["AVX2"])], MACHINE)
        self.assertIn("| Work | Ours | Peer | Ratio | Level |\n", text)
        self.assertTrue(text.endswith("| walk \\| run | 10.0 µs | 1,234 µs, a peer | 123 | AVX2 |\n"), text)

    def test_says_what_the_figures_are_worth(self):
        self.assertNotIn("**", table.head(MACHINE))
        self.assertIn("worth little", table.head({**MACHINE, "busy": "0.90"}))
        self.assertIn("rough", table.head({**MACHINE, "quick": "yes"}))
        self.assertIn("isn't there", table.head({**MACHINE, "texts": "examples/documents, repeated"}))

    def test_takes_its_place_between_the_markers(self):
        text = f"before\n{table.BEGIN}\nold\n{table.END}\nafter\n"
        expected = f"before\n{table.BEGIN}\nnew\n{table.END}\nafter\n"
        self.assertEqual(table.put_between_markers(text, "new\n"), expected)
        self.assertEqual(table.put_between_markers(expected, "new\n"), expected)

    def test_needs_both_markers(self):
        for text in ["", table.BEGIN, table.END, f"{table.END}\n{table.BEGIN}"]:
            with self.subTest(text=text):
                self.assertRaises(table.Failure, table.put_between_markers, text, "new\n")


if __name__ == "__main__":
    unittest.main()
