/* The extension for PostgreSQL. It is C: PostgreSQL leaves functions by longjmp when an error is raised or a query is
 * cancelled, which must pass no C++ frame. Objects of the study library belong to a memory context each, which frees
 * them also then. */

#include "postgres.h"

#include "access/htup_details.h"
#include "catalog/pg_type.h"
#include "fmgr.h"
#include "funcapi.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "utils/array.h"
#include "utils/builtins.h"
#include "utils/guc.h"
#include "utils/memutils.h"
#include "utils/timestamp.h"
#include "windowapi.h"

#include "catalogue.h"
#include "stored_series.h"
#include "study_call.h"

PG_MODULE_MAGIC;

void _PG_init(void);

static int max_expression_bytes = 65536;
static int max_lookback = 1000000;

void _PG_init(void) {
    DefineCustomIntVariable("sarvane.max_expression_bytes", "Longest expression that is compiled.", NULL,
                            &max_expression_bytes, max_expression_bytes, 1, 16 * 1024 * 1024, PGC_SUSET, GUC_UNIT_BYTE,
                            NULL, NULL, NULL);
    DefineCustomIntVariable("sarvane.max_lookback", "Most bars that an expression may look back.", NULL, &max_lookback,
                            max_lookback, 0, INT_MAX, PGC_SUSET, 0, NULL, NULL, NULL);
    MarkGUCPrefixReserved("sarvane");
}

static SqlLimits Limits(void) {
    const SqlLimits limits = {(size_t)max_expression_bytes, (size_t)max_lookback};
    return limits;
}

static char* InServerEncoding(const char* text) { return pg_any_to_server(text, (int)strlen(text), PG_UTF8); }

pg_attribute_noreturn() static void Report(const SqlFault* fault) {
    const int code = fault->status == SARVANE_OUT_OF_MEMORY ? ERRCODE_OUT_OF_MEMORY
                     : fault->status == SARVANE_NO_LIBRARY  ? ERRCODE_CONFIG_FILE_ERROR
                                                            : ERRCODE_INVALID_PARAMETER_VALUE;
    ereport(ERROR, (errcode(code), errmsg("%s", InServerEncoding(fault->message)),
                    fault->detail[0] ? errdetail("%s", InServerEncoding(fault->detail)) : 0,
                    fault->hint[0] ? errhint("%s", InServerEncoding(fault->hint)) : 0));
    pg_unreachable();
}

static void ReportStatus(SarvaneStatus status) {
    SqlFault fault;
    if (status == SARVANE_OK) return;
    SetFault(&fault, status);
    Report(&fault);
}

/* Opened by the first call of a session, and kept for all of it. */
static SarvaneLibrary* Library(void) {
    static SarvaneLibrary* library = NULL;
    SqlFault fault;
    if (!library) library = OpenStudyLibrary(&fault);
    if (!library) Report(&fault);
    return library;
}

static SqlText TextOf(text* value) {
    const char* const given = VARDATA_ANY(value);
    const int length = (int)VARSIZE_ANY_EXHDR(value);
    const char* const converted = pg_server_to_any(given, length, PG_UTF8);
    const SqlText result = {converted, converted == given ? (size_t)length : strlen(converted)};
    return result;
}

/* An object that is freed with a memory context, be it at its regular end, after an error or a cancelled query. */
typedef struct Owned {
    MemoryContextCallback callback;
    void* object; /* null until it is made */
    void (*close)(void* object);
} Owned;

static void CloseOwned(void* owned) {
    Owned* const closed = owned;
    if (closed->object) closed->close(closed->object);
    closed->object = NULL;
}

/* Registers the owner before there is an object, so that nothing can go wrong between making and owning it. */
static Owned* Own(MemoryContext context, void (*close)(void*)) {
    Owned* const owned = MemoryContextAllocZero(context, sizeof(Owned));
    owned->close = close;
    owned->callback.func = CloseOwned;
    owned->callback.arg = owned;
    MemoryContextRegisterResetCallback(context, &owned->callback);
    return owned;
}

