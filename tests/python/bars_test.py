"""Bars of other frames, and longer bars in expressions: those of the program, whatever the table."""
import io
import subprocess
import sys

import numpy as np
import pandas as pd
import pytest
from conftest import PROJECT

import sarvane


def program(*arguments):
    text = subprocess.run([*sarvane._library.COMMAND, *arguments, "--format", "csv"],
                          capture_output=True, text=True, check=True, cwd=PROJECT).stdout
    return pd.read_csv(io.StringIO(text), index_col=0, parse_dates=True, float_precision="round_trip")


@pytest.mark.parametrize("frame", ["1W", "1M", "7bars", "1e10volume", "60range", "50renko", "heikinashi"])
def test_bars_and_longer_bars_are_those_of_the_program(bars, frame):
    made = sarvane.bars(bars, frame)
    expected = program("bars", "data/sp500_daily.csv", "--to", frame)
    assert np.array_equal(made.to_numpy(), expected.to_numpy()) and (made.index == expected.index).all()
    part = f"at({frame}, Sim(Close, 3))"
    last = sarvane.run(bars, part).iloc[-1, 0]
    assert last == sarvane.run(made, "Sim(Close, 3)").iloc[-1, 0]
    table = {"time": bars.index.to_numpy(), **{name: bars[name].to_numpy() for name in bars}}
    assert sarvane.run(table, part)[part][-1] == last
    assert (sarvane.bars(table, frame)["close"] == made["close"].to_numpy()).all()


def test_trades_are_put_in_order_and_taken_once():
    times = pd.to_datetime(["2024-03-08 14:30:00.5", "2024-03-08 14:31", "2024-03-08 14:30:59.999999999",
                            "2024-03-08 14:31", "2024-03-11 13:45"]).tz_localize("UTC").tz_convert("America/New_York")
    trades = pd.DataFrame({"price": [100.0, 102, 99, 102, 103], "size": [5, 1, 4, 1, 2], "id": [1, 2, 3, 2, 4]}, index=times)
    with pytest.warns(UserWarning) as told:
        minutes = sarvane.bars(trades, "1min")
    assert [str(warning.message)[:8] for warning in told] == ["1 trades", "1 rows s"]
    assert minutes["low"].tolist() == [99, 102, 103] and minutes["volume"].tolist() == [9, 1, 2]
    with pytest.warns(UserWarning):
        hours = sarvane.bars(trades, "1h 09:30 America/New_York")
    assert [str(time) for time in hours.index] == ["2024-03-08 09:30:00-05:00", "2024-03-11 09:30:00-04:00"]
    ids = trades.drop(columns="id").iloc[[0, 2]]
    assert sarvane.bars(ids, "1ticks")["close"].tolist() == [100, 99]


def test_a_live_study_knows_the_time_it_is_given(bars):
    text = "at(1W, Sim(Close, 3)) - at(1M, Close, closed)"
    expected = sarvane.run(bars, text)[text]
    study = sarvane.Study(text)
    for time, bar in bars.head(200).iterrows():
        study.append({"close": bar["close"]}, time)
        study.tick({"close": 1.0})
        study.tick({"close": bar["close"]})
    study.save(1)
    study.append({"close": 5.0}, bars.index[200])
    study.restore(1)
    study.correct(bars.index[190], {"close": 7.0})
    study.correct(bars.index[190], {"close": bars["close"].iloc[190]})
    assert study.append({"close": bars["close"].iloc[200]}, bars.index[200]) == expected.iloc[200]


def test_what_is_wrong_is_told(bars):
    with pytest.raises(sarvane.StudyError, match="no frame"):
        sarvane.bars(bars, "1x")
    with pytest.raises(sarvane.StudyError, match='need a column "volume"'):
        sarvane.bars(bars[["close"]], "10volume")
    with pytest.raises(ValueError, match="need times"):
        sarvane.bars(bars.reset_index(drop=True), "1W")
    with pytest.raises(sarvane.StudyError, match='column "time"'):
        sarvane.run(bars.reset_index(drop=True), "at(1W, Close)")
    with pytest.warns(UserWarning, match="take its place"):
        assert len(sarvane.bars(pd.concat([bars, bars.iloc[-1:]]), "1bars")) == len(bars)


def test_without_numpy():
    code = ("import sarvane; t = sarvane.bars({'time': [0.0, 60.5, 119.0, 120.0], 'close': [1.0, None, 3.0, 4.0]}, '2min'); "
            "assert list(t['close']) == [3.0, 4.0] and list(t['time']) == [0.0, 120.0], t")
    subprocess.run([sys.executable, "-c", code], check=True)
