"""Runs the tool: finds it, shows its progress, stops it with the cell, and makes exceptions of its failures."""

from __future__ import annotations

import contextlib
import json
import os
import pty
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import tty
import warnings
from dataclasses import dataclass
from typing import Any

DIFFERENCE = 1  # exit code of a check that found a difference; what the tool wrote is whole
VERSIONS = {"shadingctl-replay": [1], "shadingctl-budget": [1], "shadingctl-fit": [1, 2]}
PROGRESS = re.compile(rb"\r([^\r\n]*)\x1b\[K")  # the bar, drawn over itself on a terminal


class ToolError(Exception):
    """The tool failed: its message is the exception's text.

    `exit_code` is the tool's: 2 wrong usage, 3 unusable input or output, 130 interrupted; negative, the signal that
    ended it. `json` is the object that it wrote all the same, such as the part of a recording before the place where
    that is broken, or why a fit refuses; None without one.
    """

    def __init__(self, message: str, exit_code: int, json: dict[str, Any] | None = None) -> None:
        super().__init__(message)
        self.exit_code = exit_code
        self.json = json


class ToolWarning(UserWarning):
    """What the tool tells of a result that it could make, in its own words."""


@dataclass
class Output:
    """What a run of the tool wrote: a temporary file that lives as long as this object; what it told; its exit code."""

    file: Any
    told: str
    exit_code: int

    def json(self, schema: str) -> dict[str, Any]:
        """The JSON object, of this schema in a version that this module knows."""
        with open(self.file.name, encoding="utf-8") as file:
            document = json.load(file)
        found = (document.get("schema"), document.get("version"))
        if found[0] != schema or found[1] not in VERSIONS[schema]:
            raise ValueError(f"expected {schema} of version {VERSIONS[schema]}, found {found[0]} of version {found[1]}")
        return document


def run(command: str, arguments: list[Any], options: dict[str, Any], schema: str | None = None) -> Output:
    """Runs a subcommand; raises ToolError unless it did its work. `schema`: of the JSON that it writes."""
    if {"format", "output"} & options.keys():
        raise TypeError(f"{command}: format and output are set by this module")
    name = os.environ.get("SHADINGCTL") or "shadingctl"
    tool = shutil.which(name)
    if tool is None:
        raise FileNotFoundError(f"{name}: expected the tool in PATH, or its path in SHADINGCTL")
    line = [tool, command, *_switches(options | ({"format": "json"} if schema else {}))]
    line += ["--", *(os.fspath(argument) for argument in arguments)]
    file = tempfile.NamedTemporaryFile(prefix="shadingctl-", suffix=".json" if schema else ".md")
    exit_code, told = _watch(line, file)
    output = Output(file, told.decode(errors="replace").strip(), exit_code)
    if exit_code not in (0, DIFFERENCE):
        written = None
        with contextlib.suppress(ValueError):  # nothing, or not all of it
            written = output.json(schema) if schema else None
        raise ToolError(output.told or f"{tool} {command}: ended with {exit_code}", exit_code, written)
    if output.told:
        warnings.warn(output.told, ToolWarning, stacklevel=3)
    return output


def _switches(options: dict[str, Any]) -> list[str]:
    """reset_matched=True becomes --reset-matched, only=["start", "single"] --only=start,single; None, False nothing."""
    switches = []
    for name, value in options.items():
        if value is None or value is False:
            continue
        switch = "--" + name.replace("_", "-")
        if value is not True:
            values = value if isinstance(value, (list, tuple)) else [value]
            switch += "=" + ",".join(os.fspath(v) if isinstance(v, os.PathLike) else str(v) for v in values)
        switches.append(switch)
    return switches


def _watch(line: list[str], file: Any) -> tuple[int, bytes]:
    """Runs the command with standard output to `file`; answers its exit code and what it told on standard error."""
    is_shown = "ipykernel" in sys.modules or (sys.stderr is not None and sys.stderr.isatty())
    source, sink = pty.openpty() if is_shown else os.pipe()  # the tool draws progress on a terminal alone
    if is_shown:
        tty.setraw(sink)  # no carriage returns but those of the bar
    try:
        # A session of its own: the tool gets the one interruption that is passed on, not the terminal's as well.
        process = subprocess.Popen(line, stdin=subprocess.DEVNULL, stdout=file, stderr=sink, start_new_session=True)
    finally:
        os.close(sink)
    told = b""
    try:
        while chunk := _read(source):
            told += chunk
            for bar in PROGRESS.findall(told):
                sys.stderr.write("\r" + bar.decode(errors="replace").ljust(72) + ("" if bar else "\r"))
                sys.stderr.flush()
            told = PROGRESS.sub(b"", told)
        return process.wait(), told
    except BaseException:
        process.send_signal(signal.SIGINT)  # leaves no half-written file
        try:
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(timeout=5)
        finally:
            process.kill()
        raise
    finally:
        os.close(source)


def _read(source: int) -> bytes:
    try:
        return os.read(source, 65536)
    except OSError:
        return b""  # how a terminal ends