static void CloseStudy(void* study) { SarvaneFreeStudy(study); }
static void CloseTable(void* table) { FreeTable(table); }
static void CloseSeries(void* series) { FreeStoredSeries(series); }
static void CloseBytes(void* bytes) { SarvaneFreeBytes(bytes); }

/* ---- Window functions ---- */

/* What is kept for a partition; PostgreSQL hands it over with zeros at the partition's begin. */
typedef struct Partition {
    SarvaneStudy* study; /* null before the first row */
    Size width;          /* values of a row */
    int64 barCount;
    text* expression; /* as they were on the first row */
    text* columns;    /* null in the forms that name none */
    double row[5];    /* in the forms with prices */
} Partition;

static text* TextArgument(WindowObject window, int argument, const char* what) {
    bool isNull;
    const Datum value = WinGetFuncArgCurrent(window, argument, &isNull);
    if (isNull) ereport(ERROR, (errcode(ERRCODE_NULL_VALUE_NOT_ALLOWED), errmsg("%s is null", what)));
    return DatumGetTextPP(value);
}

static text* Kept(MemoryContext context, text* value) {
    const Size size = VARSIZE_ANY(value);
    return memcpy(MemoryContextAlloc(context, size), value, size);
}

static bool AreEqual(text* a, text* b) {
    return VARSIZE_ANY_EXHDR(a) == VARSIZE_ANY_EXHDR(b) &&
           memcmp(VARDATA_ANY(a), VARDATA_ANY(b), VARSIZE_ANY_EXHDR(a)) == 0;
}

/* The values of a row's array, without copying where it has no gaps. */
static const double* ArrayValues(ArrayType* array, Size* count) {
    Datum* values;
    bool* nulls;
    int size;
    double* row;
    if (ARR_NDIM(array) != 1) {
        ereport(ERROR,
                (errcode(ERRCODE_ARRAY_SUBSCRIPT_ERROR), errmsg("the values of a row are no array of one dimension")));
    }
    *count = (Size)ARR_DIMS(array)[0];
    if (!ARR_HASNULL(array)) return (const double*)ARR_DATA_PTR(array);
    deconstruct_array(array, FLOAT8OID, sizeof(float8), FLOAT8PASSBYVAL, TYPALIGN_DOUBLE, &values, &nulls, &size);
    row = palloc(sizeof(double) * (Size)size);
    for (int i = 0; i < size; ++i) row[i] = nulls[i] ? SARVANE_UNDEFINED : DatumGetFloat8(values[i]);
    return row;
}

/* The values of the present row. */
static const double* ReadRow(FunctionCallInfo fcinfo, WindowObject window, Partition* partition, Size* width) {
    bool isNull;
    if (partition->columns) {
        const Datum array = WinGetFuncArgCurrent(window, 2, &isNull);
        if (isNull) {
            ereport(ERROR, (errcode(ERRCODE_NULL_VALUE_NOT_ALLOWED), errmsg("the values of a row are null")));
        }
        return ArrayValues(DatumGetArrayTypeP(array), width);
    }
    *width = (Size)(PG_NARGS() - 1);
    for (int i = 1; i < PG_NARGS(); ++i) {
        const Datum value = WinGetFuncArgCurrent(window, i, &isNull);
        partition->row[i - 1] = isNull ? SARVANE_UNDEFINED : DatumGetFloat8(value);
    }
    return partition->row;
}

static bool IsInFrame(WindowObject window, int64 rowsFromHead) {
    bool isNull, isOut;
    WinGetFuncArgInFrame(window, 0, (int)rowsFromHead, WINDOW_SEEK_HEAD, false, &isNull, &isOut);
    return !isOut;
}

/* A study runs over the partition up to the present row. Another frame is an error on the first row, if it ends
 * elsewhere, or on the last, if it begins later: as many rows as the partition has are not in it then. */
