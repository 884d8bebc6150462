#!/usr/bin/env python3
"""Tests of bench_table.py on Google Benchmark JSON shaped as the programs write it."""

import json
import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import bench_table  # noqa: E402


def run(name, **fields):
    record = {
        "name": name, "family_index": 0, "per_family_instance_index": 0, "run_name": name,
        "run_type": "iteration", "repetitions": 1, "repetition_index": 0, "threads": 1,
        "iterations": 10, "real_time": 1.5, "cpu_time": 1.0, "time_unit": "ms",
    }
    record.update(fields)
    return record


class TableTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()

    def tearDown(self):
        self.folder.cleanup()

    def program(self, name, runs):
        path = os.path.join(self.folder.name, name + ".json")
        with open(path, "w", encoding="utf-8") as handle:
            json.dump({"context": {}, "benchmarks": runs}, handle)
        return path

    def rows(self, *paths):
        text, failed = bench_table.table(list(paths))
        lines = text.splitlines()
        self.assertEqual(lines[0], "| Figure | median | p99 | value | unit | ratio |")
        return [[cell.strip() for cell in line.strip("|").split("|")] for line in lines[2:]], failed

    def test_median_and_p99_make_one_row_with_the_ratios_to_the_baseline(self):
        path = self.program("zp_tracking_bench", [run(
            "BM_ZpAnalyticsTrackFeature/iterations:20000/manual_time", time_unit="us",
            median_us=7.89, p99_us=13.73, x_put_median=5.79, x_put_p99=2.47)])
        rows, failed = self.rows(path)
        self.assertFalse(failed)
        self.assertEqual(rows, [["zp_tracking_bench BM_ZpAnalyticsTrackFeature", "7.89", "13.73", "", "µs",
                                 "5.79× put (median); 2.47× put (p99)"]])

    def test_a_prefixed_median_is_a_row_of_its_own_and_a_lone_median_has_no_p99(self):
        path = self.program("p", [run("BM_Crash/iterations:3/manual_time", median_ms=2.0, p99_ms=9.0,
                                      dump_closed_median_ms=1.5, dump_closed_p99_ms=8.0, post_median_ms=4.0)])
        rows, _ = self.rows(path)
        self.assertEqual(rows[0][:5], ["p BM_Crash", "2.00", "9.00", "", "ms"])
        self.assertIn(["p BM_Crash · dump closed", "1.50", "8.00", "", "ms", ""], rows)
        self.assertIn(["p BM_Crash · post", "4.00", "", "", "ms", ""], rows)
        self.assertEqual(len(rows), 3)

    def test_a_ratio_named_after_a_counter_goes_on_that_counters_row(self):
        path = self.program("p", [run("BM_Drain100000/iterations:5/manual_time", median_ms=900.0,
                                      peak_rss_growth_mb=12.5, peak_rss_growth_x_three_batches=0.64)])
        rows, _ = self.rows(path)
        self.assertIn(["p BM_Drain100000 · peak rss growth", "", "", "12.50", "MiB", "0.64× three batches"], rows)
        self.assertEqual(rows[0][5], "")

    def test_unknown_counters_get_a_row_each_with_the_unit_of_their_suffix(self):
        path = self.program("p", [run("BM_Other", dump_bytes=70962.0, bytes_per_pass=45618944.0,
                                      logs_per_second=1234.5, requests=7.0)])
        rows, _ = self.rows(path)
        self.assertEqual(rows[0], ["p BM_Other · time per iteration", "", "", "1.50", "ms (mean)", ""])
        self.assertIn(["p BM_Other · dump", "", "", "70,962", "B", ""], rows)
        self.assertIn(["p BM_Other · bytes per pass", "", "", "45,618,944", "B", ""], rows)
        self.assertIn(["p BM_Other · logs", "", "", "1,234", "/s", ""], rows)
        self.assertIn(["p BM_Other · requests", "", "", "7", "", ""], rows)

    def test_items_per_second_is_the_main_figure_when_there_is_no_median(self):
        path = self.program("p", [run("BM_Throughput/iterations:20000/threads:4/real_time",
                                      items_per_second=115713.2)])
        rows, _ = self.rows(path)
        self.assertEqual(rows, [["p BM_Throughput/threads:4", "", "", "115,713", "items/s", ""]])

    def test_aggregates_stand_for_their_benchmark_through_the_median_only(self):
        aggregates = [
            run("BM_Enqueue/repeats:5_" + kind, run_name="BM_Enqueue/repeats:5", run_type="aggregate",
                aggregate_name=kind, real_time=value, time_unit="us", items_per_second=value * 1000)
            for kind, value in (("mean", 11.0), ("median", 10.8), ("stddev", 0.4), ("cv", 0.03))]
        rows, failed = self.rows(self.program("p", aggregates))
        self.assertFalse(failed)
        self.assertEqual(rows, [["p BM_Enqueue", "", "", "10,800", "items/s", ""]])

    def test_repetitions_without_aggregates_are_merged_into_their_median(self):
        runs = [run("BM_Startup/iterations:50/manual_time", median_ms=value, repetition_index=i, repetitions=3)
                for i, value in enumerate((3.0, 1.0, 2.0))]
        rows, _ = self.rows(self.program("p", runs))
        self.assertEqual(rows, [["p BM_Startup", "2.00", "", "", "ms", ""]])

    def test_an_error_is_shown_and_fails_the_table(self):
        path = self.program("p", [run("BM_Broken", error_occurred=True, error_message="host did not crash")])
        rows, failed = self.rows(path)
        self.assertTrue(failed)
        self.assertEqual(rows, [["p BM_Broken", "", "", "", "", "error: host did not crash"]])

    def test_a_missing_or_empty_program_result_fails_the_table_and_the_others_still_show(self):
        good = self.program("good", [run("BM_Fine", median_us=1.0)])
        empty = self.program("empty", [])
        rows, failed = self.rows(os.path.join(self.folder.name, "gone.json"), empty, good)
        self.assertTrue(failed)
        self.assertEqual([row[0] for row in rows], ["gone", "empty", "good BM_Fine"])
        self.assertTrue(rows[0][5].startswith("error: no results"))
        self.assertEqual(rows[1][5], "error: no benchmark ran")

    def test_numbers_keep_three_significant_digits_and_group_thousands(self):
        self.assertEqual(bench_table.number(0.28515625), "0.285")
        self.assertEqual(bench_table.number(2.6640625), "2.66")
        self.assertEqual(bench_table.number(124.58), "124.6")
        self.assertEqual(bench_table.number(156012.4), "156,012")
        self.assertEqual(bench_table.number(2.0), "2.00")
        self.assertEqual(bench_table.number(1.0, whole=True), "1")
        self.assertEqual(bench_table.number(1.5, whole=True), "1.50")
        self.assertEqual(bench_table.number(None), "")

    def test_the_command_exits_one_on_failure_and_two_without_files(self):
        good = self.program("good", [run("BM_Fine", median_us=1.0)])
        bad = self.program("bad", [run("BM_Broken", error_occurred=True, error_message="x")])
        with open(os.devnull, "w") as quiet:
            saved = sys.stdout, sys.stderr
            sys.stdout = sys.stderr = quiet
            try:
                results = [bench_table.main(["bench_table.py", good]),
                           bench_table.main(["bench_table.py", good, bad]),
                           bench_table.main(["bench_table.py"])]
            finally:
                sys.stdout, sys.stderr = saved
        self.assertEqual(results, [0, 1, 2])


if __name__ == "__main__":
    unittest.main()
