"""What goes wrong with a text."""

from __future__ import annotations


class StudyError(ValueError):
    """An expression that can't be compiled, with the place of the fault.

    ``message`` tells what is wrong, ``text`` is the expression, ``offset`` and ``length`` are the place in it, in
    characters (the length is 0 at the end of the text), and ``nearest`` holds known words that look like an unknown one,
    the best first.
    """

    def __init__(self, message: str, source: str = "", text: str = "", offset: int = 0, length: int = 0,
                 nearest: tuple[str, ...] = ()) -> None:
        super().__init__(message, source, text, offset, length, nearest)
        encoded = text.encode()
        start = len(encoded[:offset].decode(errors="ignore"))
        self.message = message
        self.source = source
        self.text = text
        self.offset = start
        self.length = len(encoded[offset:offset + length].decode(errors="ignore"))
        self.nearest = nearest

    def __str__(self) -> str:
        if not self.text:
            return self.message
        start = self.text.rfind("\n", 0, self.offset) + 1
        line = self.text[start:].split("\n", 1)[0]
        marks = " " * (self.offset - start) + "^" * max(1, min(self.length, len(line) - self.offset + start))
        meant = f"; did you mean {' or '.join(self.nearest[:3])}?" if self.nearest else ""
        return f"{self.message}{meant}\n    {line}\n    {marks}"
