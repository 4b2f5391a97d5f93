"""Results of shadingctl as pandas tables, and recordings made of tables.

The tool is found in PATH, or where the environment variable SHADINGCTL says. Options are the tool's own:
`reset_matched=True` is --reset-matched, `only=["start", "carried"]` is --only start,carried; `shadingctl help replay`
lists them. `attrs["units"]` of a table has the unit of each column that has one. A failure raises ToolError with the
tool's message and exit code; what the tool tells of a result that it could make is a ToolWarning. Interrupting a call
ends the tool, and a notebook or terminal shows its progress.
"""

from __future__ import annotations

import os
import tempfile
from collections.abc import Sequence
from pathlib import Path
from typing import Any, Union

import pandas

from ._tool import DIFFERENCE, Output, ToolError, ToolWarning, run

__all__ = ["Comparison", "Fit", "Result", "ToolError", "ToolWarning", "budget", "diff", "explain", "fit", "record",
           "replay"]

Source = Union[str, "os.PathLike[str]"]

# Columns in their order, and what they hold.
WHOLE, REAL, OTHER = "Int64", "float64", "object"
FRAMES = {"frame": WHOLE, "timestamp_ns": WHOLE, "type": WHOLE, "match": OTHER, "samples": WHOLE, "start_index": WHOLE,
          "end_index": WHOLE, "offset_us": REAL, "start_distance_us": REAL, "span_age_us": REAL, "hall_x": REAL,
          "hall_y": REAL, "message": OTHER, "camera": WHOLE, "end": OTHER, "end_distance_us": REAL, "coverage": REAL,
          "repeated_samples": WHOLE, "readout_distance": REAL, "start_of_frame_us": REAL, "exposure_us": REAL,
          "readout_us": REAL, "window_us": OTHER, "span_us": OTHER}
SAMPLES = {"camera": WHOLE, "frame": WHOLE, "timestamp_ns": WHOLE, "hall_x": REAL, "hall_y": REAL}
AXES = {"image": OTHER, "hall": OTHER, "quantity": OTHER, "value": REAL, "low": REAL, "high": REAL, "library": REAL}
SEARCH = {"lag_us": REAL, "x": REAL, "y": REAL}
IMAGES = {1: ["frame", "x", "y", "fitted_x", "fitted_y"],  # by the version of the fit's JSON
          2: ["frame", "readout_start_s", "exposure_us", "slope_by_us", "x", "y", "fitted_x", "fitted_y",
              "x_by_lag", "y_by_lag"]}
RECORDED = {"frames": ["frame", "timestamp_ns", "exposure_ns", "rolling_shutter_ns"],
            "hall": ["frame", "timestamp_ns", "hall_x", "hall_y"]}
POSITION = "unit of the samples"
UNITS = {"_ns": "ns", "_us": "µs", "_s": "s", "_hz": "Hz", "hall_x": POSITION, "hall_y": POSITION,
         "readout_distance": POSITION}  # by the end of a column's name


class Result:
    """What `replay` and `explain` tell of a session.

    frames   DataFrame, a row for each frame that is shown: frame; timestamp_ns (ns); type; match (start, carried,
             no_start, single, no_window, warm_up, off); samples; start_index, end_index; offset_us, start_distance_us,
             span_age_us (µs); hall_x, hall_y (unit of the samples); message; camera; end (near, last); end_distance_us
             (µs); coverage (0 to 1); repeated_samples; readout_distance (unit of the samples); start_of_frame_us,
             exposure_us, readout_us (µs); window_us, span_us (lists of the first and the last, µs). What the log level
             holds back is missing
    samples  DataFrame, a row for each sample in the order of delivery: camera; frame (that of the update); timestamp_ns
             (ns); hall_x, hall_y (unit of the samples). Empty where the result has none, as that of `explain`
    summary, findings
             the figures of each camera; what happened, and what helps: as in the tool's JSON
    json     the other members of the tool's JSON, such as settings; of `explain` also explained and log
    file     path of the tool's JSON, for other commands of the tool; removed with this object
    exit_code
             1 where a check or a recorded answer differs, or else 0
    """

    def __init__(self, output: Output) -> None:
        document = output.json("shadingctl-replay")
        self._output = output  # owns the file
        self.file, self.exit_code = output.file.name, output.exit_code
        self.frames = _table(document.pop("frames", []), FRAMES)
        self.samples = _table([dict(zip(SAMPLES, (batch["camera"], batch["frame"], *sample)))
                               for batch in document.pop("batches", []) for sample in batch["samples"]], SAMPLES)
        self.summary: dict[str, Any] = document.pop("summary", {})
        self.findings: list[dict[str, Any]] = document.pop("findings", [])
        self.json: dict[str, Any] = document


