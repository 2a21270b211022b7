#!/usr/bin/env python3
"""What bench/chart tells gnuplot, and that gnuplot draws it without a complaint."""
import json
import pathlib
import subprocess
import tempfile
import unittest

CHART = pathlib.Path(__file__).parents[3] / "bench" / "chart"
MET, MISSED, NO_AIM = 0x1F5FA8, 0xC2571A, 0x8A929C


def figure(ratio, **others):
    return {"measure": "p50", "ratio": ratio, "better": "less", "workload": "take", **others}


def commands(figures):
    with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
        json.dump({"figures": figures}, file)
        file.flush()
        return subprocess.run([CHART, file.name], check=True, capture_output=True, text=True).stdout


def block(text, name):
    lines = text.splitlines()
    begin = lines.index(f"${name} << END") + 1
    return lines[begin:lines.index("END", begin)]


class Chart(unittest.TestCase):
    def test_bar_is_as_long_as_the_ratio(self):
        bars = block(commands([figure(0.5), figure(1)]), "bars")
        self.assertEqual(bars, [f"0 0.5 {NO_AIM}", f"1 1 {NO_AIM}"])

    def test_colour_tells_whether_the_aim_is_met(self):
        bars = block(commands([figure(1, aim=1, met=True), figure(1, aim=1, met=False),
                               figure(1, limit=3, met=True)]), "bars")
        self.assertEqual([int(bar.split()[2]) for bar in bars], [MET, MISSED, MET])

    def test_figure_without_a_ratio_has_no_row(self):
        without = figure(1)
        del without["ratio"]
        self.assertEqual(block(commands([without, figure(2)]), "bars"), [f"0 2 {NO_AIM}"])

    def test_whiskers_and_ticks_stand_in_their_rows(self):
        text = commands([figure(1), figure(1, ratio_low=0.8, ratio_high=1.2),
                         figure(1, aim=1.3, met=True)])
        self.assertEqual(block(text, "spreads"), ["1 0.8 1.2"])
        self.assertEqual(block(text, "aims"), ["2 1.3"])

    def test_scale_holds_spreads_and_aims_in_halves(self):
        self.assertIn("set xrange [0:1.5]\n", commands([figure(1)]))
        self.assertIn("set xrange [0:2.5]\n", commands([figure(1, ratio_low=1, ratio_high=2.1)]))
        self.assertIn("set xrange [0:3.0]\n", commands([figure(1, aim=2.6, met=True)]))

    def test_large_ratio_is_a_broken_bar_that_squashes_no_other(self):
        text = commands([figure(40, ratio_low=39, ratio_high=41), figure(1)])
        self.assertEqual(block(text, "bars"), [f"0 1.5 {NO_AIM}", f"1 1 {NO_AIM}"])
        self.assertEqual([line.split()[0] for line in block(text, "breaks")], ["0"])
        self.assertEqual(block(text, "spreads"), ["NaN NaN NaN"])

    def test_is_drawn_with_its_labels(self):
        text = commands([figure(1.3, ratio_low=1.2, ratio_high=1.4, aim=1.25, met=False),
                         figure(40)])
        drawn = subprocess.run(["gnuplot"], input=text, check=True, capture_output=True, text=True)
        self.assertEqual(drawn.stderr, "")
        for label in "take p50", "1.30 (1.20-1.40), aim ≤ 1.25", "40.00", "//":
            self.assertIn(f">{label}<", drawn.stdout)

    def test_nothing_to_draw_is_an_error(self):
        with self.assertRaises(subprocess.CalledProcessError):
            commands([])


if __name__ == "__main__":
    unittest.main()
