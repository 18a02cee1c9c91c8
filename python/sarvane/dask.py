"""Studies over the symbols of a Dask DataFrame, on one machine or a cluster."""

from __future__ import annotations

import hashlib
import io
import json
import urllib.parse
import uuid
from typing import Any

import numpy
import pandas

from ._running import run as _run_columns
from ._running import run_many


def run(ddf: Any, /, *expressions: str, by: str = "symbol", time: str = "date", shuffled: bool = False,
        carry: bool = False, store: str | None = None, storage_options: dict[str, Any] | None = None, **options: Any) -> Any:
    """Runs expressions over each symbol of a Dask DataFrame.

    Parameters
    ----------
    ddf
        A Dask DataFrame whose rows are bars of many symbols.
    *expressions, **options
        As `sarvane.run` takes them.
    by, time
        The columns that tell the symbol of a bar and its time. Bars of a symbol are taken in the order of their times,
        equal times in the order in which they come.
    shuffled
        Each symbol's bars lie in one partition already, as after ``ddf.shuffle(by)`` or in files by symbol. Otherwise
        they are shuffled first, since a symbol must not be split.
    carry
        Go on from the last run: keeps a file for each symbol in the folder ``store`` (a URL that fsspec takes, with its
        ``storage_options``), so that the next run needs only the new bars. The file holds the columns that the
        expressions read, since averages depend on each bar before to the last bit. A bar that it has already must have
        the same values, and gets its result again: a task that is repeated, because a worker was lost, does no harm.

    Returns
    -------
    A Dask DataFrame with the columns ``by`` and ``time`` and one for each result, whose rows have the index of the bars,
    ordered by symbol and time within each partition. What its columns are is known without computing.

    Raises
    ------
    StudyError, TypeError, ValueError
        As `sarvane.run`, before anything is computed. While computing with ``carry``, a ValueError for a bar that lies
        before the last one that was kept and is none of those, or has other values, for two bars of one time, and for
        results that can't be repeated.
    """
    for column in (by, time):
        if column not in ddf.columns:
            raise ValueError(f"there is no column {column!r}")
    if carry != (store is not None):
        raise ValueError("carry=True needs the folder of the states, store=..., and nothing else does")
    sample = ddf._meta.iloc[:0]
    meta = _with_keys(sample, _run_columns(_bars_of(sample, by, time), *expressions, **options), by, time)
    whole = ddf if shuffled else ddf.shuffle(on=by)
    work = {"expressions": expressions, "by": by, "time": time, "options": options}
    if carry:
        return whole.map_partitions(_carried, store=store, storage_options=storage_options or {}, meta=meta, **work)
    return whole.map_partitions(_plain, meta=meta, **work)


def _with_keys(bars: Any, results: Any, by: str, time: str) -> Any:
    table = pandas.concat([bars[[by, time]], results], axis=1)
    table.columns = [by, time, *results.columns]
    return table


def _bars_of(table: Any, by: str, time: str) -> Any:
    """The columns of the bars; their times, where they are such, as the column that expressions know as time."""
    has_time = table[time].dtype.kind == "M" and "time" not in (str(name).casefold() for name in table if name != time)
    return table.drop(columns=[by]).rename(columns={time: "time"}) if has_time else table.drop(columns=[by, time])


def _plain(part: Any, *, expressions: tuple[str, ...], by: str, time: str, options: dict[str, Any]) -> Any:
    ordered = part.sort_values([by, time], kind="stable")
    bars = _bars_of(ordered, by, time)
    if ordered.empty:
        return _with_keys(ordered, _run_columns(bars, *expressions, **options), by, time)
    groups = bars.groupby(ordered[by].to_numpy(), sort=False)
    # One thread: the engine gives a machine's cores to its partitions.
    return _with_keys(ordered, run_many(groups, *expressions, threads=1, **options), by, time)


# ---- What is carried from run to run


def _carried(part: Any, *, expressions: tuple[str, ...], by: str, time: str, options: dict[str, Any], store: str,
             storage_options: dict[str, Any]) -> Any:
    import fsspec

    files, folder = fsspec.core.url_to_fs(store, **storage_options)
    ordered = part.sort_values([by, time], kind="stable")
    empty = _run_columns(_bars_of(ordered.iloc[:0], by, time), *expressions, **options)
    if ordered.empty:
        return _with_keys(ordered, empty, by, time)
    files.makedirs(folder, exist_ok=True)
    wanted = json.dumps([expressions, options], sort_keys=True)
    pieces = [_go_on(files, _place(folder, symbol), symbol, wanted, _times(rows[time]), rows.drop(columns=[by, time]),
                     lambda bars: _run_columns(bars, *expressions, **options))
              for symbol, rows in ordered.groupby(by, sort=False)]
    results = pandas.concat(pieces)
    results.index = ordered.index
    return _with_keys(ordered, results, by, time)


