#ifndef SARVANE_STUDY_H
#define SARVANE_STUDY_H

/* The study library for C, and for every language that can call C: expressions on top of the 41 operators, such as
 * "RSI(Close, 14)" or "Close > Sim(Close, 20)", run bar by bar, over whole columns, or as a series that ticks and is
 * corrected. The language of expressions is described in docs/expressions.md, the use of these functions in
 * docs/embedding.md.
 *
 * Texts are UTF-8 and end with a zero. Values are doubles; SARVANE_UNDEFINED stands for a missing one.
 *
 * Ownership. What a SarvaneCreate, SarvaneOpen or SarvaneRead function hands out is freed by the function named with it;
 * null may be handed to these, too. A text or array that is reached through a returned pointer or structure belongs to
 * the object that it was asked from, and stays until that object is changed or freed. What is handed in is copied: it
 * need not outlive the call. An object keeps alive what it needs: a library may be closed while studies of it live.
 *
 * Threads. Different objects may be used by different threads at the same time; one object by one thread at a time.
 * Several threads may use one library at the same time, as long as none calls SarvaneDefine
 * or SarvaneListDefinitions.
 *
 * Errors. A function that can fail answers a status. Where it also has a `problem`, which may be null, it puts there
 * what is wrong with a text, to be freed by SarvaneFreeProblem, or null if there is nothing to say but the status. No
 * call ends the program, prints anything or lets an exception out.
 */

#include <stddef.h>
#include <stdint.h>

#if defined(SARVANE_STUDY_STATIC)
#define SARVANE_STUDY_API
#elif defined(_WIN32) && defined(SARVANE_STUDY_BUILDS)
#define SARVANE_STUDY_API __declspec(dllexport)
#elif defined(_WIN32)
#define SARVANE_STUDY_API __declspec(dllimport)
#else
#define SARVANE_STUDY_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A missing value, in bars and results. It is compared exactly; a NaN is a value. */
#define SARVANE_UNDEFINED (-2147483648.0)

typedef enum SarvaneStatus {
    SARVANE_OK = 0,
    SARVANE_WRONG_TEXT = 1,     /* an expression or definition can't be compiled; see the problem */
    SARVANE_WRONG_ARGUMENT = 2, /* null where something is needed, an index or count out of range, times out of order */
    SARVANE_OUT_OF_MEMORY = 3,
    SARVANE_NO_LIBRARY = 4,  /* the operator library can't be loaded; see the problem */
    SARVANE_NO_SNAPSHOT = 5, /* nothing was saved there */
    SARVANE_NOT_RUNNING = 6, /* no run was started, or one has failed: SarvaneReset starts the next */
    SARVANE_FAILED = 7,      /* an operator failed otherwise */
    SARVANE_WRONG_STREAM = 8 /* bytes that are no stored series, or whose results can't be repeated; see the problem */
} SarvaneStatus;

/* A status in words, for people. The text stays for good. */
SARVANE_STUDY_API const char* SarvaneStatusText(SarvaneStatus status);

/* What is wrong with a text, and where. */
typedef struct SarvaneProblem {
    size_t offset;       /* of the faulty part, in bytes from the start of the text */
    size_t length;       /* of the faulty part, in bytes; 0 at the text's end */
    const char* message; /* for people, without a full stop */
    const char*
        source; /* the text's name: "" for the first expression, "expression 2" and so on, or that of definitions */
    const char* text;           /* the whole text that the place lies in; "" where there is none */
    const char* const* nearest; /* known words that look like an unknown one, best first */
    size_t nearestCount;
} SarvaneProblem;

SARVANE_STUDY_API void SarvaneFreeProblem(SarvaneProblem* problem);

/* ---- The library: operators, and the studies defined on them ---- */

typedef struct SarvaneLibrary SarvaneLibrary;

