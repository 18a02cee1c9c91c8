"""Whole columns: the bits of the library, in any layout; errors; operators by name."""
import array
import hashlib
import inspect
import json
import subprocess
import sys
import uuid

import numpy as np
import pandas as pd
import pytest
from conftest import PROJECT

import sarvane

FINGERPRINTS = json.loads((PROJECT / "data/sp500_daily.fingerprint.json").read_text())


def fingerprint(column):
    column = np.where(np.isnan(column), np.nan, column).astype("<f8")
    return str(uuid.UUID(bytes=hashlib.sha1(bytes(16) + column.tobytes()).digest()[:16], version=5))


def same(a, b):
    return len(a) == len(b) and all(np.array_equal(a[name], b[name], equal_nan=a[name].dtype != object) for name in a)


def test_all_operators_have_the_bits_of_the_library(bars):
    table = sarvane.run(bars, *FINGERPRINTS["expressions"], all_outputs=True)
    expected = {output["name"]: output["fingerprint"] for output in FINGERPRINTS["outputs"]}
    numbers = [title for title in table if table[title].dtype == float]
    assert len(numbers) > 80 and list(table) == list(expected)
    assert {title: fingerprint(table[title].to_numpy()) for title in numbers} == {title: expected[title] for title in numbers}
    labels = [title for title in table if table[title].dtype == object]
    assert any(isinstance(text, str) for title in labels for text in table[title])
    assert table.index is bars.index or table.index.equals(bars.index)


def test_columns_in_any_layout_give_the_same_bits(bars):
    expressions = ["Sim(Close, 20)", "KaseCCSS(Bar).integer1", "Volume / 2"]
    columns = {name: bars[name].to_numpy() for name in bars}
    expected = sarvane.run(columns, *expressions)
    both_ways = np.repeat(np.column_stack(list(columns.values())), 3, axis=0)
    structured = np.zeros(len(bars), dtype=[("odd", "u1")] + [(name, "f8") for name in columns] + [("f", "f4")])
    for name, column in columns.items():
        structured[name] = column
    layouts = {
        "strided": {name: both_ways[::3, place] for place, name in enumerate(columns)},
        "backwards": {name: column[::-1].copy()[::-1] for name, column in columns.items()},
        "lists": {name: column.tolist() for name, column in columns.items()},
        "arrays": {name: array.array("d", column) for name, column in columns.items()},
        "other letters": {name.upper(): column for name, column in columns.items()},
        "big endian": {name: column.astype(">f8") for name, column in columns.items()},
        "objects": {name: column.astype(object) for name, column in columns.items()},
    }
    for name, layout in layouts.items():
        result = sarvane.run(layout, *expressions)
        assert same(result, expected), name
    result = sarvane.run(structured, *expressions)
    assert result.dtype.names == tuple(expected) and same({name: result[name] for name in expected}, expected)
    nullable = bars.astype("Float64")
    assert same(dict(sarvane.run(nullable, *expressions)), expected)
    small = {name: column.astype("f4") for name, column in columns.items()}
    wide = {name: column.astype("f8") for name, column in small.items()}
    assert same(sarvane.run(small, *expressions), sarvane.run(wide, *expressions))
    for kind in ("i1", "u2", "i4", "u8", "?"):
        numbers = np.array([0, 1, 1, 0, 1], dtype=kind)
        assert sarvane.run({"x": numbers}, "x + 0")["x + 0"].tolist() == numbers.astype(float).tolist(), kind


def test_gaps_names_and_titles(bars):
    close = np.array([1.0, np.nan, 3.0, 5.0])
    assert np.array_equal(sarvane.run({"close": close}, "defined(Close)")["defined(Close)"], [1, 0, 1, 1])
    assert np.array_equal(sarvane.run({"close": close}, "defined(Close)", gaps="nan")["defined(Close)"], [1, 1, 1, 1])
    assert np.isnan(sarvane.run({"close": close}, "Sim(Close, 3)", gaps="nan")["Sim(Close, 3)"][0])
    result = sarvane.run(bars, "fast = Exp(Close, 12)", "fast - Close", "fast - Close", rsi="RSI(Close, 14)")
    assert list(result) == ["fast", "fast - Close", "fast - Close 2", "rsi"]
    assert bars.sarvane("RSI(Close, 14)", rsi="RSI(Close, 14)").iloc[:, 1].equals(result["rsi"])
    assert list(sarvane.run({"close": close}, bands="Bollinger(Close, 2)", all_outputs=True))[0].startswith("bands.")
    assert len(sarvane.run(bars.iloc[:0], "Sim(Close, 5)")) == 0
    odd = pd.DataFrame({"a b": close, "text": list("wxyz"), 5: close})
    assert sarvane.run(odd, "Sim('a b', 1)").shape == (4, 1)


