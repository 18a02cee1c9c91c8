#ifndef SARVANE_SQL_CATALOGUE_H
#define SARVANE_SQL_CATALOGUE_H

#include "study_call.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Rows that tell of operators and studies: the contents of study_list() and study_describe(). */
typedef struct SqlTable SqlTable;

/* Columns: name, kind ("operator" or "study"), meaning, arguments, outputs (lists with commas), group, source,
 * definition. Freed by FreeTable. No other thread may use the library meanwhile. Null if memory runs out. */
#define LIST_COLUMNS 8
SqlTable* ListStudies(SarvaneLibrary* library, SqlFault* fault);

/* The arguments of an operator or a study, the words that an argument takes, and the outputs. Columns: part
 * ("argument", "word" or "output"), name, meaning, default, least, greatest (numbers), kind (what an argument takes),
 * optional ("1" or "0"). Null if there is no operator and no study with this name. */
#define DESCRIBE_COLUMNS 8
SqlTable* DescribeStudy(SarvaneLibrary* library, SqlText name, SqlFault* fault);

void FreeTable(SqlTable* table);
size_t TableRowCount(const SqlTable* table);
/* Null where there is nothing to tell, which SQL shows as NULL. */
const char* TableCell(const SqlTable* table, size_t row, size_t column);

#ifdef __cplusplus
}
#endif

#endif
