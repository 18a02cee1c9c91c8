\echo Use "CREATE EXTENSION sarvane" to load this file. \quit

-- Window functions. Each row gets the value of the expression on its bar; the bars of a partition stand in the order of
-- the window. NULL is a gap, in values and results.
CREATE FUNCTION study(expression text, close float8) RETURNS float8
    AS 'MODULE_PATHNAME', 'sarvane_study' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study(expression text, open float8, high float8, low float8, close float8) RETURNS float8
    AS 'MODULE_PATHNAME', 'sarvane_study' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study(expression text, open float8, high float8, low float8, close float8, volume float8) RETURNS float8
    AS 'MODULE_PATHNAME', 'sarvane_study' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
COMMENT ON FUNCTION study(text, float8) IS 'value of an expression over close prices';
COMMENT ON FUNCTION study(text, float8, float8, float8, float8) IS 'value of an expression over bars';
COMMENT ON FUNCTION study(text, float8, float8, float8, float8, float8) IS 'value of an expression over bars with volume';

CREATE FUNCTION study_row(expression text, columns text, VARIADIC "values" float8[]) RETURNS float8
    AS 'MODULE_PATHNAME', 'sarvane_study_row' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
COMMENT ON FUNCTION study_row(text, text, float8[]) IS 'value of an expression over columns, whose names have commas between them';

CREATE FUNCTION study_label(expression text, close float8) RETURNS text
    AS 'MODULE_PATHNAME', 'sarvane_study_label' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study_label(expression text, open float8, high float8, low float8, close float8) RETURNS text
    AS 'MODULE_PATHNAME', 'sarvane_study_label' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study_label(expression text, open float8, high float8, low float8, close float8, volume float8) RETURNS text
    AS 'MODULE_PATHNAME', 'sarvane_study_label' LANGUAGE C WINDOW IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study_label(value float8) RETURNS text
    AS 'MODULE_PATHNAME', 'sarvane_label' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION study_label(float8) IS 'text of a label that study() or study_row() gave as a number';

-- Begin of the stretch of a frame of time that a moment lies in, to group rows by.
CREATE FUNCTION study_frame(frame text, "time" float8) RETURNS float8
    AS 'MODULE_PATHNAME', 'sarvane_frame' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION study_frame(frame text, "time" timestamptz) RETURNS timestamptz
    AS 'MODULE_PATHNAME', 'sarvane_frame_time' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION study_frame(text, float8) IS 'begin of the bar of a frame, in seconds since 1970, UTC';
COMMENT ON FUNCTION study_frame(text, timestamptz) IS 'begin of the bar of a frame';

-- What there is; newer versions of the library may have more.
CREATE FUNCTION study_list(OUT name text, OUT kind text, OUT meaning text, OUT arguments text, OUT outputs text,
                           OUT "group" text, OUT source text, OUT definition text) RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'sarvane_study_list' LANGUAGE C STABLE PARALLEL SAFE ROWS 110;
CREATE FUNCTION study_describe(wanted text, OUT part text, OUT name text, OUT meaning text, OUT "default" text,
                               OUT "least" float8, OUT "greatest" float8, OUT kind text, OUT optional boolean)
    RETURNS SETOF record
    AS 'MODULE_PATHNAME', 'sarvane_study_describe' LANGUAGE C STABLE STRICT PARALLEL SAFE ROWS 10;

-- Stored series. Rows may come in any order: they are put in the order of their times.
CREATE FUNCTION study_state_add(internal, text, text, bigint, VARIADIC float8[]) RETURNS internal
    AS 'MODULE_PATHNAME', 'sarvane_state_start' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study_update_add(internal, bytea, bigint, VARIADIC float8[]) RETURNS internal
    AS 'MODULE_PATHNAME', 'sarvane_state_resume' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE FUNCTION study_state_finish(internal) RETURNS bytea
    AS 'MODULE_PATHNAME', 'sarvane_state_finish' LANGUAGE C IMMUTABLE PARALLEL SAFE;
CREATE AGGREGATE study_state(expression text, columns text, "time" bigint, VARIADIC "values" float8[]) (
    SFUNC = study_state_add, STYPE = internal, FINALFUNC = study_state_finish, FINALFUNC_MODIFY = READ_WRITE,
    PARALLEL = SAFE);
CREATE AGGREGATE study_update(state bytea, "time" bigint, VARIADIC "values" float8[]) (
    SFUNC = study_update_add, STYPE = internal, FINALFUNC = study_state_finish, FINALFUNC_MODIFY = READ_WRITE,
    PARALLEL = SAFE);
CREATE FUNCTION study_value(state bytea) RETURNS float8
    AS 'MODULE_PATHNAME', 'sarvane_value' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON AGGREGATE study_state(text, text, bigint, float8[]) IS 'series of an expression over columns, to be stored';
COMMENT ON AGGREGATE study_update(bytea, bigint, float8[]) IS 'stored series with new, changed or corrected bars';
COMMENT ON FUNCTION study_value(bytea) IS 'value of a stored series on its last bar';