@pytest.mark.parametrize("call, kind, message", [
    (lambda: sarvane.run({"close": [1.0]}, "Sim(Clse, 20)"), sarvane.StudyError, 'name "Clse"; did you mean close'),
    (lambda: sarvane.run({"close": [1.0]}, "Sim(Close,"), sarvane.StudyError, r"Sim\(Close,\n +\^"),
    (lambda: sarvane.run({"close": [1.0]}), TypeError, "no expression"),
    (lambda: sarvane.run({"close": [1.0], "high": [1.0, 2.0]}, "High"), ValueError, "'high' has 2 values, and 'close' has 1"),
    (lambda: sarvane.run({"close": ["x"]}, "Close"), TypeError, "'close' holds no numbers"),
    (lambda: sarvane.run(pd.DataFrame({"close": ["x"]}), "Close"), TypeError, "'close' holds no numbers"),
    (lambda: sarvane.run(pd.DataFrame({"close": pd.to_datetime(["2020"])}), "Close"), TypeError, "times"),
    (lambda: sarvane.run({"close": np.zeros((2, 2))}, "Close"), TypeError, "2 dimensions"),
    (lambda: sarvane.run([1.0], "Close"), TypeError, "not list"),
    (lambda: sarvane.run({"close": [1.0]}, "Close", gaps="zero"), ValueError, "gaps is"),
    (lambda: sarvane.run({"close": [1.0]}, "Close\0"), ValueError, "zero"),
    (lambda: sarvane.op.Sim(perod=2), TypeError, "no argument 'perod'; it takes curve, period"),
    (lambda: sarvane.op.Sim(period=2)(), TypeError, "takes 1 columns"),
    (lambda: sarvane.op.Simm, AttributeError, "no 'Simm'"),
    (lambda: type(sarvane.Study("Close")._compiled.module)(), TypeError, "make objects"),
])
def test_faults_are_told(call, kind, message):
    with pytest.raises(kind, match=message):
        call()


def test_a_fault_has_its_place_in_letters():
    with pytest.raises(sarvane.StudyError) as fault:
        sarvane.run({"close": [1.0]}, "Sim('größe', 2)")
    assert (fault.value.offset, fault.value.length, fault.value.text) == (4, 7, "Sim('größe', 2)")


def test_operators_and_studies_tell_of_themselves(bars):
    assert len(sarvane.op) == 41 == len(sarvane.operators()) and len(sarvane.studies) == 69
    for function in [*sarvane.op, *sarvane.studies]:
        assert function.described["sentence"] in function.__doc__
        for argument in function.described["arguments"]:
            assert argument["meaning"] in function.__doc__
        assert list(inspect.signature(function).parameters)[:1] == [a["name"] for a in function.described["arguments"]][:1]
    assert "1 or more" in sarvane.op.Sim.__doc__ and "Wilder" in sarvane.studies.RSI.__doc__
    close = bars["close"]
    assert np.array_equal(sarvane.op.sim(period=20)(close), bars.sarvane("Sim(Close, 20)").iloc[:, 0], equal_nan=True)
    assert np.array_equal(sarvane.studies.RSI(n=9)(close), bars.sarvane("RSI(Close, 9)").iloc[:, 0], equal_nan=True)
    votes = sarvane.op.KaseCCSS()(bars)
    assert votes["integer1"].tolist()[-5:] == bars.sarvane("KaseCCSS(Bar)").iloc[-5:, 0].tolist()
    assert str(sarvane.op.Sim(period=20)) == "Sim(Close, 20)"
    quotient = sarvane.op.BarDiv()(bars, close)
    assert quotient["close"][-1] == 1.0


def test_many_symbols(bars):
    groups = {name: bars.iloc[start:start + 300] for name, start in (("a", 0), ("b", 1000), ("c", 4000))}
    for threads in (0, 1, 3):
        results = sarvane.run_many(groups, "Sim(Close, 20)", rsi="RSI(Close, 14)", threads=threads)
        for name, one in groups.items():
            assert results[name].equals(sarvane.run(one, "Sim(Close, 20)", rsi="RSI(Close, 14)"))
    mixed = pd.concat([frame.assign(symbol=name) for name, frame in groups.items()]).sort_index(kind="stable")
    together = sarvane.run_many(mixed.groupby("symbol"), "Sim(Close, 20)", label="KasePeakOsc(Bar, 8, 65, 2).label1")
    assert together.index.equals(mixed.index)
    for name, one in groups.items():
        part = together[(mixed["symbol"] == name).to_numpy()]
        assert part.equals(sarvane.run(one, "Sim(Close, 20)", label="KasePeakOsc(Bar, 8, 65, 2).label1"))
    by_hand = mixed.groupby("symbol", group_keys=False).apply(lambda one: one.sarvane("Sim(Close, 20)"))
    assert by_hand.sort_index(kind="stable")["Sim(Close, 20)"].sum() == pytest.approx(together["Sim(Close, 20)"].sum())
    assert sarvane.run_many({}, "Close") == {}
    with pytest.raises(ValueError, match="same columns"):
        sarvane.run_many({"a": {"close": [1.0]}, "b": {"open": [1.0]}}, "Close")


def test_works_without_numpy():
    program = """
import sys
sys.modules["numpy"] = sys.modules["pandas"] = None
import sarvane
result = sarvane.run({"close": [1.0, 2.0, None, 4.0]}, "Sim(Close, 2)")
assert result["Sim(Close, 2)"].tolist()[1:2] == [1.5], result
study = sarvane.Study("Sim(Close, 2)")
assert [study.append((close,)) for close in (1, 2)][1] == 1.5
"""
    subprocess.run([sys.executable, "-c", program], check=True)


def test_a_chart_is_a_page(bars, tmp_path):
    study = sarvane.Study("Sim(Close, 20)", rsi="RSI(Close, 14)")
    page = study.to_html(bars.assign(note="text"), tmp_path / "chart.html", last=100)
    assert page.startswith("<!doctype html>") and (tmp_path / "chart.html").read_text() == page
    assert study.plot(bars)._repr_html_().startswith("<iframe srcdoc=")
    with pytest.raises(ValueError, match="theme"):
        study.to_html(bars, theme="blue")
