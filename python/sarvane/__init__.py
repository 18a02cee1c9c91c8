"""Streaming technical-analysis operators and studies, for whole columns and bar by bar.

    import sarvane

    table = sarvane.run(bars, "Sim(Close, 20)", rsi="RSI(Close, 14)")   # a DataFrame, dict or structured array
    study = sarvane.Study("RSI(Close, 14)")                            # live: append, tick, correct, save, restore
    sarvane.bars(trades, "5min")                                       # bars of another frame, of bars or trades
    sarvane.op.Sim(period=20)(close)                                   # a single operator over an array
    help(sarvane.studies.RSI)                                          # what a study computes, and its arguments

Results are the same to the last bit on every machine, and those of the program ``study``.
"""

from __future__ import annotations

import importlib.util as _importlib

from . import _accessor, _sarvane
from . import _library as _library
from ._bars import bars
from ._calls import Call, Function, Namespace, operators
from ._calls import studies as _studies
from ._live import Study
from ._running import run, run_many
from .errors import StudyError

#: Operators by keyword: ``sarvane.op.Sim(period=20)(close)``.
op = Namespace("op", "The operators, by keyword.", operators())
#: Standard studies by name: ``sarvane.studies.RSI(n=14)(close)``.
studies = Namespace("studies", "The standard studies, by name.", _studies())

__version__: str = _sarvane.version
__all__ = ["Call", "Function", "Namespace", "Study", "StudyError", "op", "bars", "operators", "run", "run_many", "studies"]

# A DataFrame has the accessor whichever of the two packages was imported first.
if _importlib.find_spec("pandas"):
    import pandas as _pandas

    _accessor.register(_pandas)