/* Loads the operator library and the standard studies. `operatorLibrary` is a path, or null for the library that lies
 * beside the study library, beside the program, or where the system looks. Freed by SarvaneCloseLibrary. Errors:
 * SARVANE_NO_LIBRARY, SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneOpenLibrary(const char* operatorLibrary, SarvaneLibrary** library,
                                                   SarvaneProblem** problem);
SARVANE_STUDY_API void SarvaneCloseLibrary(SarvaneLibrary* library);

/* Adds definitions such as "Spread(n = 20) = Close - Sim(Close, n)", or none of them if there is a problem. `name`, such
 * as that of a file, tells in messages where they come from. Studies that were created before don't see them. Errors:
 * SARVANE_WRONG_TEXT, SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneDefine(SarvaneLibrary* library, const char* definitions, const char* name,
                                              SarvaneProblem** problem);

typedef enum SarvaneArgumentKind {
    SARVANE_CURVE = 1,  /* one value for each bar */
    SARVANE_BAR = 2,    /* whole bars */
    SARVANE_COUNT = 3,  /* a whole number */
    SARVANE_NUMBER = 4, /* any number */
    SARVANE_SWITCH = 5, /* off for 0, on for any other */
    SARVANE_WORD = 6    /* one of some words */
} SarvaneArgumentKind;

/* How a result is best drawn. */
typedef enum SarvaneDrawing {
    SARVANE_LINE = 1,      /* a line from each value to the next */
    SARVANE_STEP = 2,      /* a level line up to the next value, as for a stop or a count */
    SARVANE_BAND = 3,      /* a row of coloured cells, as for a vote of -1, 0 or 1 */
    SARVANE_HISTOGRAM = 4, /* a column from zero to the value */
    SARVANE_MARKER = 5     /* a mark or a text at the bar */
} SarvaneDrawing;

/* An operator, as it describes itself. Operators stand in the order of their keywords. */
typedef struct SarvaneOperatorInfo {
    const char* keyword;  /* as expressions write it */
    const char* sentence; /* what it computes */
    size_t argumentCount;
    size_t outputCount;
    int keepsSnapshots; /* 0 if it can only take its last bar back, once */
} SarvaneOperatorInfo;

typedef struct SarvaneArgumentInfo {
    const char* name;
    const char* meaning;
    const char* standard; /* the text that stands for one that is left out; "" if there is none */
    double least;         /* infinite where there is no limit */
    double greatest;
    SarvaneArgumentKind kind;
    int isOptional;   /* the operator gives results without it */
    int canBeBound;   /* a curve may stand in its place */
    size_t wordCount; /* words that it takes, where its kind is word */
} SarvaneArgumentInfo;

/* A word and what it means. */
typedef struct SarvaneWordInfo {
    const char* text;
    const char* meaning;
} SarvaneWordInfo;

typedef struct SarvaneOutputInfo {
    const char* name;
    const char* meaning;
    SarvaneDrawing drawing;
} SarvaneOutputInfo;

/* Errors of those that fill a structure: SARVANE_WRONG_ARGUMENT for an index that is none. */
SARVANE_STUDY_API size_t SarvaneOperatorCount(const SarvaneLibrary* library);
SARVANE_STUDY_API SarvaneStatus SarvaneGetOperatorInfo(const SarvaneLibrary* library, size_t op,
                                                       SarvaneOperatorInfo* info);
SARVANE_STUDY_API SarvaneStatus SarvaneGetArgumentInfo(const SarvaneLibrary* library, size_t op, size_t argument,
                                                       SarvaneArgumentInfo* info);
SARVANE_STUDY_API SarvaneStatus SarvaneGetWordInfo(const SarvaneLibrary* library, size_t op, size_t argument,
                                                   size_t word, SarvaneWordInfo* info);
SARVANE_STUDY_API SarvaneStatus SarvaneGetOutputInfo(const SarvaneLibrary* library, size_t op, size_t output,
                                                     SarvaneOutputInfo* info);

