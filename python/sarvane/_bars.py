"""Bars of another frame, of shorter bars or of trades."""

from __future__ import annotations

import array
import warnings
from typing import Any

from . import _sarvane
from ._tables import Table, as_numbers, is_frame, module, new_column

SIZES = ("size", "qty", "quantity", "amount")
IDS = ("id", "trade_id", "tradeid", "trade id", "agg_trade_id")


def bars(source: Any, frame: str, *, fill: bool = False) -> Any:
    """Makes bars of a frame.

    >>> import pandas
    >>> days = pandas.date_range("2024-01-01", periods=7)
    >>> daily = pandas.DataFrame({"close": [1.0, 5, 2, 3, 4, 2, 7], "volume": 10.0}, index=days)
    >>> bars(daily, "3bars")
                close  volume
    2024-01-01    2.0    30.0
    2024-01-04    2.0    30.0
    2024-01-07    7.0    10.0

    Parameters
    ----------
    source
        Bars: a DataFrame whose index holds times, or a dict of columns of which one is ``time``, as numpy's times or as
        seconds since 1970, UTC. A bar of the frame has the first ``open``, the greatest ``high``, the least ``low``, the
        last ``close``, the sum of ``volume``, and of each other column of numbers the last value. Missing values, which
        are NaN, don't enter. Or trades: columns ``price`` and ``size`` (or ``qty``, ``quantity``, ``amount``) without
        open, high and low, and perhaps ``id``; the bars have open, high, low, close and volume.
    frame
        ``"5min"``, ``"1h"``, ``"1d"``, ``"1W"``, ``"1M"``, with the start of the session and a time zone where they count,
        ``"1h 09:30 America/New_York"``; ``"100ticks"``, ``"5bars"``, ``"10000volume"``, ``"1e6value"``, ``"2range"``,
        ``"2renko"``, ``"heikinashi"``. Times without a zone count as UTC.
    fill
        Stretches of the session without a row become bars, too, at the last close and without volume.

    Returns
    -------
    A table of the kind of ``source``; the last bar may still form. Times are those at which a bar begins.

    Warns
    -----
    UserWarning
        Rows that don't stand in the order of their times are put in order, a later row with the time of a bar replaces
        it, and trades with the id of an earlier one are left out; how many there were is told.

    Raises
    ------
    StudyError
        For a frame that is none, or that goes by a column which is missing.
    TypeError, ValueError
        For a source of another kind, and one without times.
    """
    table = Table(source)
    place = next((i for i, name in enumerate(table.names) if name.casefold() == "time"), None)
    if place is None:
        raise ValueError("bars of a frame need times: an index of times, or a column 'time'")
    known = {name.casefold(): i for i, name in enumerate(table.names) if i != place}
    price, size = known.get("price"), next((known[name] for name in SIZES if name in known), None)
    are_trades = price is not None and size is not None and not known.keys() & {"open", "high", "low"}
    times = _nanoseconds(table.read(place))
    if len(times) != table.count:
        raise ValueError(f"there are {len(times)} times and {table.count} rows")
    columns: dict[str, Any] = {}
    if are_trades:
        assert price is not None and size is not None
        columns = dict.fromkeys(("open", "high", "low", "close"), table.column(price))
        columns["volume"] = table.column(size)
    for name, i in known.items():
        if are_trades and (i in (price, size) or name in IDS):
            continue
        try:
            columns[table.names[i]] = as_numbers(table.read(i), table.names[i])
        except TypeError:
            continue  # texts and times can't be put together
    ids = next((table.read(known[name]) for name in IDS if name in known), None) if are_trades else None
    rows = _order(times, None if ids is None else list(ids), are_trades)
    if rows is not None:
        times = array.array("q", [times[row] for row in rows])
        columns = {name: array.array("d", [values[row] for row in rows]) for name, values in columns.items()}
    missing = -2147483648.0
    given = [_with_gaps(values, missing) for values in columns.values()]
    count, made = _sarvane.make_bars(str(frame), tuple(columns), are_trades, fill, times, given)
    begins = array.array("q", bytes(8 * count))
    results = [new_column(count) for _ in columns]
    _sarvane.read_bars(made, count, begins, results)
    return _as_source(source, table.names[place], begins, dict(zip(columns, results)))


