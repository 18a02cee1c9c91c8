"""Operators and studies by their names, with the arguments, ranges and meanings that the library tells of them."""

from __future__ import annotations

import inspect
import keyword
import math
from collections.abc import Mapping
from typing import Any

from . import _sarvane
from ._running import run
from ._tables import is_frame, is_structured


def operators() -> list[dict[str, Any]]:
    """All operators as they describe themselves: name, sentence, arguments (name, kind, default, range, meaning, words)
    and outputs (name, meaning, how it is best drawn)."""
    return _sarvane.operators()


def studies() -> list[dict[str, Any]]:
    """All standard studies: name, sentence, group, source, choice, the definition's text, arguments and outputs."""
    return _sarvane.studies()


def _parameter(name: str) -> str:
    return name + "_" if keyword.iskeyword(name) or not name.isidentifier() else name


def _range(argument: Mapping[str, Any]) -> str:
    least, greatest = argument.get("least", -math.inf), argument.get("greatest", math.inf)
    if least == -math.inf and greatest == math.inf:
        return ""
    if greatest == math.inf:
        return f", {least:g} or more"
    return f", up to {greatest:g}" if least == -math.inf else f", {least:g} to {greatest:g}"


def _documentation(described: Mapping[str, Any]) -> str:
    lines = [described["sentence"], "", "Parameters", "----------"]
    for argument in described["arguments"]:
        kind = argument.get("kind", "curve or number")
        default = argument["default"]
        needed = f", default {default}" if default else ", optional" if argument.get("is_optional") else ""
        bound = " or a curve" if argument.get("can_be_bound") and kind not in ("curve", "bar") else ""
        lines += [f"{_parameter(argument['name'])} : {kind}{_range(argument)}{bound}{needed}", f"    {argument['meaning']}"]
        lines += [f"    {word}: {meaning}" for word, meaning in argument.get("words", [])]
    if described["outputs"]:
        lines += ["", "Outputs", "-------"]
        lines += [f"{output['name']} : {output['meaning']}" for output in described["outputs"]]
    for what in ("source", "choice"):
        if described.get(what):
            lines += ["", f"{what.capitalize()}: {described[what]}"]
    if described.get("text"):
        lines += ["", "Definition::", ""] + ["    " + line for line in described["text"].splitlines()]
    return "\n".join(lines)


class Call:
    """An operator or study with its arguments: a text for `run`, and a function of columns.

    ``str(call)`` is the expression. Called with a column for each curve that has no value yet, in order, it gives the
    operator's outputs: an array, or a dict of arrays where there are several. An operator on whole bars takes a table
    with open, high, low and close.
    """

    def __init__(self, described: Mapping[str, Any], values: Mapping[str, Any]) -> None:
        self.described = described
        self.values = dict(values)

    def _text(self, open_curves: Mapping[str, str]) -> str:
        arguments = self.described["arguments"]
        texts = [open_curves.get(argument["name"]) or _text_of(self.values.get(argument["name"])) for argument in arguments]
        while texts and not texts[-1]:
            texts.pop()
        return f"{self.described['name']}({', '.join(texts)})"

    def _needed(self) -> list[Mapping[str, Any]]:
        """The curves and bars that have no value yet."""
        return [argument for argument in self.described["arguments"]
                if argument["name"] not in self.values and not argument["default"] and not argument.get("is_optional")
                and argument.get("kind", "curve") in ("curve", "bar")]

    def __str__(self) -> str:
        usual = {"bar": "Bar"}
        return self._text({argument["name"]: usual.get(argument.get("kind", "curve"), "Close") for argument in self._needed()})

    def __repr__(self) -> str:
        return f"<{self}>"

    def __call__(self, *columns: Any) -> Any:
        needed = self._needed()
        if len(columns) == 1 and len(needed) != 1 and (isinstance(columns[0], Mapping) or is_frame(columns[0])):
            return self._unpacked(columns[0], run(columns[0], str(self), all_outputs=True))
        if len(columns) != len(needed):
            names = ", ".join(argument["name"] for argument in needed)
            raise TypeError(f"{self.described['name']} takes {len(needed)} columns ({names}), not {len(columns)}")
        table: dict[str, Any] = {}
        open_curves = {}
        for argument, column in zip(needed, columns):
            if argument.get("kind") == "bar":
                table.update(_prices(column))
                open_curves[argument["name"]] = "Bar"
            else:
                table[f"{argument['name']} (column)"] = column
                open_curves[argument["name"]] = f"'{argument['name']} (column)'"
        return self._unpacked(table, run(table, self._text(open_curves), all_outputs=True))

    def _unpacked(self, table: Any, result: Any) -> Any:
        outputs = {title.rsplit(".", 1)[-1] if len(result) > 1 else title: result[title] for title in result}
        return next(iter(outputs.values())) if len(outputs) == 1 else outputs