/* A study that is defined in the language of expressions: one of the standard studies, such as RSI, or one that
 * SarvaneDefine added. What its comment does not say is "". */
typedef struct SarvaneDefinitionInfo {
    const char* name;
    const char* sentence; /* what it is */
    const char* group;
    const char* source; /* where it comes from: author, title, year */
    const char* choice; /* what was decided where the source leaves it open */
    const char* text;   /* the definition itself */
    const char* file;   /* that it stands in */
    size_t argumentCount;
    size_t outputCount; /* 0 if it has a plain value only */
} SarvaneDefinitionInfo;

/* Counts the definitions and describes them for the calls below, until the next SarvaneDefine or SarvaneListDefinitions.
 * No other thread may use the library meanwhile. Error: SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneListDefinitions(SarvaneLibrary* library, size_t* count);
SARVANE_STUDY_API SarvaneStatus SarvaneGetDefinitionInfo(const SarvaneLibrary* library, size_t definition,
                                                         SarvaneDefinitionInfo* info);
/* Name, meaning and default of an argument; all else in the structure is the same for each. */
SARVANE_STUDY_API SarvaneStatus SarvaneGetDefinitionArgument(const SarvaneLibrary* library, size_t definition,
                                                             size_t argument, SarvaneArgumentInfo* info);
/* Name and meaning of an output. */
SARVANE_STUDY_API SarvaneStatus SarvaneGetDefinitionOutput(const SarvaneLibrary* library, size_t definition,
                                                           size_t output, SarvaneWordInfo* info);

/* ---- Studies: expressions compiled over columns of data ---- */

typedef struct SarvaneStudy SarvaneStudy;

/* Begins a study over columns with these names. Names are found in any letter case; "open", "high", "low" and "close"
 * make the bar, and "time", the seconds since 1970, UTC, tells `at` to which longer bar a bar belongs. Freed by
 * SarvaneFreeStudy. Errors: SARVANE_WRONG_ARGUMENT, SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneCreateStudy(const SarvaneLibrary* library, const char* const* columns,
                                                   size_t columnCount, SarvaneStudy** study);
/* The same expressions over the same columns, without a run. */
SARVANE_STUDY_API SarvaneStatus SarvaneCopyStudy(const SarvaneStudy* study, SarvaneStudy** copy);
SARVANE_STUDY_API void SarvaneFreeStudy(SarvaneStudy* study);

/* A setting of a whole number that stays at its default. */
#define SARVANE_UNSET INT32_MIN

typedef struct SarvaneExpressionSettings {
    int32_t history;    /* bars that operators keep where no argument says how many; 400 if unset */
    int32_t digits;     /* of precision, 4 to 15, for the averages that round; each one's own if unset */
    int32_t allOutputs; /* 1: a result for each output of an expression with several; 0: for the first */
} SarvaneExpressionSettings;
#define SARVANE_EXPRESSION_SETTINGS                                                                                    \
    { SARVANE_UNSET, SARVANE_UNSET, 0 }

/* How long the bars of the data are, in seconds; 0 for not known. It only counts for the lookback of expressions with `at`,
 * added from here on: that is told in bars of the data. Error: SARVANE_WRONG_ARGUMENT for null and numbers below 0. */
SARVANE_STUDY_API SarvaneStatus SarvaneSetBarLength(SarvaneStudy* study, double seconds);

/* Compiles one more expression into a study, which adds a result, or several; a text that only defines functions adds
 * none. Names that it defines are known to the expressions behind it, and parts that are equal are calculated once. Ends
 * a run of the study. `settings` may be null. Errors: SARVANE_WRONG_TEXT, after which only the names defined ahead of
 * the fault have been added; SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneAddExpression(SarvaneStudy* study, const char* expression,
                                                     const SarvaneExpressionSettings* settings,
                                                     SarvaneProblem** problem);

/* A column of what a study gives. */
typedef struct SarvaneResultInfo {
    const char* title;   /* the expression as written, or its name */
    const char* output;  /* of an expression with several, if allOutputs was set; else "" */
    const char* formula; /* the expression in the words of its operators */
    const char* meaning; /* may be "" */
    size_t expression;   /* number of the expression among those that add results, from 0 */
    size_t lookback;     /* bars, through all operators behind it */
    int isLabel;         /* its values are texts, which SarvaneLabelText reads */
    int inPriceUnits;    /* it is measured as prices are */
    int unitKind;        /* as IZelmorOp::GetOutputUnits gives it */
    SarvaneDrawing drawing;
} SarvaneResultInfo;

