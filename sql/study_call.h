#ifndef SARVANE_SQL_STUDY_CALL_H
#define SARVANE_SQL_STUDY_CALL_H

/* What the extensions for databases have in common, on top of sarvane/study.h: expressions that are compiled for
 * columns of SQL, with limits, and what goes wrong as texts of a fixed size, which nobody has to free. The functions
 * are C: none lets an exception out, and no database's way of leaving a function passes through C++.
 */

#include "sarvane/study.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A text of a database: UTF-8, without a zero at its end. */
typedef struct SqlText {
    const char* first;
    size_t length; /* in bytes */
} SqlText;

/* Why a call failed. Texts that are too long end with "...", never inside a character. */
typedef struct SqlFault {
    SarvaneStatus status;
    char message[512]; /* for people, without a full stop */
    char detail[256];  /* where it lies in the expression; may be "" */
    char hint[256];    /* words that look like an unknown one; may be "" */
} SqlFault;

/* What a statement may ask for. Definitions can't make an expression stand for more operations than the study library
 * allows, and it bounds nesting as well. */
typedef struct SqlLimits {
    size_t expressionBytes;
    size_t lookback; /* bars, through the longest chain of operators */
} SqlLimits;
#define SQL_LIMITS                                                                                                     \
    { 65536, 1000000 }

/* Fills a fault from a status that came without a problem. */
void SetFault(SqlFault* fault, SarvaneStatus status);
/* Fills a fault with a message of our own, formatted as by printf. The status is SARVANE_WRONG_ARGUMENT. */
#ifdef __GNUC__
__attribute__((format(printf, 2, 3)))
#endif
void SetFaultMessage(SqlFault* fault, const char* format, ...);

/* The operators and the standard studies, or null. Freed by SarvaneCloseLibrary. */
SarvaneLibrary* OpenStudyLibrary(SqlFault* fault);

/* The names, with commas between them, of the columns of study(): 1 value is the close, 4 are the bar, 5 the bar with
 * its volume. Null for another count. */
const char* BarColumns(size_t valueCount);

/* One expression, which gives one result, over columns whose names have commas between them; null if it can't be
 * compiled or goes beyond the limits, or if there is not one name for each value. Freed by SarvaneFreeStudy. */
SarvaneStudy* CompileStudy(const SarvaneLibrary* library, SqlText expression, SqlText columns, size_t valueCount,
                           const SqlLimits* limits, SqlFault* fault);

/* Adds an expression to a study that was made with SarvaneCreateStudy; 0 if that fails. With `allOutputs` it gives a
 * result for each output. */
int AddExpressionWithin(SarvaneStudy* study, SqlText expression, int allOutputs, const SqlLimits* limits,
                        SqlFault* fault);

/* 1 if the values of a compiled expression are labels; else 0, with a fault. */
int GivesLabels(const SarvaneStudy* study, SqlFault* fault);

/* The begin of the stretch of a frame of time that a moment lies in; both are seconds since 1970, UTC. 0 with a fault. The
 * frame of the last call of a thread is kept: rows mostly have the same. */
int FrameStart(SqlText frame, double seconds, double* start, SqlFault* fault);

#ifdef __cplusplus
}
#endif

#endif
