"""Many symbols on a cluster: a scheduler and two worker processes, one of which is killed at work."""
import os
import signal
import time as clock

import numpy as np
import pandas as pd
import pytest

dask_frame = pytest.importorskip("dask.dataframe")
distributed = pytest.importorskip("distributed")

import sarvane  # noqa: E402
import sarvane.dask  # noqa: E402

WANTED = {"rsi": "RSI(Close, 14)", "mark": "KasePeakOsc(Bar, 8, 65, 2).label1"}


def table(bars, symbols=12, count=300):
    parts = [bars.iloc[37 * n:37 * n + count].reset_index().assign(symbol=f"S{n % 7}/{n}") for n in range(symbols)]
    return pd.concat(parts).sample(frac=1, random_state=1).reset_index(drop=True)


def expected(frame):
    ordered = frame.sort_values(["symbol", "date"], kind="stable")
    results = [sarvane.run(one.drop(columns=["symbol", "date"]), "Sim(Close, 20)", **WANTED) for _, one in ordered.groupby("symbol")]
    return pd.concat([ordered[["symbol", "date"]], pd.concat(results)], axis=1)


def equal(computed, wanted):
    ordered = computed.sort_values(["symbol", "date"], kind="stable")
    pd.testing.assert_frame_equal(ordered.reset_index(drop=True), wanted.reset_index(drop=True), check_exact=True)


def slow_first(part, folder):
    """Has each task take a while, and tells the process of the first one."""
    name = os.path.join(folder, str(os.getpid()))
    with open(name, "a", encoding="utf-8") as file:
        file.write("x")
    clock.sleep(0.2)
    return part


def test_a_cluster_that_loses_a_worker_gives_every_bit(bars, tmp_path):
    frame = table(bars)
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None, host="127.0.0.1") as cluster, \
            distributed.Client(cluster) as client:
        ddf = dask_frame.from_pandas(frame, npartitions=16)
        result = sarvane.dask.run(ddf, "Sim(Close, 20)", **WANTED)
        assert list(result.columns) == ["symbol", "date", "Sim(Close, 20)", "rsi", "mark"] and result.dtypes["rsi"] == float
        equal(result.compute(), expected(frame))
        slowed = sarvane.dask.run(ddf.map_partitions(slow_first, str(tmp_path), meta=ddf._meta), "Sim(Close, 20)", **WANTED)
        computing = client.compute(slowed)
        while not os.listdir(tmp_path):
            clock.sleep(0.02)
        killed = int(os.listdir(tmp_path)[0])
        os.kill(killed, signal.SIGKILL)
        equal(computing.result(timeout=120), expected(frame))
        assert any(int(process) != killed for process in os.listdir(tmp_path)), "another worker went on"


def test_a_nightly_run_reads_new_bars_alone(bars, tmp_path):
    frame, store = table(bars, 5), f"file://{tmp_path}/states"
    wanted = expected(frame)
    days = sorted(frame["date"].unique())

    def night(part, **options):
        ddf = dask_frame.from_pandas(part, npartitions=3)
        return sarvane.dask.run(ddf, "Sim(Close, 20)", carry=True, store=store, **{**WANTED, **options}).compute(scheduler="threads")

    computed = []
    for low, high in ((0, 200), (200, 201), (190, 260), (260, 999)):  # the third has bars of the night before again
        part = frame[frame["date"].isin(days[low:high])]
        computed.append(night(part))
        equal(computed[-1], wanted[wanted["date"].isin(days[low:high])])
    with pytest.raises(ValueError, match="other values in 'close'"):
        night(frame.assign(close=frame["close"] + 1))
    with pytest.raises(ValueError, match="two bars of one time"):
        night(pd.concat([frame, frame]))
    with pytest.raises(ValueError, match="other expressions"):
        night(frame, rsi="RSI(Close, 15)")
    late = frame.iloc[:1].assign(date=pd.Timestamp("1999-01-01"))
    with pytest.raises(ValueError, match="that the last run did not have"):
        night(late)
    assert not [name for name in os.listdir(tmp_path / "states") if not name.endswith(".npz")]


def test_faults_are_told_before_computing(bars):
    ddf = dask_frame.from_pandas(table(bars, 2), npartitions=2)
    for options, kind, message in (({"by": "name"}, ValueError, "no column 'name'"), ({"carry": True}, ValueError, "store"),
                                   ({"rsi": "RSI(Clse)"}, sarvane.StudyError, "Clse")):
        with pytest.raises(kind, match=message):
            sarvane.dask.run(ddf, **{**WANTED, **options})
    empty = sarvane.dask.run(ddf[ddf["symbol"] == "none"], "Sim(Close, 20)", shuffled=True).compute()
    assert list(empty.columns) == ["symbol", "date", "Sim(Close, 20)"] and np.issubdtype(empty["Sim(Close, 20)"].dtype, float)