static void CheckFrame(WindowObject window, int64 row, int64 barCount) {
    bool isRight = true;
    if (row == 0) {
        isRight = IsInFrame(window, 0) && (barCount == 1 || !IsInFrame(window, 1) || WinRowsArePeers(window, 0, 1));
    }
    if (isRight && row == barCount - 1) isRight = IsInFrame(window, row);
    if (isRight) return;
    ereport(ERROR, (errcode(ERRCODE_WINDOWING_ERROR),
                    errmsg("a study needs the frame from the partition's first row to the present one"),
                    errhint("Leave out the frame, or write ROWS UNBOUNDED PRECEDING.")));
}

static void StartPartition(FunctionCallInfo fcinfo, WindowObject window, Partition* partition, bool namesColumns,
                           bool givesLabel) {
    const MemoryContext context = GetMemoryChunkContext(partition);
    const SqlLimits limits = Limits();
    SarvaneRunSettings run = SARVANE_RUN_SETTINGS;
    SarvaneLibrary* const library = Library();
    Owned* const owned = Own(context, CloseStudy);
    SqlText expression, columns;
    SqlFault fault;
    Size width;

    partition->expression = Kept(context, TextArgument(window, 0, "the expression"));
    if (namesColumns) partition->columns = Kept(context, TextArgument(window, 1, "the list of columns"));
    partition->barCount = WinGetPartitionRowCount(window);
    ReadRow(fcinfo, window, partition, &width);
    expression = TextOf(partition->expression);
    if (namesColumns) {
        columns = TextOf(partition->columns);
    } else {
        columns.first = BarColumns(width);
        columns.length = strlen(columns.first);
    }
    owned->object = CompileStudy(library, expression, columns, width, &limits, &fault);
    if (!owned->object || (givesLabel && !GivesLabels(owned->object, &fault))) Report(&fault);
    run.barCount = partition->barCount;
    ReportStatus(SarvaneReset(owned->object, &run));
    partition->width = width;
    partition->study = owned->object;
}

/* The value on the present row. */
static double NextValue(FunctionCallInfo fcinfo, bool namesColumns, bool givesLabel) {
    const WindowObject window = PG_WINDOW_OBJECT();
    const int64 row = WinGetCurrentPosition(window);
    Partition* const partition = WinGetPartitionLocalMemory(window, sizeof(Partition));
    const double* values;
    double result;
    Size width;

    if (!partition->study) {
        StartPartition(fcinfo, window, partition, namesColumns, givesLabel);
    } else if ((!get_fn_expr_arg_stable(fcinfo->flinfo, 0) &&
                !AreEqual(partition->expression, TextArgument(window, 0, "the expression"))) ||
               (namesColumns && !get_fn_expr_arg_stable(fcinfo->flinfo, 1) &&
                !AreEqual(partition->columns, TextArgument(window, 1, "the list of columns")))) {
        ereport(ERROR,
                (errcode(ERRCODE_INVALID_PARAMETER_VALUE), errmsg("the expression changes inside of a partition")));
    }
    CheckFrame(window, row, partition->barCount);
    values = ReadRow(fcinfo, window, partition, &width);
    if (width != partition->width) {
        ereport(ERROR, (errcode(ERRCODE_ARRAY_SUBSCRIPT_ERROR),
                        errmsg("a row has %zu values, and the first one has %zu", width, partition->width)));
    }
    ReportStatus(SarvaneStep(partition->study, row, values, &result));
    WinSetMarkPosition(window, row); /* earlier rows aren't needed any more */
    return result;
}

static Datum NumberOrNull(FunctionCallInfo fcinfo, double value) {
    if (value == SARVANE_UNDEFINED) PG_RETURN_NULL();
    PG_RETURN_FLOAT8(value);
}

static Datum LabelOrNull(FunctionCallInfo fcinfo, double value) {
    char label[12];
    if (!SarvaneLabelText(value, label)) PG_RETURN_NULL();
    PG_RETURN_TEXT_P(cstring_to_text(InServerEncoding(label)));
}

PG_FUNCTION_INFO_V1(sarvane_study);
Datum sarvane_study(PG_FUNCTION_ARGS) { return NumberOrNull(fcinfo, NextValue(fcinfo, false, false)); }

PG_FUNCTION_INFO_V1(sarvane_study_row);
Datum sarvane_study_row(PG_FUNCTION_ARGS) { return NumberOrNull(fcinfo, NextValue(fcinfo, true, false)); }