def _prices(bars: Any) -> dict[str, Any]:
    names = bars.columns if is_frame(bars) else bars.dtype.names if is_structured(bars) else bars
    found = {str(name).casefold(): bars[name] for name in names}
    missing = [name for name in ("open", "high", "low", "close") if name not in found]
    if missing:
        raise KeyError(missing[0])
    return {name: found[name] for name in ("open", "high", "low", "close")}


def _text_of(value: Any) -> str:
    if value is None:
        return ""
    if isinstance(value, bool):
        return str(int(value))
    if isinstance(value, float):
        return repr(value) if math.isfinite(value) else ("0 / 0" if value != value else "1e999" if value > 0 else "-1e999")
    return str(value)


class Function:
    """What `sarvane.op` and `sarvane.studies` hold: called with arguments, it gives a `Call`."""

    def __init__(self, described: Mapping[str, Any]) -> None:
        self.described = described
        self.__name__ = self.__qualname__ = described["name"]
        self.__doc__ = _documentation(described)
        self.__signature__ = inspect.Signature([
            inspect.Parameter(_parameter(argument["name"]), inspect.Parameter.POSITIONAL_OR_KEYWORD,
                              default=argument["default"] or None)
            for argument in described["arguments"]])

    def __call__(self, *values: Any, **named: Any) -> Call:
        names = [argument["name"] for argument in self.described["arguments"]]
        if len(values) > len(names):
            raise TypeError(f"{self.__name__} takes {len(names)} arguments, not {len(values)}")
        given = dict(zip(names, values))
        by_parameter = {_parameter(name).casefold(): name for name in names}
        for name, value in named.items():
            own = by_parameter.get(name.casefold())
            if own is None:
                raise TypeError(f"{self.__name__} has no argument {name!r}; it takes {', '.join(names)}")
            if own in given:
                raise TypeError(f"{self.__name__} got two values for {own!r}")
            given[own] = value
        return Call(self.described, {name: value for name, value in given.items() if value is not None})

    def __repr__(self) -> str:
        return f"<{self.__name__}: {self.described['sentence']}>"


class Namespace:
    """Functions by name, in any letter case."""

    def __init__(self, name: str, sentence: str, described: list[dict[str, Any]]) -> None:
        self.__name__ = name
        self.__doc__ = sentence
        self._functions = {one["name"]: Function(one) for one in described}
        self._folded = {one.casefold(): one for one in self._functions}

    def __getattr__(self, name: str) -> Function:
        functions: dict[str, Function] = self.__dict__.get("_functions", {})
        own = self.__dict__.get("_folded", {}).get(name.casefold())
        if own is None:
            raise AttributeError(f"there is no {name!r} in sarvane.{self.__name__}")
        return functions[own]

    def __dir__(self) -> list[str]:
        return list(self._functions)

    def __iter__(self) -> Any:
        return iter(self._functions.values())

    def __len__(self) -> int:
        return len(self._functions)
