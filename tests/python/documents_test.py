"""What the documents show is what Python answers."""
import doctest

from conftest import PROJECT


def test_the_document_shows_what_happens(monkeypatch):
    monkeypatch.chdir(PROJECT)
    failed, tried = doctest.testfile(str(PROJECT / "docs/python.md"), module_relative=False)
    assert failed == 0 and tried > 15


def test_docstrings_show_what_happens():
    import sarvane._live

    assert doctest.testmod(sarvane._live).failed == 0
