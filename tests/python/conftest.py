import os
import pathlib

import pandas
import pytest
from hypothesis import settings

PROJECT = pathlib.Path(__file__).resolve().parents[2]
settings.register_profile("sarvane", deadline=None, max_examples=int(os.environ.get("EXAMPLES", "60")), derandomize=True)
settings.load_profile("sarvane")


@pytest.fixture(scope="session")
def bars():
    """The shipped bars: 5,105 days."""
    return pandas.read_csv(PROJECT / "data/sp500_daily.csv", index_col=0, parse_dates=True)