def _place(folder: str, symbol: Any) -> str:
    """A name that every file store takes; symbols that differ in letter case alone have different ones."""
    text = str(symbol)
    return f"{folder.rstrip('/')}/{urllib.parse.quote(text, safe='')[:80]}-{hashlib.sha256(text.encode()).hexdigest()[:12]}.npz"


def _times(column: Any) -> Any:
    if isinstance(column.dtype, pandas.DatetimeTZDtype):
        column = column.dt.tz_convert("UTC").dt.tz_localize(None)
    times = column.to_numpy()
    return times.astype(str) if times.dtype == object else times


def _go_on(files: Any, place: str, symbol: Any, wanted: str, times: Any, bars: Any, run: Any) -> Any:
    """The results of these bars of a symbol, which what is kept of it then has, too."""
    if (times[1:] <= times[:-1]).any():
        raise ValueError(f"{symbol!r} has two bars of one time")
    numbers = {name: bars[name].to_numpy(dtype="float64", na_value=numpy.nan)
               for name in bars if bars[name].dtype.kind in "biuf"}
    kept = _load(files, place)
    if kept is None:
        every, every_time, places = numbers, times, numpy.arange(len(times))
    else:
        if kept["wanted"].item() != wanted:
            raise ValueError(f"{place} is of other expressions or settings")
        every, every_time, places = _joined(symbol, kept, times, numbers)
    index = pandas.DatetimeIndex(every_time) if every_time.dtype.kind == "M" else None
    results = run(pandas.DataFrame(every, index=index))
    if kept is not None:
        _check_last(symbol, kept, results.iloc[len(kept["times"]) - 1])
    if kept is None or len(every_time) > len(kept["times"]):
        _keep(files, place, {"wanted": numpy.array(wanted), "times": every_time, "last": _texts(results.iloc[-1]),
                             **{f"column {name}": column for name, column in every.items()}})
    return results.iloc[places]


def _joined(symbol: Any, kept: Any, times: Any, numbers: dict[str, Any]) -> Any:
    """All bars of a symbol, their times, and where the new table's bars stand among them."""
    known = kept["times"]
    is_new = times > known[-1]
    places = numpy.searchsorted(known, times[~is_new])
    if not numpy.array_equal(known[places], times[~is_new]):
        raise ValueError(f"{symbol!r} has a bar before {known[-1]} that the last run did not have")
    every = {}
    for name, column in numbers.items():
        before = kept.get(f"column {name}")
        if before is None:
            raise ValueError(f"the last run of {symbol!r} had no column {name!r}")
        if not numpy.array_equal(before[places], column[~is_new], equal_nan=True):
            raise ValueError(f"bars of {symbol!r} have other values in {name!r} than in the last run")
        every[name] = numpy.concatenate([before, column[is_new]])
    new_places = numpy.arange(is_new.sum()) + len(known)
    return every, numpy.concatenate([known, times[is_new]]), numpy.concatenate([places, new_places])


def _texts(row: Any) -> Any:
    return numpy.array([value.hex() if isinstance(value, float) else repr(value) for value in row.tolist()])


def _check_last(symbol: Any, kept: Any, row: Any) -> None:
    if not numpy.array_equal(_texts(row), kept["last"]):
        raise ValueError(f"the results of the last run of {symbol!r} can't be repeated: it was another version")


def _load(files: Any, place: str) -> dict[str, Any] | None:
    if not files.exists(place):
        return None
    with files.open(place, "rb") as file, numpy.load(io.BytesIO(file.read()), allow_pickle=False) as arrays:
        return {name: arrays[name] for name in arrays.files}


def _keep(files: Any, place: str, arrays: dict[str, Any]) -> None:
    """Whoever reads meanwhile sees the old file or the new one, and never a part."""
    beside = f"{place}.{uuid.uuid4().hex[:8]}"
    with files.open(beside, "wb") as file:
        packed = io.BytesIO()
        numpy.savez(packed, **arrays)
        file.write(packed.getvalue())
    files.mv(beside, place)