SARVANE_STUDY_API size_t SarvaneResultCount(const SarvaneStudy* study);
SARVANE_STUDY_API SarvaneStatus SarvaneGetResultInfo(const SarvaneStudy* study, size_t result, SarvaneResultInfo* info);

typedef struct SarvaneStudyInfo {
    size_t columnCount;
    size_t depth;        /* operators in the longest chain from a result to the data */
    size_t lookback;     /* bars, through the longest chain */
    int keepsSnapshots;  /* 0 if an operator can only take its last bar back: corrections then start at the first bar */
    size_t nodeCount;    /* different parts of the expressions, each calculated once a bar */
    size_t warningCount; /* see SarvaneGetWarning */
} SarvaneStudyInfo;

SARVANE_STUDY_API SarvaneStatus SarvaneGetStudyInfo(const SarvaneStudy* study, SarvaneStudyInfo* info);
/* Whether some expression reads a column; 0 for an index that is none. */
SARVANE_STUDY_API int SarvaneReadsColumn(const SarvaneStudy* study, size_t column);
/* What is no error and yet worth a word: arguments that their operator does not take as they stand. Null for an index
 * that is none. */
SARVANE_STUDY_API const char* SarvaneGetWarning(const SarvaneStudy* study, size_t warning);

/* One part of the expressions, in the order of calculation. */
typedef struct SarvaneNodeInfo {
    const char* text;     /* in the words of its operators */
    size_t uses;          /* how many times expressions asked for it */
    const size_t* inputs; /* places of the values that it reads; the columns of the data come first */
    size_t inputCount;
    size_t output; /* the first place that it writes */
    size_t outputCount;
} SarvaneNodeInfo;

SARVANE_STUDY_API SarvaneStatus SarvaneGetNodeInfo(const SarvaneStudy* study, size_t node, SarvaneNodeInfo* info);

/* ---- A run, bar by bar ---- */

typedef struct SarvaneRunSettings {
    int64_t barCount;    /* of the whole series, where it is known: operators that mark the last bar need it; else -1 */
    double priceStep;    /* that some operators round to; 0 leaves it at 1 */
    int32_t holdsInputs; /* 1: bar arithmetic repeats a missing input */
    int32_t nanIsGap;    /* 1: a NaN comes in as SARVANE_UNDEFINED, which goes out as a NaN; whole columns only */
} SarvaneRunSettings;
#define SARVANE_RUN_SETTINGS                                                                                           \
    { -1, 0.0, 0, 0 }

/* Starts a run before the first bar. `settings` may be null. */
SARVANE_STUDY_API SarvaneStatus SarvaneReset(SarvaneStudy* study, const SarvaneRunSettings* settings);

/* Takes in the next bar: a value for each column. `results` gets a value for each result. `bar` is the index of the bar,
 * from 0 on; it counts only where the run was told its barCount. Allocates nothing once windows are full. Errors:
 * SARVANE_WRONG_ARGUMENT for null, SARVANE_NOT_RUNNING, SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneStep(SarvaneStudy* study, int64_t bar, const double* row, double* results);

/* Copy the running state to a numbered snapshot, and back, as often as is wanted. Slots go from 1 to 32767, less the
 * number of `at` one inside the other. With some operators a save removes the slots above it, so use slots like a stack. A tick is SarvaneRestore of the slot that was
 * saved before the last bar, and SarvaneStep. Errors: SARVANE_WRONG_ARGUMENT for a slot that can't be,
 * SARVANE_NO_SNAPSHOT, SARVANE_NOT_RUNNING (a restore starts a failed run again), SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneSave(SarvaneStudy* study, int slot);
SARVANE_STUDY_API SarvaneStatus SarvaneRestore(SarvaneStudy* study, int slot);

/* ---- Whole columns ---- */