PG_FUNCTION_INFO_V1(sarvane_study_label);
Datum sarvane_study_label(PG_FUNCTION_ARGS) { return LabelOrNull(fcinfo, NextValue(fcinfo, false, true)); }

PG_FUNCTION_INFO_V1(sarvane_label);
Datum sarvane_label(PG_FUNCTION_ARGS) { return LabelOrNull(fcinfo, PG_GETARG_FLOAT8(0)); }

/* ---- Frames ---- */

static double StartOfFrame(FunctionCallInfo fcinfo, double seconds) {
    text* const frame = PG_GETARG_TEXT_PP(0);
    const SqlText given = {VARDATA_ANY(frame), VARSIZE_ANY_EXHDR(frame)};
    SqlFault fault;
    double start;
    if (!FrameStart(given, seconds, &start, &fault)) Report(&fault);
    return start;
}

PG_FUNCTION_INFO_V1(sarvane_frame);
Datum sarvane_frame(PG_FUNCTION_ARGS) { PG_RETURN_FLOAT8(StartOfFrame(fcinfo, PG_GETARG_FLOAT8(1))); }

PG_FUNCTION_INFO_V1(sarvane_frame_time);
Datum sarvane_frame_time(PG_FUNCTION_ARGS) {
    const TimestampTz time = PG_GETARG_TIMESTAMPTZ(1);
    const int64 epoch = (int64)(POSTGRES_EPOCH_JDATE - UNIX_EPOCH_JDATE) * SECS_PER_DAY;
    int64 second = time / USECS_PER_SEC;
    if (TIMESTAMP_NOT_FINITE(time)) PG_RETURN_TIMESTAMPTZ(time);
    if (time % USECS_PER_SEC < 0) --second;
    second = (int64)StartOfFrame(fcinfo, (double)(second + epoch)) - epoch;
    PG_RETURN_TIMESTAMPTZ(second * USECS_PER_SEC);
}

/* ---- Lists ---- */

static Datum GiveTable(FunctionCallInfo fcinfo, SqlTable* made, Owned* owned, const SqlFault* fault) {
    ReturnSetInfo* const rows = (ReturnSetInfo*)fcinfo->resultinfo;
    AttInMetadata* types;
    char* cells[DESCRIBE_COLUMNS > LIST_COLUMNS ? DESCRIBE_COLUMNS : LIST_COLUMNS];
    owned->object = made;
    if (!made) Report(fault);
    InitMaterializedSRF(fcinfo, 0);
    types = TupleDescGetAttInMetadata(rows->setDesc);
    for (Size row = 0; row < TableRowCount(made); ++row) {
        for (int column = 0; column < rows->setDesc->natts; ++column) {
            const char* const cell = TableCell(made, row, (size_t)column);
            cells[column] = cell ? InServerEncoding(cell) : NULL;
        }
        tuplestore_puttuple(rows->setResult, BuildTupleFromCStrings(types, cells));
    }
    return (Datum)0;
}

PG_FUNCTION_INFO_V1(sarvane_study_list);
Datum sarvane_study_list(PG_FUNCTION_ARGS) {
    SarvaneLibrary* const library = Library();
    Owned* const owned = Own(CurrentMemoryContext, CloseTable);
    SqlFault fault;
    return GiveTable(fcinfo, ListStudies(library, &fault), owned, &fault);
}

PG_FUNCTION_INFO_V1(sarvane_study_describe);
Datum sarvane_study_describe(PG_FUNCTION_ARGS) {
    SarvaneLibrary* const library = Library();
    const SqlText name = TextOf(PG_GETARG_TEXT_PP(0));
    Owned* const owned = Own(CurrentMemoryContext, CloseTable);
    SqlFault fault;
    return GiveTable(fcinfo, DescribeStudy(library, name, &fault), owned, &fault);
}

/* ---- Stored series ---- */

/* Adds a row to the series of an aggregate. `time` is the number of the argument with its time. */
static Datum AddBar(FunctionCallInfo fcinfo, Owned* owned, int time, const double* row, Size width) {
    SqlFault fault;
    if (!AddRow(owned->object, PG_GETARG_INT64(time), width, row, &fault)) Report(&fault);
    PG_RETURN_POINTER(owned);
}

