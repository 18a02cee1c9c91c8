"""`df.sarvane(...)` of a pandas DataFrame."""

from __future__ import annotations

from typing import Any

from ._running import run


class Accessor:
    """`df.sarvane("RSI(Close, 14)")` is `sarvane.run(df, "RSI(Close, 14)")`, with all its parameters."""

    def __init__(self, frame: Any) -> None:
        self._frame = frame

    def __call__(self, *expressions: str, **options: Any) -> Any:
        return run(self._frame, *expressions, **options)


def register(pandas: Any) -> None:
    pandas.api.extensions.register_dataframe_accessor("sarvane")(Accessor)