/* Numbers that stand `stride` doubles apart; a negative stride goes backwards. */
typedef struct SarvaneInput {
    const double* first; /* null for a column that no expression reads */
    ptrdiff_t stride;
} SarvaneInput;

typedef struct SarvaneOutput {
    double* first; /* null for a result that isn't wanted */
    ptrdiff_t stride;
} SarvaneOutput;

/* Runs a study over `barCount` bars from a reset on: the same results as bar by bar, in one call. `inputs` has an entry
 * for each column, `outputs` one for each result. An output may lie in the place of an input. The run of the study is at
 * its last bar then. `settings` may be null; its barCount is not read. Errors: SARVANE_WRONG_ARGUMENT for null or for
 * more than 2147483647 bars, SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneRun(SarvaneStudy* study, const SarvaneRunSettings* settings, size_t barCount,
                                           const SarvaneInput* inputs, const SarvaneOutput* outputs);

/* One of several runs of the same expressions. */
typedef struct SarvaneJob {
    size_t barCount;
    const SarvaneInput* inputs;
    const SarvaneOutput* outputs;
    SarvaneStatus status; /* set by SarvaneRunMany */
} SarvaneJob;

/* Runs the expressions of `study` over independent series, in up to `threadCount` threads; with 0 in as many as the
 * processor runs at once. The results don't depend on their number. Each thread works on a copy of the study, which
 * itself stays as it is. Answers the status of the first job that failed. */
SARVANE_STUDY_API SarvaneStatus SarvaneRunMany(const SarvaneStudy* study, const SarvaneRunSettings* settings,
                                               SarvaneJob* jobs, size_t jobCount, size_t threadCount);

/* ---- Series: bars that are appended, tick and are corrected ---- */

typedef struct SarvaneSeries SarvaneSeries;

typedef struct SarvaneSeriesSettings {
    size_t snapshotDistance; /* bars between snapshots that corrections go back to; 0 for none */
    size_t mostSnapshots;    /* 2 to 32766; when they are used up, every other one goes */
    double priceStep;        /* as in SarvaneRunSettings */
    int32_t holdsInputs;
} SarvaneSeriesSettings;
#define SARVANE_SERIES_SETTINGS                                                                                        \
    { 1000, 32766, 0.0, 0 }

/* A series without bars, over the expressions of a study, which itself stays as it is. `settings` may be null. Freed by
 * SarvaneFreeSeries. */
SARVANE_STUDY_API SarvaneStatus SarvaneCreateSeries(const SarvaneStudy* study, const SarvaneSeriesSettings* settings,
                                                    SarvaneSeries** series);
SARVANE_STUDY_API void SarvaneFreeSeries(SarvaneSeries* series);

/* The next four change bars and calculate what follows from that. A row has a value for each column of the study. Times
 * are whole numbers of any unit, each later than the one before. Errors: SARVANE_WRONG_ARGUMENT, where nothing was done,
 * for null, a bar that is none, or a time out of order; SARVANE_OUT_OF_MEMORY, after which the bars may have been changed
 * but results are missing from some bar on, until another of these calls succeeds. */
SARVANE_STUDY_API SarvaneStatus SarvaneAppendBar(SarvaneSeries* series, int64_t time, const double* row);
/* A tick: the last bar has other values. */
SARVANE_STUDY_API SarvaneStatus SarvaneChangeLastBar(SarvaneSeries* series, const double* row);
/* A correction: bar `bar`, counted from 0, has other values. */
SARVANE_STUDY_API SarvaneStatus SarvaneCorrectBar(SarvaneSeries* series, size_t bar, const double* row);
/* Puts `count` other bars in the place of those from bar `first` on: to append many, to insert, and to remove. `rows`
 * holds row behind row. */
