#ifndef SARVANE_SQL_STORED_SERIES_H
#define SARVANE_SQL_STORED_SERIES_H

#include "study_call.h"

#ifdef __cplusplus
extern "C" {
#endif

/* An expression with its bars, which a database keeps as bytes between statements: what study_state() gives. Rows that
 * are added are collected first and put in the order of their times at the end, since databases hand them over in any
 * order. */
typedef struct StoredSeries StoredSeries;

/* A series without bars; arguments as in CompileStudy. Freed by FreeStoredSeries. */
StoredSeries* StartStoredSeries(const SarvaneLibrary* library, SqlText expression, SqlText columns, size_t valueCount,
                                const SqlLimits* limits, SqlFault* fault);
/* The series that FinishStoredSeries wrote. */
StoredSeries* ReadStoredSeries(const SarvaneLibrary* library, const void* bytes, size_t size, const SqlLimits* limits,
                               SqlFault* fault);
void FreeStoredSeries(StoredSeries* series);

/* Adds a row, which has one value for each column: a new bar if its time is later than that of all bars so far, a tick
 * or correction if there is a bar of this time. 0 if that fails. */
int AddRow(StoredSeries* series, int64_t time, size_t valueCount, const double* row, SqlFault* fault);

/* Calculates what the added rows change, and writes the series; bytes are freed by SarvaneFreeBytes. 0 if that fails:
 * also for two rows of the same time, and for a row between two bars. */
int FinishStoredSeries(StoredSeries* series, void** bytes, size_t* size, SqlFault* fault);

/* The result of the last bar; SARVANE_UNDEFINED without bars. */
double LastValue(const StoredSeries* series);

#ifdef __cplusplus
}
#endif

#endif