class Fit:
    """What `fit` finds.

    axes     DataFrame, a row for each axis of the image and quantity: image (x, y); hall (the axis of the samples that
             drives it); quantity; value; low, high (95 % interval); library (the library's number). The quantity's name
             ends in its unit: lag_us, lag_slope (no unit), lag_intercept_us, gain ...
    images   DataFrame, a row for each frame that was used: frame; x, y, fitted_x, fitted_y (unit of the reference); of
             version 2 also readout_start_s (since the first sample, s), exposure_us, slope_by_us (what the slope goes
             by, µs), x_by_lag, y_by_lag (change with 1 µs more of lag)
    search   DataFrame, a row for each lag that was tried: lag_us (µs); x, y (share of the motion that it leaves over)
    json     the other members of the tool's JSON, such as shorter_us (µs), verdict, diagnosis, outliers
    exit_code
             1 where a check differs, or else 0
    """

    def __init__(self, output: Output) -> None:
        document = output.json("shadingctl-fit")
        self.exit_code = output.exit_code
        self.axes = _table([{"image": image, "hall": axis.get("hall"), "quantity": quantity, "value": found["value"],
                             "library": found.get("library"), **dict(zip(("low", "high"), found.get("interval") or ()))}
                            for image, axis in document.pop("axes", {}).items()
                            for quantity, found in axis.items() if isinstance(found, dict) and "value" in found], AXES)
        names = IMAGES[document["version"]]
        self.images = _table([dict(zip(names, image)) for image in document.pop("images", [])],
                             {name: WHOLE if name == "frame" else REAL for name in names})
        self.search = _table([dict(zip(SEARCH, lag)) for lag in document.pop("search", [])], SEARCH)
        self.json: dict[str, Any] = document


class Comparison(str):
    """What `diff` says: Markdown, which a notebook shows as such. `same`: whether no row differs."""

    same: bool

    def _repr_markdown_(self) -> str:
        return str(self)


def replay(recording: Source, samples: bool = True, **options: Any) -> Result:
    """Plays a recording to the library. `samples=False`: without its samples, 40 bytes each."""
    return Result(run("replay", [recording], {"samples": samples, **options}, "shadingctl-replay"))


def explain(source: Source, **options: Any) -> Result:
    """Says in `json["explained"]` what became of the frames of a recording or a log; `frame=N`: of one."""
    return Result(run("explain", [source], options, "shadingctl-replay"))


def fit(recording: Source, reference: Source, **options: Any) -> Fit:
    """Fits the lag of the samples (µs) to where an image stood: `reference`: a CSV file of frame, x and y."""
    return Fit(run("fit", [recording], {"reference": reference, **options}, "shadingctl-fit"))


def budget(**options: Any) -> pandas.DataFrame:
    """Tells whether rates (Hz) and times (µs) fit together, as in `budget(frame_rate=60, readout_us=15980, ...)`.

    A row for each budget, several with `sweep="exposure"` or `sweep="hall-rate"`. Names end in _hz or _us (Hz, µs);
    start, both_ends_near and what frames lack (beyond_reach, beyond_tolerance, single, short_history, nothing_after)
    are shares of the frames, median_coverage and worst_coverage shares of the readout.
    """
    document = run("budget", [], options, "shadingctl-budget").json("shadingctl-budget")
    return _table(document["budgets"], {})


def diff(a: Result | Source, b: Result | Source, **options: Any) -> Comparison:
    """Compares two results, or files of results, row by row."""
    output = run("diff", [result.file if isinstance(result, Result) else result for result in (a, b)], options)
    comparison = Comparison(Path(output.file.name).read_text(encoding="utf-8"))
    comparison.same = output.exit_code != DIFFERENCE
    return comparison


def record(frames: pandas.DataFrame, hall: pandas.DataFrame, directory: Source) -> None:
    """Writes a recording of version 1 to a new or empty directory, whole or not at all.

    frames  a row for each frame: frame; timestamp_ns, exposure_ns, rolling_shutter_ns (ns)
    hall    a row for each sample in the order of delivery: frame; timestamp_ns (ns); hall_x, hall_y

    Frame numbers and times are whole numbers; ValueError where a column is not, or has a missing value. Other columns
    are left out. The tool checks the rest when it reads the recording.
    """
    target = Path(directory)
    with tempfile.TemporaryDirectory(prefix=".shadingctl-", dir=target.absolute().parent) as temporary:
        new = Path(temporary, "new")
        new.mkdir()
        for name, table in ("frames", frames), ("hall", hall):
            table = table[RECORDED[name]]
            for column, kind in table.dtypes.items():
                wanted, missing = "fiu" if str(column).startswith("hall_") else "iu", table[column].isna().sum()
                if missing or kind.kind not in wanted:
                    raise ValueError(f"{name}.{column}: expected {'' if 'f' in wanted else 'whole '}numbers, found "
                                     f"{kind} with {missing} missing")
            table.to_csv(new / f"{name}.csv", index=False)
        new.rename(target)


def _table(rows: Sequence[dict[str, Any]], columns: dict[str, str]) -> pandas.DataFrame:
    """Rows as a table of these columns and then of those that the rows have besides, with units."""
    names = list(dict.fromkeys([*columns, *(name for row in rows for name in row)]))
    table = pandas.DataFrame({name: _series([row.get(name) for row in rows], columns.get(name)) for name in names})
    table.attrs["units"] = {name: unit for name in names for end, unit in UNITS.items() if name.endswith(end)}
    return table


def _series(values: list[Any], kind: str | None) -> pandas.Series:
    """A column; whole numbers of which some are missing as Int64, since a time in ns may lose digits as float64."""
    if kind == WHOLE and values and None not in values:
        kind = None  # int64, or uint64 where that is too small
    return pandas.Series(values, dtype=kind or (None if values else OTHER))
