"""A study that takes bars as they come."""

from __future__ import annotations

import bisect
from typing import Any

from . import _chart, _sarvane
from ._tables import seconds_of
from ._running import Compiled, run, takes_nan_for_gap

#: The columns that a study looks for where none are named.
USUAL = ("open", "high", "low", "close", "volume", "time")


class Study(_sarvane.Live):
    """Expressions that are calculated bar by bar, whose last bar ticks, and whose older bars are corrected.

    >>> study = Study("Sim(Close, 3)")
    >>> for close in (1.0, 2.0, 3.0):
    ...     value = study.append({"close": close})
    >>> value
    2.0
    >>> study.tick({"close": 6.0})
    3.0

    Parameters
    ----------
    *expressions, **named
        As `sarvane.run` takes them.
    columns
        Names of the columns of a bar. If not given, those of open, high, low, close, volume and time that the expressions
        read. A bar without a ``time``, in seconds since 1970, UTC, has the one that `append` was given.
    gaps, all_outputs, history, digits, hold, price_step
        As in `sarvane.run`.

    A bar is a dict such as ``{"close": 101.5}`` (other keys are left alone), a sequence of numbers in the order of
    `columns`, a single float where there is one column, or a row of a DataFrame. None stands for a missing value.
    `append`, `tick` and `correct` give the values of the last bar: a float (or the text of a label, or None without one)
    where the study has one column, and a tuple in the order of `titles` where it has several.

    Values are those of `sarvane.run` over the same bars, to the last bit, whatever ticks, corrections and restores came
    between; operators that mark the last bar take each bar for the last one, as it was when it came.

    A study can be pickled; it comes back with its bars and saves. Each thread needs studies of its own.
    """

    _compiled: Compiled
    _texts: tuple[tuple[str, ...], dict[str, str]]
    _settings: dict[str, Any]
    _names: tuple[str, ...]
    _folded: dict[str, int]
    _times: list[Any]
    _now: Any  # the time of the bar that is taken in

    def __new__(cls, *expressions: str, columns: Any = None, gaps: str = "missing", all_outputs: bool = False,
                history: int | None = None, digits: int | None = None, hold: bool = False, price_step: float = 0.0,
                **named: str) -> Study:
        is_gap = takes_nan_for_gap(gaps)
        settings: dict[str, Any] = {"all_outputs": all_outputs, "history": history, "digits": digits}
        if columns is None:
            reads = Compiled(USUAL, expressions, named, **settings).info["reads"]
            columns = [name for name, is_read in zip(USUAL, reads) if is_read]
        names = tuple(str(name) for name in columns)
        compiled = Compiled(names, expressions, named, **settings)
        self = super().__new__(cls, compiled.module, names, is_gap, hold, price_step)
        self._compiled = compiled
        self._texts = (expressions, named)
        self._settings = {**settings, "gaps": gaps, "hold": hold, "price_step": price_step}
        self._names = names
        self._folded = {name.casefold(): place for place, name in enumerate(names)}
        self._times = []
        self._now = None
        return self

    # append, tick, save, restore and len() are methods of the module in C.

    @property
    def columns(self) -> tuple[str, ...]:
        """The names of the values of a bar, in the order of a sequence."""
        return self._names

    @property
    def titles(self) -> list[str]:
        """The titles of the results."""
        return list(self._compiled.titles)

    @property
    def values(self) -> dict[str, Any]:
        """The values of the last bar by title: floats, NaN where there is none; a label's text or None."""
        return dict(zip(self._compiled.titles, self._results()))

    @property
    def lookback(self) -> int:
        """How many bars the longest chain of operators looks back."""
        return int(self._compiled.info["lookback"])

    @property
    def plan(self) -> list[dict[str, Any]]:
        """What is calculated on a bar, in order: the text of each part, how often expressions asked for it, the places
        that it reads (the columns come first) and the first place that it writes."""
        return list(self._compiled.info["nodes"])

    @property
    def warnings(self) -> list[str]:
        """What is no error and yet worth a word: arguments that their operator does not take as they stand."""
        return list(self._compiled.info["warnings"])

    @property
    def times(self) -> list[Any]:
        """The times of the bars, where `append` was given them."""
        return list(self._times)

    def correct(self, when: Any, bar: Any) -> Any:
        """Gives an older bar other values, and calculates what follows from that.

        ``when`` is the time that the bar was appended with, or its number from 0 on; negative numbers count from the
        last bar. The first correction goes through all bars, later ones start near the corrected bar.

        Raises
        ------
        IndexError
            For a number that is no bar.
        KeyError
            For a time that is none.
        """
        if self._times and len(self._times) == len(self):
            place = bisect.bisect_left(self._times, when)
            if place == len(self._times) or self._times[place] != when:
                raise KeyError(when)
            self._now, last = when, self._now
            try:
                return self._correct(place, bar)
            finally:
                self._now = last
        index = when.__index__()
        return self._correct(index + len(self) if index < 0 else index, bar)

    def restore(self, slot: int) -> None:
        """Goes back to what `save` put into a slot. The slots above it are forgotten."""
        super().restore(slot)
        del self._times[len(self):]
        self._now = self._times[-1] if self._times else None

    def extend(self, bars: Any) -> None:
        """Appends all bars of a DataFrame, a dict of columns or a structured array."""
        from ._tables import Table, as_numbers, is_frame

        table = Table(bars)
        places = {name.casefold(): place for place, name in enumerate(table.names)}
        missing = [name for name in self._names if name.casefold() not in places]
        if missing:
            raise KeyError(missing[0])
        columns = [memoryview(as_numbers(table.column(places[name.casefold()]), name)).tolist() for name in self._names]
        if is_frame(bars) and (self._times or not len(self)):
            for when, *bar in zip(bars.index, *columns):
                self.append(bar, when)
        else:
            for bar in zip(*columns):
                self.append(bar)

    def to_html(self, bars: Any, path: Any = None, **options: Any) -> str:
        """The page of a chart of these expressions over bars, as a text; it is written to ``path``, too, if one is given.

        The page needs nothing else, and no network. ``last`` bars are in view at first; ``theme`` is ``"light"``,
        ``"dark"`` or ``"auto"``.
        """
        return _chart.page(self, bars, path, **options)

    def plot(self, bars: Any, height: int = 600, **options: Any) -> _chart.Plot:
        """The chart of these expressions over bars, which a notebook shows. Options are those of `to_html`."""
        return _chart.Plot(_chart.page(self, bars, None, **options), height)

    def run(self, bars: Any) -> Any:
        """`sarvane.run` of these expressions over other bars, without a change of this study."""
        expressions, named = self._texts
        options: dict[str, Any] = {**self._settings, **named}
        return run(bars, *expressions, **options)

    def __reduce__(self) -> Any:
        return _unpickled, (type(self), self._texts, self._names, self._settings, self._state(), self._times)

    def __repr__(self) -> str:
        return f"<{type(self).__name__} of {', '.join(self.titles)}: {len(self)} bars>"

    # ---- For the module in C

    def _row(self, bar: Any) -> list[Any]:
        """The values of a bar of another kind than a list, a tuple, or a dict with the columns' own names."""
        if hasattr(bar, "keys"):
            found = [(place, bar[key]) for key in bar.keys()
                     if (place := self._folded.get(str(key).casefold())) is not None]
            row: list[Any] = [None] * len(self._names)
            for place, value in found:
                row[place] = value
            missing = set(range(len(row))) - {place for place, _ in found}
            clock = self._folded.get("time")
            if clock in missing and self._now is not None:
                row[clock] = seconds_of(self._now)
                missing.discard(clock)
            if missing:
                raise KeyError(self._names[min(missing)])
            return row
        if len(self._names) == 1 and hasattr(bar, "__float__") and not hasattr(bar, "__len__"):
            return [bar]
        return list(bar)

    def _append_at(self, bar: Any, when: Any) -> Any:
        if len(self._times) != len(self):
            raise ValueError("the bars so far have no times")
        if self._times and not when > self._times[-1]:
            raise ValueError(f"{when!r} does not come after the last bar, {self._times[-1]!r}")
        before, self._now = self._now, when
        try:
            values = self.append(bar)
        except BaseException:
            self._now = before
            raise
        self._times.append(when)
        return values


def _unpickled(cls: Any, texts: Any, names: Any, settings: Any, state: Any, times: Any) -> Study:
    expressions, named = texts
    study: Study = cls(*expressions, columns=names, **settings, **named)
    study._set_state(*state)
    study._times = list(times)
    study._now = study._times[-1] if study._times else None
    return study
