"""SQLite's extension in SQLite's shell: all operators bit for bit, frames, faults, and stored series."""
import csv
import io
import os
import subprocess
import tempfile
import unittest

import reference

EXTENSION = os.environ["SQLITE_EXTENSION"]
BITS = "lower(hex(ieee754_to_blob(%s + 0.0)))"  # `study run` prints zeros without a sign
BITS_OR_LABEL = f"CASE typeof(%(label)s) WHEN 'text' THEN 'label ' || %(label)s ELSE {BITS % '%(v)s'} END"


def shell(*statements):
    """What the statements print, and what they complain of."""
    text = "\n".join([f".load {EXTENSION}", ".mode csv", ".headers on", *statements])
    run = subprocess.run(["sqlite3", "-batch", DATABASE], input=text, text=True, capture_output=True, timeout=100)
    return run.stdout, run.stderr


def rows(statement):
    output, faults = shell(statement)
    assert not faults, faults
    return list(csv.DictReader(io.StringIO(output)))


def column(statement):
    return [next(iter(row.values())) for row in rows(statement)]


def quoted(text):
    return "'" + text.replace("'", "''") + "'"


class Sqlite(unittest.TestCase):
    def test_window_functions_and_whole_runs_give_the_bits_of_study_run(self):
        names = column("SELECT name FROM study_list WHERE kind = 'operator'")
        self.assertEqual(len(names), 41)
        wanted = reference.expressions(lambda name: rows(f"SELECT * FROM study_describe({quoted(name)})"), names)
        expected = reference.expected(wanted)
        # A window function can't know which bar is the last; without its history TDREBO shows levels there alone.
        windows = [expression for expression in wanted if not expression.startswith("TDREBO")]
        windows += [f"TDREBO(Bar, showHistory = 1).{output}" for output in ("high", "low")]
        expected |= reference.expected(windows[-2:])
        statements = []
        for expression in windows:
            form = "study_label(%s) OVER w" if reference.gives_labels(expected[expression]) else "study(%s) OVER w"
            call = form % f"{quoted(expression)}, open, high, low, close, volume"
            statements.append(f"WITH r AS (SELECT {call} v FROM bars WINDOW w AS (ORDER BY day)) "
                              f"SELECT group_concat({BITS_OR_LABEL % {'v': 'v', 'label': 'v'}}, ',') FROM r;")
        output, faults = shell(".headers off", ".mode list", *statements)
        self.assertEqual(faults, "")
        for expression, line in zip(windows, output.splitlines(), strict=True):
            self.assertEqual(reference.first_difference(line.split(","), expected[expression]), "", expression)
        for first in range(0, len(wanted), 20):
            some = wanted[first:first + 20]
            got = [[] for _ in some]
            query = "SELECT * FROM bars ORDER BY day"
            for i, row in enumerate(rows(f"SELECT {BITS_OR_LABEL % {'v': 'value', 'label': 'label'}} v FROM "
                                         f"study_run('{query}', {', '.join(map(quoted, some))})")):
                got[i % len(some)].append(row["v"])
            for expression, values in zip(some, got, strict=True):
                self.assertEqual(reference.first_difference(values, expected[expression]), "", expression)

    def test_frames_are_run_as_they_stand(self):
        # The right answer of a frame: the last value of a run over its rows alone.
        for frame, span in {"ROWS 30 PRECEDING": (30, 0), "ROWS BETWEEN 40 PRECEDING AND 5 PRECEDING": (40, -5),
                            "ROWS BETWEEN CURRENT ROW AND 25 FOLLOWING": (0, 25),
                            "ROWS BETWEEN 30 PRECEDING AND CURRENT ROW EXCLUDE NO OTHERS": (30, 0)}.items():
            got = column(f"SELECT {BITS % 'v'} v FROM (SELECT study('EMA(Close, 9) + Sim(Close, 3)', close) OVER "
                         f"(ORDER BY day {frame}) v FROM (SELECT * FROM bars LIMIT 60))")
            want = column("WITH f AS (SELECT row_number() OVER (ORDER BY day) n, close FROM bars LIMIT 60) "
                          f"SELECT {BITS % 'v'} v FROM (SELECT (SELECT study('EMA(Close, 9) + Sim(Close, 3)', close) FROM "
                          f"(SELECT close FROM f AS i WHERE i.n BETWEEN o.n - {span[0]} AND o.n + {span[1]} ORDER BY n)) v "
                          "FROM f AS o)")
            self.assertEqual(got, want, frame)

    def test_partitions_gaps_and_columns_by_name(self):
        self.assertEqual(rows("""
            WITH t(s, n, x, y) AS (VALUES ('a', 1, 2, 4), ('b', 1, 10, 1), ('a', 2, NULL, 4), ('a', 3, 4.0, 2), ('b', 2, 20, NULL))
            SELECT s, n, study_row('Sim(X, 2) / Y', 'x, y', x, y) OVER (PARTITION BY s ORDER BY n) v FROM t"""),
            [{"s": "a", "n": "1", "v": ""}, {"s": "a", "n": "2", "v": "0.5"}, {"s": "a", "n": "3", "v": "1.5"},
             {"s": "b", "n": "1", "v": ""}, {"s": "b", "n": "2", "v": ""}])

    def test_stored_series_have_the_last_value_of_a_whole_run(self):
        wanted = ["RSI(Close, 14)", "TDREBO(Bar).high", "KalmanFilter(Close, 0.01, 0.1, 1)", "TimeAvg(Close, floor(Volume / 1e9))"]
        for expression, values in reference.expected(wanted).items():
            row = "rowid, open, high, low, close, volume"
            # A first part, its last bar as it was before a tick, one bar as it was before a correction; then the rest.
            state = (f"SELECT study_state({quoted(expression)}, '{reference.COLUMNS}', rowid, open, high, low, "
                     "close + (rowid IN (100, 5000)), volume) v FROM bars WHERE rowid <= 5000")
            got = column(f"SELECT {BITS % 'study_value(s)'} v FROM (SELECT study_update(({state}), {row}) s FROM "
                         "(SELECT rowid, * FROM bars WHERE rowid = 100 OR rowid >= 5000 ORDER BY random()))")
            self.assertEqual(got, [values[-1]], expression)

    def test_the_document_shows_what_its_statements_print(self):
        statements, shown = reference.document("sqlite")
        run = subprocess.run(["sqlite3", "-batch", "-table"], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                             input=statements.replace("build/release/bin/libsarvane_sqlite", EXTENSION),
                             cwd=reference.PROJECT)
        self.assertEqual(run.stdout, shown)

    def test_faults_are_errors(self):
        deep = "(" * 100_000 + "Close" + ")" * 100_000
        for call, fault in {
                "study('Simm(Close, 3)', close) OVER ()": 'study(): there is no operator and no study "Simm", at byte 0: '
                                                          "Simm; nearest: Sim, Samp",
                "study('f(x) = x', close) OVER ()": "gives no value",
                "study(NULL, close) OVER ()": "this expression is empty",
                "study(day, close) OVER ()": "changes inside of a partition",
                "study('Close', day) OVER ()": "a value of a bar is no number",
                "study_label('Close', close) OVER ()": "numbers, not labels",
                "study_row('x', 'x,y', close) OVER ()": "2 columns are named, and 1 values are given",
                "study_row('x', 'x,X', 1, 2) OVER ()": "two columns have the same name",
                "study_row('x') OVER ()": "are needed",
                f"study('{deep[:60_000]}', close) OVER ()": "nested too deeply",
                f"study('{deep}', close) OVER ()": "200005 bytes, more than the 65536 allowed",
                "study(printf('%.*c', 10000000, '('), close) OVER ()": "10000000 bytes, more than the 65536 allowed",
                "study('Sim(Close, 2000000000)', close) OVER ()": "looks back 2000000000 bars, more than",
                "study_state('Close', 'close', 1, close)": "two rows have the time 1",
                "study_state('Close', 'close', day, close)": "the time of a bar is no whole number",
                "study_value(x'00112233')": "this is no stored series",
        }.items():
            self.assertIn(fault, shell(f"SELECT {call} FROM (SELECT * FROM bars LIMIT 3);")[1], call[:100])
        for call, fault in {"study_describe": "needs 1", "study_describe('Simm')": "no operator and no study",
                            "study_run('DELETE FROM bars', 'Close')": "the query has to read",
                            "study_run('SELECT 1, clos FROM bars', 'Close')": "no such column: clos",
                            "study_run('SELECT 1, close, close FROM bars', 'Close')": "the same name"}.items():
            self.assertIn(fault, shell(f"SELECT * FROM {call};")[1], call)
        self.assertEqual(column("SELECT count(*) FROM bars"), [str(len(reference.bars()))])


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as temporary:
        DATABASE = os.path.join(temporary, "bars.db")
        shell("CREATE TABLE bars(day TEXT, open REAL, high REAL, low REAL, close REAL, volume REAL);",
              f".import --skip 1 {reference.BAR_FILE} bars")
        unittest.main()