static MemoryContext AggregateContext(FunctionCallInfo fcinfo) {
    MemoryContext context;
    if (!AggCheckCallContext(fcinfo, &context)) elog(ERROR, "only study_state() and study_update() call this function");
    return context;
}

static void NeedArguments(FunctionCallInfo fcinfo) {
    for (int i = 1; i < PG_NARGS(); ++i) {
        if (PG_ARGISNULL(i)) {
            ereport(ERROR, (errcode(ERRCODE_NULL_VALUE_NOT_ALLOWED), errmsg("only values of bars may be null")));
        }
    }
}

PG_FUNCTION_INFO_V1(sarvane_state_start);
Datum sarvane_state_start(PG_FUNCTION_ARGS) {
    const MemoryContext context = AggregateContext(fcinfo);
    Owned* owned = PG_ARGISNULL(0) ? NULL : (Owned*)PG_GETARG_POINTER(0);
    const double* row;
    Size width;
    NeedArguments(fcinfo);
    row = ArrayValues(PG_GETARG_ARRAYTYPE_P(4), &width);
    if (!owned) {
        SarvaneLibrary* const library = Library();
        const SqlText expression = TextOf(PG_GETARG_TEXT_PP(1)), columns = TextOf(PG_GETARG_TEXT_PP(2));
        const SqlLimits limits = Limits();
        SqlFault fault;
        owned = Own(context, CloseSeries);
        owned->object = StartStoredSeries(library, expression, columns, width, &limits, &fault);
        if (!owned->object) Report(&fault);
    }
    return AddBar(fcinfo, owned, 3, row, width);
}

static void ReadState(Owned* owned, bytea* state) {
    SarvaneLibrary* const library = Library();
    const SqlLimits limits = Limits();
    SqlFault fault;
    owned->object = ReadStoredSeries(library, VARDATA_ANY(state), VARSIZE_ANY_EXHDR(state), &limits, &fault);
    if (!owned->object) Report(&fault);
}

PG_FUNCTION_INFO_V1(sarvane_state_resume);
Datum sarvane_state_resume(PG_FUNCTION_ARGS) {
    const MemoryContext context = AggregateContext(fcinfo);
    Owned* owned = PG_ARGISNULL(0) ? NULL : (Owned*)PG_GETARG_POINTER(0);
    const double* row;
    Size width;
    NeedArguments(fcinfo);
    row = ArrayValues(PG_GETARG_ARRAYTYPE_P(3), &width);
    if (!owned) {
        owned = Own(context, CloseSeries);
        ReadState(owned, PG_GETARG_BYTEA_PP(1));
    }
    return AddBar(fcinfo, owned, 2, row, width);
}

PG_FUNCTION_INFO_V1(sarvane_state_finish);
Datum sarvane_state_finish(PG_FUNCTION_ARGS) {
    Owned *series, *bytes;
    bytea* state;
    size_t size;
    SqlFault fault;
    AggregateContext(fcinfo);
    if (PG_ARGISNULL(0)) PG_RETURN_NULL();
    series = (Owned*)PG_GETARG_POINTER(0);
    bytes = Own(CurrentMemoryContext, CloseBytes);
    if (!FinishStoredSeries(series->object, &bytes->object, &size, &fault)) Report(&fault);
    state = palloc(VARHDRSZ + size);
    SET_VARSIZE(state, VARHDRSZ + size);
    memcpy(VARDATA(state), bytes->object, size);
    PG_RETURN_BYTEA_P(state);
}

PG_FUNCTION_INFO_V1(sarvane_value);
Datum sarvane_value(PG_FUNCTION_ARGS) {
    bytea* const state = PG_GETARG_BYTEA_PP(0);
    Owned* const series = Own(CurrentMemoryContext, CloseSeries);
    double value;
    ReadState(series, state);
    value = LastValue(series->object);
    CloseOwned(series);
    return NumberOrNull(fcinfo, value);
}
