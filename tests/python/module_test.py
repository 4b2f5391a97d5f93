"""The Python module with the real tool, which SHADINGCTL names, and the page about it.

usage: module_test.py RUNNING_RECORDING PAGE [Module | Page]
"""

import csv
import doctest
import os
import pathlib
import pty
import re
import signal
import subprocess
import sys
import tempfile
import unittest
import warnings

import pandas

import shadingctl

TOOL = os.environ["SHADINGCTL"]


def run_tool(*arguments):
    return subprocess.run([TOOL, *map(str, arguments)], check=True, capture_output=True, text=True).stdout


class Module(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(temporary.name)

    def expect_rows_of_csv(self, recording, **options):
        frames = shadingctl.replay(recording, **options).frames
        lines = csv.reader(run_tool("replay", recording, "--format=csv", "--quiet", *(
            f"--{name.replace('_', '-')}={value}" for name, value in options.items())).splitlines())
        names = next(lines)
        self.assertEqual(list(frames.columns[:len(names)]), names)
        count = 0
        for line, row in zip(lines, frames.itertuples(index=False), strict=True):
            for name, text, value in zip(names, line, row):
                if text == "":
                    self.assertTrue(pandas.isna(value), f"{name} in row {count}: {value}")
                elif isinstance(value, str):
                    self.assertEqual(value, text)
                elif isinstance(value, float):
                    self.assertEqual(value, float(text), f"{name} in row {count}")
                else:  # whole, where floating point would lose digits of times
                    self.assertEqual(int(value), int(text), f"{name} in row {count}")
            count += 1
        return count

    def test_frames_are_the_csv_column_by_column(self):
        run_tool("generate", "two", "--frames", 120, "--cameras", 2, "--hall-rate", 300)
        self.assertGreater(self.expect_rows_of_csv("two"), 200)
        self.expect_rows_of_csv("two", log_level=0)  # columns without any value
        self.expect_rows_of_csv("two", only="single")  # no rows

    def test_frames_are_the_csv_for_the_phones_recording(self):
        if not RUNNING_RECORDING.exists():
            self.skipTest(f"no recording in {RUNNING_RECORDING}")
        self.assertEqual(self.expect_rows_of_csv(RUNNING_RECORDING), 301)

    def test_times_keep_all_digits_beside_missing_ones(self):
        table = shadingctl._table([{"t_ns": 1639493638769000001}, {}, {"new": 2}], {"t_ns": shadingctl.WHOLE})
        self.assertEqual(int(table.t_ns[0]), 1639493638769000001)
        self.assertEqual(list(table.columns), ["t_ns", "new"])
        self.assertEqual(table.attrs["units"], {"t_ns": "ns"})

    def test_a_recording_of_tables_is_the_one_that_was_meant(self):
        frames = pandas.DataFrame({"note": "-", "rolling_shutter_ns": 15980096, "exposure_ns": [1266029, 4294967296],
                                   "timestamp_ns": [1639493638769, 18446744073709551615], "frame": [41, 44]})
        hall = pandas.DataFrame({"frame": [41, 44], "timestamp_ns": [-1639502880827, 1639507880411],
                                 "hall_x": [-21.548519, 0.1], "hall_y": [10.1, -3]})
        shadingctl.record(frames, hall.astype({"hall_y": "float32"}), "new")
        self.assertEqual(pathlib.Path("new/frames.csv").read_text(),
                         "frame,timestamp_ns,exposure_ns,rolling_shutter_ns\n41,1639493638769,1266029,15980096\n"
                         "44,18446744073709551615,4294967296,15980096\n")
        self.assertEqual(pathlib.Path("new/hall.csv").read_text(), "frame,timestamp_ns,hall_x,hall_y\n"
                         "41,-1639502880827,-21.548519,10.1\n44,1639507880411,0.1,-3.0\n")
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", shadingctl.ToolWarning)  # nothing matched
            result = shadingctl.replay("new")
        self.assertEqual(result.frames.timestamp_ns.tolist(), [1639493638769, 18446744073709551615])
        self.assertEqual(result.samples.values.tolist(), [[0, 41, -1639502880827, -21.5485191, 10.1000004],
                                                          [0, 44, 1639507880411, 0.100000001, -3.0]])

        for what, error, arguments in (
                ("times with a fraction", ValueError, (frames.astype({"exposure_ns": "float64"}), hall, "other")),
                ("a missing position", ValueError, (frames, hall.replace(0.1, float("nan")), "other")),
                ("text", ValueError, (frames, hall.astype(str), "other")),
                ("a missing column", KeyError, (frames, hall.drop(columns="hall_y"), "other")),
                ("a recording there", OSError, (frames.head(1), hall, "new"))):
            with self.subTest(what), self.assertRaises(error):
                shadingctl.record(*arguments)
        self.assertEqual(os.listdir(), ["new"])
        self.assertEqual(len(pathlib.Path("new/frames.csv").read_text().splitlines()), 3)

    def test_failures_have_the_tools_message_and_exit_code(self):
        run_tool("generate", "cut", "--frames", 60)
        hall = pathlib.Path("cut/hall.csv")
        hall.write_text(hall.read_text()[:-30])
        for call, code, message, has_json in (
                (lambda: shadingctl.replay("nowhere"), 3, "shadingctl: nowhere/frames.csv: cannot be read", False),
                (lambda: shadingctl.replay("--summary"), 3, "shadingctl: --summary/frames.csv: cannot", False),
                (lambda: shadingctl.replay("cut"), 3, "shadingctl: cut/hall.csv:", True),
                (lambda: shadingctl.replay("cut", log_level=10), 2, "--log-level", False)):
            with self.assertRaises(shadingctl.ToolError) as caught:
                call()
            self.assertEqual(caught.exception.exit_code, code)
            self.assertIn(message, str(caught.exception))
            self.assertEqual(caught.exception.json is not None, has_json)
        with self.assertRaisesRegex(TypeError, "format"):
            shadingctl.replay("cut", format="csv")
        pathlib.Path("newer").write_text("#!/bin/sh\necho '{\"schema\": \"shadingctl-budget\", \"version\": 1000}'\n")
        pathlib.Path("newer").chmod(0o755)
        for tool, error, message in ("./newer", ValueError, "version 1000"), ("./none", FileNotFoundError, "./none"):
            os.environ["SHADINGCTL"] = tool
            self.addCleanup(os.environ.update, SHADINGCTL=TOOL)
            with self.assertRaisesRegex(error, message):
                shadingctl.budget()

    def test_a_difference_is_a_result(self):
        run_tool("generate", "walk", "--frames", 60)
        pathlib.Path("golden.csv").write_text("frame,match\n1,start\n")
        with self.assertWarnsRegex(shadingctl.ToolWarning, "golden.csv:2: match: expected start") as caught:
            result = shadingctl.replay(pathlib.Path("walk"), check="golden.csv", only=["start", "carried", "warm_up"])
        self.assertEqual(caught.filename, __file__)
        self.assertEqual(result.exit_code, 1)
        self.assertGreater(len(result.frames), 30)
        same = shadingctl.replay("walk", only=["start", "carried", "warm_up"], reset_matched=None)
        self.assertTrue(shadingctl.diff(result, same).same)
        comparison = shadingctl.diff(result, shadingctl.replay("walk", mode="last"))
        self.assertFalse(comparison.same)
        self.assertIn("| hall_x |", comparison._repr_markdown_())

    def test_a_fit_has_its_quantities_and_every_image(self):
        run_tool("generate", "lens", "--frames", 300, "--late", 0, "--pause-us", 0, "--reference", "target.csv")
        fit = shadingctl.fit("lens", "target.csv")
        lag = fit.axes.set_index(["image", "quantity"]).loc[("x", "lag_us")]
        self.assertEqual(lag.hall, "hall_x")
        self.assertLess(lag.low, lag.value)
        self.assertLess(lag.value, lag.high)
        self.assertAlmostEqual(lag.library, 3970, delta=30)
        lines = pathlib.Path("target.csv").read_text().splitlines()
        reference = {int(frame): float(x) for frame, x, _ in csv.reader(lines[1:])}
        self.assertGreater(len(fit.images), 250)
        for image in fit.images.itertuples():
            self.assertAlmostEqual(image.x, reference[image.frame], places=3)
            self.assertAlmostEqual(image.fitted_x, image.x, delta=1)
        self.assertLess(fit.search.x[fit.search.lag_us.abs().idxmin()], 0.2)

    def test_an_interrupted_call_shows_progress_and_ends_the_tool(self):
        run_tool("generate", "long", "--frames", 20000, "--hall-rate", 200)
        pathlib.Path("tool").write_text(f"#!/bin/sh\necho $$ >tool.pid\nexec '{TOOL}' \"$@\"\n")
        pathlib.Path("tool").chmod(0o755)
        terminal, inner = pty.openpty()
        script = "import shadingctl; shadingctl.replay('long', samples=False, report='page.html')"
        python = subprocess.Popen([sys.executable, "-c", script], stderr=inner,
                                  env={**os.environ, "SHADINGCTL": "./tool"})
        os.close(inner)
        shown = b""
        while not re.search(rb"\d % \d+ frames", shown):
            shown += os.read(terminal, 1000)
        python.send_signal(signal.SIGINT)
        try:
            while chunk := os.read(terminal, 1000):
                shown += chunk
        except OSError:
            pass  # how a terminal ends
        os.close(terminal)
        python.wait()
        self.assertIn(b"KeyboardInterrupt", shown)
        with self.assertRaises(ProcessLookupError):
            os.kill(int(pathlib.Path("tool.pid").read_text()), 0)
        self.assertEqual(sorted(os.listdir()), ["long", "tool", "tool.pid"])


class Page(unittest.TestCase):
    def test_a_session_prints_what_the_page_shows(self):
        commands, code = [], ""
        for language, block in re.findall(r"^```(\w*)\n(.*?)^```$", PAGE.read_text(encoding="utf-8"), re.M | re.S):
            if language == "python":
                code += block
            else:
                commands.append(block)
        with tempfile.TemporaryDirectory() as temporary:
            self.addCleanup(os.chdir, os.getcwd())
            os.chdir(temporary)
            for block in commands:
                command, shown = block.removeprefix("$ shadingctl ").split("\n", 1)
                self.assertEqual(run_tool(*command.split()), shown)
            session = doctest.DocTestParser().get_doctest(code, {}, PAGE.name, str(PAGE), 0)
            told = []
            results = doctest.DocTestRunner(verbose=False).run(session, out=told.append)
            self.assertEqual(results.failed, 0, "".join(told))
            self.assertGreater(results.attempted, 20)
            self.assertIn("</svg>", pathlib.Path("positions.svg").read_text(encoding="utf-8"))


if __name__ == "__main__":
    RUNNING_RECORDING, PAGE = map(pathlib.Path, sys.argv[1:3])
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
