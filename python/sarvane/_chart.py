"""The chart page of the program `study`, which lies in this package."""

from __future__ import annotations

import html
import json
import pathlib
import subprocess
import tempfile
from typing import Any

from ._library import COMMAND
from ._tables import Table, as_numbers, is_frame


class Plot:
    """A page with a chart, which a notebook shows in a frame. `html` is the page."""

    def __init__(self, page: str, height: int) -> None:
        self.html = page
        self.height = height

    def _repr_html_(self) -> str:
        return (f'<iframe srcdoc="{html.escape(self.html)}" style="width: 100%; height: {self.height}px; border: 0" '
                f'title="Chart"></iframe>')


def _write_bars(bars: Any, path: pathlib.Path) -> None:
    table = Table(bars)
    columns = []
    names = []
    for index, name in enumerate(table.names):
        if is_frame(bars) and name.casefold() == "time":
            continue  # the index has them
        try:
            columns.append(memoryview(as_numbers(table.column(index), name)).tolist())
        except TypeError:
            continue  # texts and times, which no chart draws
        names.append(name)
    times = [_time_text(when) for when in bars.index] if is_frame(bars) else [str(bar) for bar in range(table.count)]
    with path.open("w", encoding="utf-8", newline="\n") as file:
        file.write(",".join(json.dumps(name, ensure_ascii=False).replace('\\"', '""') for name in ["time", *names]) + "\n")
        for when, *values in zip(times, *columns):
            file.write(",".join([when, *("" if value != value else repr(value) for value in values)]) + "\n")


def _time_text(when: Any) -> str:
    text = str(when)
    return text[:10] if text.endswith(" 00:00:00") else text


def page(study: Any, bars: Any, path: Any, *, last: int | None = None, theme: str = "auto", title: str = "bars") -> str:
    expressions, named = study._texts
    settings = study._settings
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / f"{pathlib.Path(title).name}.csv"
        _write_bars(bars, file)
        chart = pathlib.Path(folder) / "chart.html"
        command = [*COMMAND, "chart", str(file), *expressions, *named.values(), "-o", str(chart), "--theme", theme]
        for option, value in (("--last", last), ("--history", settings["history"]), ("--digits", settings["digits"]),
                              ("--price-step", settings["price_step"] or None)):
            if value is not None:
                command += [option, str(value)]
        if settings["hold"]:
            command.append("--hold")
        done = subprocess.run(command, capture_output=True, text=True, encoding="utf-8", check=False)
        if done.returncode != 0:
            raise ValueError(done.stderr.strip().removeprefix("study: "))
        text = chart.read_text(encoding="utf-8")
    if path is not None:
        pathlib.Path(path).write_text(text, encoding="utf-8")
    return text
