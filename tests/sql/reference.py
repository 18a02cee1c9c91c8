"""What both databases are compared with: values of `study run`, for expressions that make use of every operator."""
import csv
import json
import os
import re
import struct
import subprocess
import tempfile

STUDY = os.environ["STUDY_PROGRAM"]
BAR_FILE = os.environ["BAR_FILE"]
PROJECT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
DOCUMENT = os.path.join(PROJECT, "docs/sql.md")
COLUMNS = "open,high,low,close,volume"


def bars():
    """The shipped bars: a day and five texts of numbers each."""
    with open(BAR_FILE, newline="") as file:
        return list(csv.reader(file))[1:]


def expressions(describe, names):
    """One for each output of each operator. `describe` gives the rows of study_describe()."""
    stand_in = {"curve": "Close", "bar": "Bar", "number": "2", "switch": "1"}
    found = []
    for name in names:
        rows = describe(name)
        given = [row["default"] or stand_in.get(row["kind"], "5") if row["optional"] in ("0", "f") else ""
                 for row in rows if row["part"] == "argument"]
        outputs = [row["name"] for row in rows if row["part"] == "output"]
        call = f"{name}({', '.join(given)})" if name != "KalmanFilter" else "KalmanFilter(Close, 0.01, 0.1, 1)"
        found += [call] if len(outputs) == 1 else [f"{call}.{output}" for output in outputs]
    return found


def bits(value):
    """A number as 16 hexadecimal digits, a label with a mark ahead; nothing for a gap."""
    if value is None:
        return ""
    return "label " + value if isinstance(value, str) else struct.pack(">d", value).hex()


def expected(wanted):
    """For each expression, the bits of its value on each bar."""
    with tempfile.TemporaryDirectory() as folder:
        table = os.path.join(folder, "table.ndjson")
        subprocess.run([STUDY, "run", BAR_FILE, *wanted, "-o", table], check=True, capture_output=True)
        with open(table, encoding="utf-8") as file:
            lines = [list(json.loads(line, parse_int=float).values())[1:] for line in file]
    return {expression: [bits(value) for value in column] for expression, column in zip(wanted, zip(*lines), strict=True)}


def first_difference(got, want):
    """Where two long lists begin to differ, in words; nothing if they are equal."""
    if len(got) != len(want):
        return f"{len(got)} values instead of {len(want)}"
    return next((f"bar {i}: {a} instead of {b}" for i, (a, b) in enumerate(zip(got, want)) if a != b), "")


def gives_labels(values):
    return any(value.startswith("label") for value in values)


def document(database):
    """The statements that docs/sql.md has for a database, and what it shows as their output."""
    with open(DOCUMENT, encoding="utf-8") as file:
        text = file.read()
    return ["".join(re.findall(f"^```{kind} {database}\n(.*?)^```$", text, re.M | re.S)) for kind in ("sql", "text")]
