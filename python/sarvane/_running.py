"""Studies over whole columns."""

from __future__ import annotations

from collections.abc import Iterable, Mapping
from typing import Any

from . import _sarvane
from ._library import whole
from ._tables import Table, is_frame, label_column, module, new_column, same_kind


class Compiled:
    """Expressions compiled over the columns of a table, with their titles."""

    def __init__(self, names: Iterable[str], expressions: tuple[str, ...], named: Mapping[str, str], *,
                 all_outputs: bool, history: int | None, digits: int | None) -> None:
        texts = tuple(str(text) for text in expressions)
        named_texts = tuple(str(text) for text in named.values())
        if not texts and not named_texts:
            raise TypeError("no expression is given")
        self.module = _sarvane.compile(tuple(names), texts + named_texts, all_outputs, whole(history), whole(digits))
        self.results: list[dict[str, Any]] = self.module.results()
        self.info: dict[str, Any] = self.module.info()
        # A text that only defines names has no result: those with keywords are counted from the end.
        last = 1 + max((result["expression"] for result in self.results), default=-1)
        own = dict(zip(range(last - len(named), last), named))
        self.titles: list[str] = []
        for result in self.results:
            name = own.get(result["expression"])
            title = result["title"] if name is None else f"{name}.{result['output']}" if result["output"] else name
            self.titles.append(self._unused(title))

    def _unused(self, title: str) -> str:
        """Each column has a title of its own: the second of a title ends with " 2"."""
        number, wanted = 1, title
        while title in self.titles:
            number += 1
            title = f"{wanted} {number}"
        return title

    def inputs(self, table: Table) -> list[Any]:
        return [table.column(index) if is_read else None for index, is_read in enumerate(self.info["reads"])]

    def outputs(self, count: int) -> list[Any]:
        return [new_column(count) for _ in self.results]

    def columns(self, outputs: list[Any]) -> dict[str, Any]:
        return {title: label_column(values) if result["is_label"] else values
                for title, result, values in zip(self.titles, self.results, outputs)}


def takes_nan_for_gap(gaps: str) -> bool:
    if gaps not in ("missing", "nan"):
        raise ValueError(f"gaps is 'missing' (a NaN is a gap) or 'nan' (a NaN is a value), not {gaps!r}")
    return gaps == "missing"


def run(bars: Any, /, *expressions: str, gaps: str = "missing", all_outputs: bool = False, history: int | None = None,
        digits: int | None = None, hold: bool = False, price_step: float = 0.0, **named: str) -> Any:
    """Runs expressions over bars, and gives a column for each.

    Parameters
    ----------
    bars
        A pandas DataFrame, a dict of columns, or a numpy structured array. Expressions find columns by their names, in
        any letter case; ``open``, ``high``, ``low`` and ``close`` make the ``Bar``. Columns of doubles are read where
        they are, in any stride; other numbers are converted; what no expression reads is left alone.
    *expressions
        Such as ``"Sim(Close, 20)"``. A text such as ``"fast = Exp(Close, 12)"`` gives a name that later expressions
        can use.
    gaps
        ``"missing"``: a NaN in a column is a missing value. ``"nan"``: it is a value, which the operators calculate
        with.
    all_outputs
        A column for each output of an expression with several, instead of one for the first.
    history
        Bars that operators keep where no argument says how many; 400 if not given.
    digits
        Of precision, 4 to 15, for the averages that round.
    hold
        Bar arithmetic repeats a missing input.
    price_step
        That some operators round to; 0 leaves it at 1.
    **named
        Expressions with the titles of their columns: ``rsi="RSI(Close, 14)"``.

    Returns
    -------
    A table of the kind of ``bars`` with as many rows: a DataFrame with the same index, a dict of arrays (numpy's if numpy
    is loaded, else ``array.array``), or a structured array. Values are doubles, and NaN where there is none. Labels are
    strings, and None where there is none.

    Raises
    ------
    StudyError
        For an expression that can't be compiled; it tells the place.
    TypeError, ValueError
        For bars of another kind, columns that hold no numbers, and columns of different lengths.
    """
    is_gap = takes_nan_for_gap(gaps)
    table = Table(bars)
    compiled = Compiled(table.names, expressions, named, all_outputs=all_outputs, history=history, digits=digits)
    outputs = compiled.outputs(table.count)
    compiled.module.run(table.count, compiled.inputs(table), outputs, is_gap, hold, price_step)
    return same_kind(table, compiled.columns(outputs))


def run_many(groups: Any, /, *expressions: str, threads: int = 0, gaps: str = "missing", all_outputs: bool = False,
             history: int | None = None, digits: int | None = None, hold: bool = False, price_step: float = 0.0,
             **named: str) -> Any:
    """Runs expressions over many symbols, on all cores.

    Parameters
    ----------
    groups
        A dict of bars by symbol (each as `run` takes them, all with the same columns), or what ``df.groupby("symbol")``
        gives.
    threads
        How many; 0 for as many as the machine runs at once. The results don't depend on it.

    All other parameters are those of `run`.

    Returns
    -------
    A dict of results by symbol; for a groupby, one DataFrame with the rows and the index of the grouped one.
    """
    is_gap = takes_nan_for_gap(gaps)
    pandas = module("pandas")
    is_grouped = pandas is not None and isinstance(groups, pandas.core.groupby.DataFrameGroupBy)
    if is_grouped:
        whole_frame = groups.obj
        places = list(groups.indices.values())
        tables = [Table(whole_frame.iloc[rows]) for rows in places]
        first_names = Table(whole_frame).names
    elif isinstance(groups, Mapping):
        tables = [Table(bars) for bars in groups.values()]
        first_names = tables[0].names if tables else []
    else:
        raise TypeError(f"groups are a dict of bars or a groupby of a DataFrame, not {type(groups).__name__}")
    for table in tables:
        if table.names != first_names:
            raise ValueError(f"all groups need the same columns: {first_names} and {table.names}")
    if not tables and not is_grouped:
        return {}
    compiled = Compiled(first_names, expressions, named, all_outputs=all_outputs, history=history, digits=digits)
    outputs = [compiled.outputs(table.count) for table in tables]
    jobs = [(table.count, compiled.inputs(table), columns) for table, columns in zip(tables, outputs)]
    compiled.module.run_many(jobs, threads, is_gap, hold, price_step)
    if not is_grouped:
        return {name: same_kind(table, compiled.columns(columns))
                for name, table, columns in zip(groups, tables, outputs)}
    return _ungrouped(whole_frame, places, [compiled.columns(columns) for columns in outputs], compiled)


def _ungrouped(frame: Any, places: list[Any], results: list[dict[str, Any]], compiled: Compiled) -> Any:
    numpy, pandas = module("numpy"), module("pandas")
    columns = {}
    for title, result in zip(compiled.titles, compiled.results):
        column = numpy.full(len(frame), None if result["is_label"] else numpy.nan, dtype=object if result["is_label"] else float)
        for rows, values in zip(places, results):
            column[rows] = values[title]
        columns[title] = column
    return same_kind(Table(frame), columns) if is_frame(frame) else pandas.DataFrame(columns)
