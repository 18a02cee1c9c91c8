"""Live studies: whatever ticks, corrections, restores and pickling come between, values are those of a run."""
import math
import pickle
import struct
import threading

import numpy as np
import pandas as pd
import pytest
from hypothesis import given
from hypothesis import strategies as st

import sarvane

EXPRESSIONS = ["Sim(Close, 5)", "Exp(Close, 3) - Close[2]", "RSI(Close, 4)", "Middle(Close, 3)", "HiLev(Close, Close, 6)",
               "max(Close, prev(Close))", "TimeAvg(Close, 3)", "KaseCCSS(Bar).integer2", "MedOp(Close, 5, 25, 50, 75)"]
numbers = st.one_of(st.floats(-1e6, 1e6), st.just(0.0), st.sampled_from([float("nan"), 1e-300, 1e300]))
acts = st.one_of(st.tuples(st.just("append"), numbers), st.tuples(st.just("append"), numbers),
                 st.tuples(st.just("tick"), numbers), st.tuples(st.just("correct"), st.integers(0, 99), numbers),
                 st.tuples(st.just("save"), st.integers(1, 3)), st.tuples(st.just("restore"), st.integers(1, 3)),
                 st.tuples(st.just("pickle")))


def bits(value):
    return value if value is None or isinstance(value, str) else "gap" if math.isnan(value) else struct.pack("d", value)


def bar(close):
    return {"open": close, "high": close + 1, "low": close - 1, "close": close}


def last_of_run(expressions, closes):
    columns = {name: [bar(close)[name] for close in closes] for name in bar(0.0)}
    return [bits(column[-1]) for column in sarvane.run(columns, *expressions).values()]


@given(st.lists(st.sampled_from(EXPRESSIONS), min_size=1, max_size=3, unique=True), st.lists(acts, max_size=40))
def test_any_history_ends_with_the_values_of_a_run(expressions, history):
    # Ticks and corrections go through TimeAvg's running sums otherwise than a run does: with it, bars are only appended.
    path_counts = "TimeAvg(Close, 3)" in expressions
    study = sarvane.Study(*expressions, columns=bar(0.0))
    closes, saves = [], {}
    for act, *values in history:
        if act == "append":
            study.append(bar(values[0]))
            closes.append(values[0])
        elif act == "tick" and closes and not path_counts:
            study.tick(bar(values[0]))
            closes[-1] = values[0]
        elif act == "correct" and closes and not path_counts:
            place = values[0] % len(closes)
            study.correct(place, bar(values[1]))
            closes[place] = values[1]
        elif act == "save" and not path_counts:
            study.save(values[0])
            saves = {slot: kept for slot, kept in saves.items() if slot < values[0]} | {values[0]: list(closes)}
        elif act == "restore" and not path_counts:
            if values[0] in saves:
                study.restore(values[0])
                saves = {slot: kept for slot, kept in saves.items() if slot <= values[0]}
                closes = list(saves[values[0]])
            else:
                with pytest.raises(LookupError):
                    study.restore(values[0])
        elif act == "pickle":
            study = pickle.loads(pickle.dumps(study))
        assert len(study) == len(closes)
        if closes:
            assert [bits(value) for value in study.values.values()] == last_of_run(expressions, closes), (act, values)


def test_bars_in_any_form():
    study = sarvane.Study("Close + 2 * High")
    assert study.columns == ("high", "close")
    frame = pd.DataFrame({"High": [3.0], "CLOSE": [4.0], "text": ["x"]}, index=pd.to_datetime(["2020-01-01"]))
    for form in ({"close": 4, "high": 3.0, "other": "x"}, (3.0, 4), [3, 4.0], np.array([3.0, 4.0]), frame.iloc[0],
                 {"Close": np.float32(4), "HIGH": 3}):
        assert study.append(form) == 10.0
    assert sarvane.Study("Close").append(4.0) == sarvane.Study("Close").append(np.float64(4)) == 4.0
    assert math.isnan(study.append({"close": None, "high": 3.0}))
    assert math.isnan(study.append((float("nan"), 3.0)))
    for wrong, kind in (({"close": 1.0}, KeyError), ((1.0,), ValueError), (("x", 1.0), TypeError), ("xy", TypeError), (None, TypeError)):
        with pytest.raises(kind):
            study.append(wrong)
    assert len(study) == 8
    study.extend({"high": [1.0, 1.0], "close": [1.0, 2.0]})
    assert study.values == {"Close + 2 * High": 4.0} and repr(study) == "<Study of Close + 2 * High: 10 bars>"


def test_times_find_bars():
    study = sarvane.Study("Sim(Close, 2)")
    days = pd.date_range("2020-01-01", periods=3)
    study.extend(pd.DataFrame({"close": [1.0, 2.0, 3.0]}, index=days))
    study.save(1)
    assert study.append((4.0,), days[2] + pd.Timedelta(days=1)) == 3.5
    assert study.correct(days[2], (5.0,)) == 4.5
    with pytest.raises(KeyError):
        study.correct(pd.Timestamp("2021-01-01"), (5.0,))
    with pytest.raises(ValueError, match="does not come after"):
        study.append((4.0,), days[0])
    study.restore(1)
    assert study.times == list(days) and study.values == {"Sim(Close, 2)": 2.5}
    assert sarvane.Study("Close").times == []


def test_faults_leave_the_study_as_it_was():
    study = sarvane.Study("Sim(Close, 2)")
    for call, kind in ((lambda: study.tick((1.0,)), IndexError), (lambda: study.correct(0, (1.0,)), IndexError),
                       (lambda: study.restore(1), LookupError), (lambda: study.save(0), ValueError),
                       (lambda: study.save(40000), ValueError), (lambda: study.append(), TypeError)):
        with pytest.raises(kind):
            call()
    assert len(study) == 0 and math.isnan(study.values["Sim(Close, 2)"])
    with pytest.raises(ValueError, match="no state"):
        study._set_state(b"123", [])
    with pytest.raises(ValueError, match="no state"):
        sarvane.Study("Close")._set_state(bytes(16), [(1, 9, bytes(8), [])])
    labels = sarvane.Study("KasePeakOsc(Bar, 8, 65, 2)", all_outputs=True)
    labels.extend({name: np.full(100, 5.0) for name in labels.columns})
    assert labels.values["KasePeakOsc(Bar, 8, 65, 2).label1"] is None
    assert labels.lookback > 8 and labels.plan[-1]["uses"] >= 1 and labels.warnings == []


def test_studies_of_several_threads(bars):
    expected = sarvane.run(bars, "RSI(Close, 14)").iloc[-1, 0]
    found = []

    def work():
        study = sarvane.Study("RSI(Close, 14)")
        study.extend(bars)
        found.append((study.values["RSI(Close, 14)"], sarvane.run(bars, "RSI(Close, 14)").iloc[-1, 0]))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert found == [(expected, expected)] * 4