def _nanoseconds(times: Any) -> Any:
    """Times as whole numbers of nanoseconds since 1970, UTC."""
    numpy, pandas = module("numpy"), module("pandas")
    if pandas is not None and isinstance(times, (pandas.Index, pandas.Series)) and times.dtype.kind == "M":
        index = pandas.DatetimeIndex(times)
        times = (index.tz_convert("UTC").tz_localize(None) if index.tz is not None else index).to_numpy()
    if numpy is not None and isinstance(times, numpy.ndarray) and times.dtype.kind == "M":
        if numpy.isnat(times).any():
            raise ValueError("a row has no time")
        return numpy.ascontiguousarray(times.astype("datetime64[ns]").astype("int64"))
    second = 1_000_000_000
    result = array.array("q")
    for value in as_numbers(times, "time"):
        if not abs(value) < 9e9:
            raise ValueError(f"{value!r} is no time in seconds since 1970")
        whole = int(value // 1)
        result.append(whole * second + round((value - whole) * second))
    return result


def _order(times: Any, ids: Any, are_trades: bool) -> list[int] | None:
    """The rows in the order of their times, without those that a later row replaces; None if all stand as they are."""
    numpy = module("numpy")
    if numpy is not None and ids is None:
        steps = numpy.diff(numpy.asarray(times))
        if (steps >= 0).all() if are_trades else (steps > 0).all():
            return None
    kept: list[int] = []
    seen = set()
    for row in range(len(times)):
        if ids is None or ids[row] not in seen:
            kept.append(row)
        if ids is not None:
            seen.add(ids[row])
    dropped = len(times) - len(kept)
    late = sum(times[b] < times[a] for a, b in zip(kept, kept[1:]))
    kept.sort(key=times.__getitem__)
    repeated = 0
    if not are_trades:
        last = {times[row]: row for row in kept}
        repeated = len(kept) - len(last)
        kept = list(last.values())
    for count, what in ((dropped, "trades have the id of an earlier one and are left out"),
                        (late, "rows stand behind a later one: all are taken in the order of their times"),
                        (repeated, "rows have the time of a bar before, and take its place")):
        if count:
            warnings.warn(f"{count} {what}", stacklevel=3)
    return kept


def _with_gaps(values: Any, missing: float) -> Any:
    numpy = module("numpy")
    if numpy is not None:
        numbers = numpy.asarray(values, dtype="float64")
        gaps = numpy.isnan(numbers)
        return numpy.where(gaps, missing, numbers) if gaps.any() else numbers
    return array.array("d", [missing if value != value else value for value in values])


def _as_source(source: Any, time: str, begins: Any, columns: dict[str, Any]) -> Any:
    numpy, pandas = module("numpy"), module("pandas")
    if is_frame(source):
        index = pandas.DatetimeIndex(numpy.frombuffer(begins, dtype="int64").astype("datetime64[ns]"))
        own = source.index if isinstance(source.index, pandas.DatetimeIndex) else None
        if own is not None:
            index = index.tz_localize("UTC").tz_convert(own.tz) if own.tz is not None else index
            index.name = own.name
        return pandas.DataFrame(columns, index=index)
    seconds = array.array("d", [begin / 1e9 for begin in begins])
    if numpy is None:
        return {time: seconds, **columns}
    given = source[time]
    is_time = getattr(getattr(given, "dtype", None), "kind", "") == "M"
    moments = numpy.frombuffer(begins, dtype="int64")
    table = {time: moments.astype("datetime64[ns]") if is_time else numpy.asarray(seconds), **columns}
    if isinstance(source, numpy.ndarray):
        made = numpy.empty(len(begins), dtype=[(name, values.dtype) for name, values in table.items()])
        for name, values in table.items():
            made[name] = values
        return made
    return table
