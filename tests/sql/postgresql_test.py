"""PostgreSQL's extension in a server of our own: all operators bit for bit, faults, memory, roles and stored series."""
import csv
import io
import os
import sys
import unittest

import reference
from server import Server

BITS = "encode(float8send(%s + 0.0), 'hex')"  # `study run` prints zeros without a sign
PRICES = "open, high, low, close, volume"


def rows(statement):
    output, faults = SERVER.psql(statement, "--csv")
    assert not faults, faults
    return list(csv.DictReader(io.StringIO(output)))


def column(statement):
    return [next(iter(row.values())) for row in rows(statement)]


def quoted(text):
    return "'" + text.replace("'", "''") + "'"


class PostgreSql(unittest.TestCase):
    def test_window_functions_give_the_bits_of_study_run(self):
        names = column("SELECT name FROM study_list() WHERE kind = 'operator' ORDER BY name")
        self.assertEqual(len(names), 41)
        wanted = reference.expressions(lambda name: rows(f"SELECT * FROM study_describe({quoted(name)})"), names)
        expected = reference.expected(wanted)
        statements = []
        for expression in wanted:
            if reference.gives_labels(expected[expression]):
                value = f"'label ' || study_label({quoted(expression)}, {PRICES}) OVER w"
            else:
                value = BITS % f"study({quoted(expression)}, {PRICES}) OVER w"
            statements.append(f"SELECT string_agg(coalesce(v, ''), ',' ORDER BY day) FROM (SELECT day, {value} v FROM bars "
                              "WINDOW w AS (ORDER BY day)) r;")
        output, faults = SERVER.psql("\n".join(statements), "-At")
        self.assertEqual(faults, "")
        for expression, line in zip(wanted, output.splitlines(), strict=True):
            self.assertEqual(reference.first_difference(line.split(","), expected[expression]), "", expression)

    def test_partitions_gaps_columns_and_roles(self):
        output, faults = SERVER.psql("""
            CREATE ROLE reader; SET ROLE reader;
            SELECT s, n, study_row('Sim(X, 2) / Y', 'x, y', x, y) OVER (PARTITION BY s ORDER BY n)
            FROM (VALUES ('a', 1, 2, 4), ('b', 1, 10, 1), ('a', 2, NULL, 4), ('a', 3, 4.0, 2), ('b', 2, 20, NULL)) t(s, n, x, y);
            SELECT count(*), study('Sim(Close, 3)', 1) OVER () IS NULL FROM bars GROUP BY close > 0;
            SELECT study_label('CountOp(Bar, Close, n, 1)', 1, 1, 1, 1, 1) OVER () FROM bars LIMIT 0;
            SET sarvane.max_lookback = 5;""", "-At")
        self.assertEqual(output.splitlines()[:5], ["a|1|", "a|2|0.5", "a|3|1.5", "b|1|", "b|2|"])
        self.assertIn('permission denied to set parameter "sarvane.max_lookback"', faults)

    def test_stored_series_have_the_last_value_of_a_whole_run(self):
        wanted = ["RSI(Close, 14)", "TDREBO(Bar).high", "KalmanFilter(Close, 0.01, 0.1, 1)", "TimeAvg(Close, floor(Volume / 1e9))"]
        for expression, values in reference.expected(wanted).items():
            # A first part, its last bar as it was before a tick, one bar as it was before a correction; then the rest.
            got = column(f"""
                WITH first AS (SELECT study_state({quoted(expression)}, '{reference.COLUMNS}', n, open, high, low,
                                                  close + (n IN (100, 5000))::int, volume) s FROM bars WHERE n <= 5000),
                     later AS (SELECT study_update((SELECT s FROM first), n, {PRICES} ORDER BY random()) s
                              FROM bars WHERE n = 100 OR n >= 5000)
                SELECT {BITS % 'study_value(s)'} FROM later""")
            self.assertEqual(got, [values[-1]], expression)

    def test_the_document_shows_what_its_statements_print(self):
        statements, shown = reference.document("postgresql")
        self.assertEqual(SERVER.psql(statements), (shown, ""))

    def test_faults_are_errors(self):
        deep = "(" * 30_000 + "Close" + ")" * 30_000
        for call, fault in {
                "study('Simm(Close, 3)', close) OVER ()": 'ERROR:  there is no operator and no study "Simm"\n'
                                                          "DETAIL:  at byte 0: Simm\nHINT:  nearest: Sim, Samp\n",
                "study('f(x) = x', close) OVER ()": "gives no value",
                "study(NULL, close) OVER ()": "the expression is null",
                "study(day::text, close) OVER ()": "changes inside of a partition",
                "study_label('Close', close) OVER ()": "numbers, not labels",
                "study_row('x', 'x,y', close) OVER ()": "2 columns are named, and 1 values are given",
                "study_row('x', 'x', VARIADIC ARRAY[[1, 2]]) OVER ()": "no array of one dimension",
                "study_row('x', 'x', VARIADIC array_fill(1, ARRAY[1 + (n = 9)::int])) OVER ()": "a row has 2 values, and",
                f"study('{deep}', close) OVER ()": "nested too deeply",
                "study(repeat('(', 10000000), close) OVER ()": "10000000 bytes, more than the 65536 allowed",
                "study('Sim(Close, 2000000000)', close) OVER ()": "looks back 2000000000 bars, more than",
                "study('Close', close) OVER (ORDER BY day ROWS 19 PRECEDING)": "a study needs the frame",
                "study('Close', close) OVER (ORDER BY day ROWS BETWEEN UNBOUNDED PRECEDING AND 1 FOLLOWING)": "the frame",
                "study('Close', close) OVER (ORDER BY day ROWS BETWEEN UNBOUNDED PRECEDING AND 1 PRECEDING)": "the frame",
                "study_state('Close', 'close', 1, close)": "two rows have the time 1",
                "study_state('Close', 'close', NULL, close)": "only values of bars may be null",
                "study_value('\\x00112233')": "this is no stored series",
                "* FROM study_describe('Simm'); SELECT 1": "no operator and no study",
        }.items():
            self.assertIn(fault, SERVER.psql(f"SELECT {call} FROM bars;")[1], call[:100])
        self.assertEqual(column("SELECT study('Close', 7) OVER (ORDER BY n ROWS UNBOUNDED PRECEDING) FROM bars LIMIT 1"),
                         ["7"])

    def test_failures_and_cancelled_queries_leave_no_memory_behind(self):
        faulty = ["SELECT study('Sim(Close, 200)', 1 / (4000 - n)) OVER (ORDER BY n) FROM bars;",
                  "SELECT study('Simm(Close, 200)', close) OVER (ORDER BY n) FROM bars;",
                  "SELECT study_state('Close', 'close', 1, close) FROM bars;",
                  "SELECT study_value('\\x00');",
                  "SELECT study_describe('Simm');"]
        cancelled = ["SET statement_timeout = '5ms';",
                     "SELECT sum(v) FROM (SELECT study('Wei(Close, 2000)', close) OVER (ORDER BY n) v FROM bars) r;",
                     "RESET statement_timeout;"]
        memory = "\\echo memory\nSELECT substring(pg_read_file('/proc/' || pg_backend_pid() || '/status') from 'VmRSS:\\s+(\\d+)');"
        round_ = "\n".join(faulty * 20 + cancelled * 5)
        output, faults = SERVER.psql((round_ + "\n") * 5 + memory + "\n" + (round_ + "\n") * 30 + memory, "-At")
        first, last = [int(line) for line in output.splitlines() if line.isdigit()]
        self.assertEqual(faults.count("ERROR:"), 35 * (100 + 5))
        self.assertEqual(faults.count("canceling statement"), 35 * 5)
        print(f"{35 * 105} failures and cancelled queries: {first} KiB, then {last} KiB")
        self.assertLess(last - first, 500)


if __name__ == "__main__":
    SERVER = Server(os.environ["POSTGRESQL_EXTENSION"], os.environ["STUDY_LIBRARIES"].split(":"))
    try:
        columns = "open float8, high float8, low float8, close float8, volume float8"
        output, faults = SERVER.psql(f"CREATE EXTENSION sarvane; CREATE TABLE bars(day date, {columns}, n bigserial);"
                    f"GRANT SELECT ON bars TO PUBLIC;\n\\copy bars(day, {PRICES}) FROM '{reference.BAR_FILE}' CSV HEADER\n")
        assert not faults, faults
        passed = unittest.main(exit=False, verbosity=2).result.wasSuccessful()
    finally:
        SERVER.stop()
    sys.exit(not passed)
