"""Loads the libraries that lie beside this file."""

from __future__ import annotations

import pathlib
import sys

from . import _sarvane
from .errors import StudyError

FOLDER = pathlib.Path(__file__).resolve().parent
OPERATORS = FOLDER / ("sarvane.dll" if sys.platform == "win32" else "libsarvane.so.1")
PROGRAM = FOLDER / "bin" / ("study.exe" if sys.platform == "win32" else "study")

#: How a command of the program begins.
COMMAND = [str(PROGRAM), "--library", str(OPERATORS)]

_sarvane.open(OPERATORS, StudyError)

#: A setting of a whole number that stays at its default.
UNSET = -2147483648


def whole(value: int | None) -> int:
    return UNSET if value is None else value