SARVANE_STUDY_API SarvaneStatus SarvaneRewriteBars(SarvaneSeries* series, size_t first, size_t count,
                                                   const int64_t* times, const double* rows);

typedef struct SarvaneSeriesInfo {
    size_t barCount;
    size_t calculatedCount;  /* bars that have results: all of them, unless the last call failed */
    size_t resultCount;      /* results of a bar */
    size_t snapshotCount;    /* snapshots that stay */
    size_t snapshotDistance; /* bars between them; it doubles when snapshots are thinned out */
    size_t byteCount;        /* memory of bars and results, without what operators keep */
} SarvaneSeriesInfo;

SARVANE_STUDY_API SarvaneStatus SarvaneGetSeriesInfo(const SarvaneSeries* series, SarvaneSeriesInfo* info);
/* The bar with this time, or barCount if there is none. */
SARVANE_STUDY_API size_t SarvaneFindBar(const SarvaneSeries* series, int64_t time);
/* The time of a bar. Error: SARVANE_WRONG_ARGUMENT for a bar that is none. */
SARVANE_STUDY_API SarvaneStatus SarvaneGetTime(const SarvaneSeries* series, size_t bar, int64_t* time);
/* Copies the results of `count` bars from bar `first` on, all results of a bar behind each other. Error:
 * SARVANE_WRONG_ARGUMENT for null, and for bars without results. */
SARVANE_STUDY_API SarvaneStatus SarvaneReadResults(const SarvaneSeries* series, size_t first, size_t count,
                                                   double* results);
/* The bars that got other results by the last call that changed bars, rising; a new bar is one of them. */
SARVANE_STUDY_API size_t SarvaneGetChangedBars(const SarvaneSeries* series, const size_t** bars);
/* The study of a series, to ask what it gives. It belongs to the series: it is neither changed nor freed nor run. */
SARVANE_STUDY_API const SarvaneStudy* SarvaneGetSeriesStudy(const SarvaneSeries* series);

/* The series as bytes that are the same on every system: expressions, settings and all bars, since averages and running
 * sums depend on each of them to the last bit. `bytes` belongs to the caller, who frees it with SarvaneFreeBytes. The
 * definitions that were made with SarvaneDefine are not in it. Error: SARVANE_NOT_RUNNING if results are missing,
 * SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneWriteSeries(const SarvaneSeries* series, void** bytes, size_t* size);
SARVANE_STUDY_API void SarvaneFreeBytes(void* bytes);
/* The series that was written. All bars are calculated again, and each result must be the one that was written, bit for
 * bit. Errors: SARVANE_WRONG_STREAM for any other bytes, and for results that differ; SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneReadSeries(const SarvaneLibrary* library, const void* bytes, size_t size,
                                                  SarvaneSeries** series, SarvaneProblem** problem);

/* ---- Bars of another frame: of trades or of shorter bars ---- */

typedef struct SarvaneBars SarvaneBars;

typedef struct SarvaneBarsSettings {
    int32_t areTrades; /* 1: any number of rows may have one time; 0: the same time again changes the last row */
    int32_t isOpen;    /* 1: rows may come late or change, and all are kept for that; 0: times rise */
    int32_t fills;     /* 1: stretches of the session without a row become bars, too: frames below a day only */
} SarvaneBarsSettings;
#define SARVANE_BARS_SETTINGS                                                                                          \
    { 0, 0, 0 }

