"""Columns of numbers in the kinds of tables that Python has, and results as a table of the same kind.

numpy and pandas are used where the caller has loaded them, and needed for nothing.
"""

from __future__ import annotations

import array
import datetime
import sys
from collections.abc import Mapping, Sequence
from typing import Any, Callable

from . import _sarvane


def module(name: str) -> Any:
    """A module that the caller has loaded, or None."""
    return sys.modules.get(name)


def is_frame(bars: Any) -> bool:
    pandas = module("pandas")
    return pandas is not None and isinstance(bars, pandas.DataFrame)


def is_structured(bars: Any) -> bool:
    numpy = module("numpy")
    return numpy is not None and isinstance(bars, numpy.ndarray) and bars.dtype.names is not None


class Table:
    """Bars in one of the kinds that are taken, column by column."""

    def __init__(self, bars: Any) -> None:
        self.bars = bars
        if is_frame(bars):
            self.names = [str(name) for name in bars.columns]
            self.read: Callable[[int], Any] = lambda index: bars.iloc[:, index]
        elif is_structured(bars):
            if bars.ndim != 1:
                raise ValueError(f"a structured array of bars has one dimension, not {bars.ndim}")
            self.names = list(bars.dtype.names)
            self.read = lambda index: bars[self.names[index]]
        elif isinstance(bars, Mapping):
            keys = list(bars)
            self.names = [str(name) for name in keys]
            self.read = lambda index: bars[keys[index]]
        else:
            raise TypeError(f"bars are a DataFrame, a dict of columns or a structured array, not {type(bars).__name__}")
        if is_frame(bars) and "time" not in map(str.casefold, self.names) and bars.index.dtype.kind == "M":
            # Expressions find the times of the index as the column "time".
            self.names.append("time")
            place, read = len(self.names) - 1, self.read
            self.read = lambda index: bars.index if index == place else read(index)
        if is_frame(bars) or is_structured(bars):
            self.count = len(bars)
        else:
            self.count = len(next(iter(bars.values()))) if bars else 0

    def column(self, index: int) -> Any:
        """An object whose buffer holds the numbers of a column, without a copy where they are doubles already."""
        name, values = self.names[index], self.read(index)
        if len(values) != self.count:
            raise ValueError(f"column {name!r} has {len(values)} values, and {self.names[0]!r} has {self.count}")
        return seconds(values) if name.casefold() == "time" else as_numbers(values, name)


def seconds(times: Any) -> Any:
    """Times of pandas or numpy as seconds since 1970, UTC; numbers as they are. None stands where there is no time. What
    a double can't hold of a second is dropped, so that a time never comes to lie in the next one."""
    pandas, numpy = module("pandas"), module("numpy")
    if pandas is not None and isinstance(times, (pandas.Series, pandas.Index)) and times.dtype.kind == "M":
        index = pandas.DatetimeIndex(times)
        times = (index.tz_convert("UTC").tz_localize(None) if index.tz is not None else index).to_numpy()
    if numpy is None or not isinstance(times, numpy.ndarray) or times.dtype.kind != "M":
        return as_numbers(times, "time")
    moments = times.astype("datetime64[ns]").astype("int64")
    whole, rest = numpy.divmod(moments, 1_000_000_000)
    exact = whole + rest / 1e9
    exact = numpy.where(exact < whole + 1, exact, numpy.nextafter(whole + 1.0, whole.astype("float64")))
    return numpy.where(numpy.isnat(times), numpy.nan, exact)


def seconds_of(when: Any) -> float:
    """A time of Python, numpy or pandas as seconds since 1970, UTC."""
    numpy = module("numpy")
    if hasattr(when, "timestamp"):
        aware = when if when.tzinfo is not None else when.replace(tzinfo=datetime.timezone.utc)
        return float(aware.timestamp())
    if isinstance(when, datetime.date):
        return (when - datetime.date(1970, 1, 1)).total_seconds()
    if numpy is not None and isinstance(when, numpy.datetime64):
        return float(seconds(numpy.array([when]))[0])
    return float(when)


def as_numbers(values: Any, name: str) -> Any:
    pandas, numpy = module("pandas"), module("numpy")
    try:
        if pandas is not None and isinstance(values, (pandas.Series, pandas.Index)):
            values = _numbers_of_series(values)
        if numpy is not None and isinstance(values, numpy.ndarray):
            return _numbers_of_array(values)
        if isinstance(values, (array.array, memoryview)):
            return values
        if isinstance(values, Sequence) and not isinstance(values, (str, bytes)):
            return array.array("d", [float("nan") if value is None else value for value in values])
        if numpy is not None:
            return _numbers_of_array(numpy.asarray(values))
    except (TypeError, ValueError) as error:
        raise TypeError(f"column {name!r} holds no numbers: {error}") from error
    raise TypeError(f"column {name!r} holds no numbers but {type(values).__name__}")


def _numbers_of_series(series: Any) -> Any:
    if series.dtype.kind in "mM":
        raise TypeError("it holds times")
    if type(series.dtype).__module__.startswith("numpy"):
        return series.to_numpy()
    return series.to_numpy(dtype="float64", na_value=float("nan"))


def _numbers_of_array(values: Any) -> Any:
    if values.ndim != 1:
        raise ValueError(f"it has {values.ndim} dimensions")
    if values.dtype.kind in "mMUS" or values.dtype.names:
        raise TypeError(f"its type is {values.dtype}")
    is_plain = values.dtype.kind in "biuf" and values.dtype.itemsize in (1, 4, 8) and values.dtype.isnative
    if values.dtype.kind == "i" and values.dtype.itemsize == 2:
        is_plain = values.dtype.isnative
    return values if is_plain else values.astype("float64")


def new_column(count: int) -> Any:
    """An array of doubles for results: numpy's where numpy is loaded."""
    numpy = module("numpy")
    return numpy.empty(count) if numpy is not None else array.array("d", bytes(8 * count))


def label_column(values: Any) -> Any:
    """The texts of a column of labels, None where there is none."""
    texts = _sarvane.labels(values)
    numpy = module("numpy")
    if numpy is None:
        return texts
    column = numpy.empty(len(texts), dtype=object)
    column[:] = texts
    return column


def same_kind(table: Table, columns: dict[str, Any]) -> Any:
    """Results as a table of the kind of the bars, with a DataFrame's index."""
    if is_frame(table.bars):
        pandas = module("pandas")
        frame = pandas.DataFrame(dict(enumerate(columns.values())), index=table.bars.index, copy=False)
        frame.columns = list(columns)
        return frame
    if is_structured(table.bars):
        numpy = module("numpy")
        result = numpy.empty(table.count, dtype=[(title, values.dtype) for title, values in columns.items()])
        for title, values in columns.items():
            result[title] = values
        return result
    return columns