/* Begins bars of a frame, such as "5min", "1W" or "1h 09:30 America/New_York" (docs/time_frames.md has all), over rows with
 * these columns. A bar has the first "open", the greatest "high", the least "low", the last "close", the sum of "volume",
 * and of any other column the last value. Of trades, each is a row with its price for open, high, low and close.
 * `settings` may be null. Freed by SarvaneFreeBars. Errors: SARVANE_WRONG_TEXT for no frame, and for one that goes by a
 * column which is missing; SARVANE_WRONG_ARGUMENT, SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneCreateBars(const char* frame, const char* const* columns, size_t columnCount,
                                                  const SarvaneBarsSettings* settings, SarvaneBars** bars,
                                                  SarvaneProblem** problem);
SARVANE_STUDY_API void SarvaneFreeBars(SarvaneBars* bars);
/* Takes `count` rows, which have times in nanoseconds since 1970, UTC, and an input for each column. Columns may share an
 * input. `first` and `end`, which may be null, tell which bars are new or have other values: those from `first` to ahead
 * of `end`. Errors: SARVANE_WRONG_ARGUMENT for null, for a time before that of the last row unless the bars are open, and
 * for a price that makes more than 100000 bricks, where the rows ahead have been taken; SARVANE_OUT_OF_MEMORY, after which
 * the bars are of no more use. */
SARVANE_STUDY_API SarvaneStatus SarvaneTakeRows(SarvaneBars* bars, size_t count, const int64_t* times,
                                                const SarvaneInput* inputs, size_t* first, size_t* end);
/* How many bars there are; the last one still forms. */
SARVANE_STUDY_API size_t SarvaneCountBars(const SarvaneBars* bars);
/* Copies `count` bars from bar `first` on: times, which may be null, in nanoseconds, and an output for each column. Error:
 * SARVANE_WRONG_ARGUMENT for null and for bars that there are not. */
SARVANE_STUDY_API SarvaneStatus SarvaneReadBars(const SarvaneBars* bars, size_t first, size_t count, int64_t* times,
                                                const SarvaneOutput* outputs);

/* The stretch of a frame of time that a moment lies in, for hosts that group rows by themselves. */
typedef struct SarvaneFrame SarvaneFrame;

/* Freed by SarvaneFreeFrame. Errors: SARVANE_WRONG_TEXT for no frame of time; SARVANE_WRONG_ARGUMENT,
 * SARVANE_OUT_OF_MEMORY. */
SARVANE_STUDY_API SarvaneStatus SarvaneReadFrame(const char* text, SarvaneFrame** frame, SarvaneProblem** problem);
SARVANE_STUDY_API void SarvaneFreeFrame(SarvaneFrame* frame);
/* Begin and end, which does not belong to it, in seconds since 1970, UTC, as the moment. Error: SARVANE_WRONG_ARGUMENT for
 * null and for moments more than 3000 years from 1970. */
SARVANE_STUDY_API SarvaneStatus SarvaneGetStretch(const SarvaneFrame* frame, int64_t second, int64_t* begin,
                                                  int64_t* end);

/* ---- An expression as an operator ---- */

/* Compiles one expression into an object that answers as an operator does, for hosts that drive operators: `op` becomes
 * an IZelmorOp (operator.h) with one reference, and has IZelmorOp2, too. Its inputs are the columns that the expression
 * reads, its outputs those of the expression. It is used by one thread at a time, like every operator. Errors as those
 * of SarvaneAddExpression; SARVANE_WRONG_TEXT, too, for a text that only defines functions. */
SARVANE_STUDY_API SarvaneStatus SarvaneCompile(const SarvaneLibrary* library, const char* expression,
                                               const char* const* columns, size_t columnCount,
                                               const SarvaneExpressionSettings* settings, void** op,
                                               SarvaneProblem** problem);

/* ---- Labels ---- */

/* Puts the text of a packed label into `text` and returns 1, or returns 0 with an empty text for a value that is no
 * label. 12 bytes are enough for each. */
SARVANE_STUDY_API int SarvaneLabelText(double value, char text[12]);

#ifdef __cplusplus
}
#endif

#endif
