// The table-valued functions study_list(), study_describe(name) and study_run(query, expressions...).

#include "catalogue.h"
#include "sqlite/connection.h"

#include <vector>

namespace sarvane::sql {
namespace {

// The rows of one call.
class Rows {
public:
    virtual ~Rows() = default;
    virtual std::size_t Count() const = 0;
    virtual void Give(sqlite3_context* context, std::size_t row, int column) const = 0;
};
using RowsHandle = std::unique_ptr<Rows>;
using Arguments = std::vector<sqlite3_value*>;

struct TableCloser {
    void operator()(SqlTable* table) const { FreeTable(table); }
};

constexpr int LeastColumn = 4, GreatestColumn = 5, OptionalColumn = 7;  // of study_describe()

// Texts of the catalogue, some of which are numbers.
class CatalogueRows : public Rows {
public:
    CatalogueRows(SqlTable* rows, unsigned numbers) : table(rows), numericColumns(numbers) {}

    std::size_t Count() const override { return TableRowCount(table.get()); }
    void Give(sqlite3_context* context, std::size_t row, int column) const override {
        const char* const cell = TableCell(table.get(), row, static_cast<std::size_t>(column));
        if (cell && (numericColumns >> column & 1U)) {
            const double number = std::stod(cell);
            column == OptionalColumn ? sqlite3_result_int(context, number != 0.0)
                                     : sqlite3_result_double(context, number);
        } else {
            sqlite3_result_text(context, cell, -1, SQLITE_TRANSIENT);  // NULL for null
        }
    }

private:
    std::unique_ptr<SqlTable, TableCloser> table;
    unsigned numericColumns;  // bits from column 0 on
};

RowsHandle List(const Connection& connection, const Arguments&, SqlFault* fault) {
    SqlTable* const table = ListStudies(connection.library, fault);
    return table ? std::make_unique<CatalogueRows>(table, 0U) : nullptr;
}

RowsHandle Describe(const Connection& connection, const Arguments& arguments, SqlFault* fault) {
    constexpr unsigned Numbers = 1U << LeastColumn | 1U << GreatestColumn | 1U << OptionalColumn;
    SqlTable* const table = DescribeStudy(connection.library, TextOf(arguments.front()), fault);
    return table ? std::make_unique<CatalogueRows>(table, Numbers) : nullptr;
}

struct StatementCloser {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementCloser>;

struct ValueCloser {
    void operator()(sqlite3_value* value) const { sqlite3_value_free(value); }
};
using Value = std::unique_ptr<sqlite3_value, ValueCloser>;

// What expressions give over the rows of a query, whose first column tells which bar it is, and whose other columns are
// those of the expressions: a row for each bar and result.
class RunRows : public Rows {
public:
    bool Run(const Connection& connection, const Arguments& arguments, SqlFault* fault) {
        const Statement query = Prepare(connection.database, TextOf(arguments.front()), fault);
        return query && Compile(connection.library, query.get(), arguments, fault) &&
               Read(connection.database, query.get(), fault) && Calculate(fault);
    }

    std::size_t Count() const override { return keys.size() * infos.size(); }
    void Give(sqlite3_context* context, std::size_t row, int column) const override {
        const std::size_t bar = row / infos.size(), result = row % infos.size();
        const SarvaneResultInfo& info = infos[result];
        switch (column) {
        case 0: sqlite3_result_int64(context, static_cast<sqlite3_int64>(bar)); break;
        case 1: sqlite3_result_value(context, keys[bar].get()); break;
        case 2: sqlite3_result_text(context, info.title, -1, SQLITE_TRANSIENT); break;
        case 3: sqlite3_result_text(context, *info.output ? info.output : nullptr, -1, SQLITE_TRANSIENT); break;
        case 4: info.isLabel ? sqlite3_result_null(context) : GiveNumber(context, results[result][bar]); break;
        case 5: info.isLabel ? GiveLabel(context, results[result][bar]) : sqlite3_result_null(context); break;
        }
    }

private:
    static Statement Prepare(sqlite3* database, SqlText text, SqlFault* fault) {
        sqlite3_stmt* made = nullptr;
        const char* rest = nullptr;
        const int status = sqlite3_prepare_v2(database, text.first, static_cast<int>(text.length), &made, &rest);
        Statement statement(made);
        if (status != SQLITE_OK) {
            SetFaultMessage(fault, "%.400s", sqlite3_errmsg(database));
            return nullptr;
        }
        if (!made || !sqlite3_stmt_readonly(made) || sqlite3_column_count(made) < 2) {
            SetFaultMessage(fault,
                            "the query has to read: what tells bars apart first, then the columns of expressions");
            return nullptr;
        }
        return statement;
    }

    bool Compile(const SarvaneLibrary* library, sqlite3_stmt* query, const Arguments& arguments, SqlFault* fault) {
        std::vector<std::string> names;
        for (int i = 1; i < sqlite3_column_count(query); ++i) names.emplace_back(sqlite3_column_name(query, i));
        if (!AreClear(names, fault)) return false;
        study = CreateStudy(library, names, fault);
        if (!study) return false;
        for (auto expression = arguments.begin() + 1; expression != arguments.end(); ++expression) {
            if (!AddExpressionWithin(study.get(), TextOf(*expression), 1, &Limits, fault)) return false;
        }
        columns.resize(names.size());
        infos.resize(SarvaneResultCount(study.get()));
        for (std::size_t i = 0; i < infos.size(); ++i) SarvaneGetResultInfo(study.get(), i, &infos[i]);
        return true;
    }

    bool Read(sqlite3* database, sqlite3_stmt* query, SqlFault* fault) {
        int status = SQLITE_OK;
        while ((status = sqlite3_step(query)) == SQLITE_ROW) {
            keys.emplace_back(sqlite3_value_dup(sqlite3_column_value(query, 0)));
            for (std::size_t i = 0; i < columns.size(); ++i) {
                if (!SarvaneReadsColumn(study.get(), i)) continue;
                double& number = columns[i].emplace_back();
                if (!ReadNumber(sqlite3_column_value(query, static_cast<int>(i) + 1), number, fault)) return false;
            }
        }
        if (status != SQLITE_DONE) SetFaultMessage(fault, "%.400s", sqlite3_errmsg(database));
        return status == SQLITE_DONE;
    }

    bool Calculate(SqlFault* fault) {
        std::vector<SarvaneInput> inputs;
        for (const auto& column : columns) inputs.push_back({column.empty() ? nullptr : column.data(), 1});
        results.assign(infos.size(), std::vector<double>(keys.size()));
        std::vector<SarvaneOutput> outputs;
        for (auto& result : results) outputs.push_back({result.data(), 1});
        const SarvaneStatus status = SarvaneRun(study.get(), nullptr, keys.size(), inputs.data(), outputs.data());
        if (status != SARVANE_OK) SetFault(fault, status);
        return status == SARVANE_OK;
    }

    StudyHandle study;
    std::vector<SarvaneResultInfo> infos;  // by result
    std::vector<Value> keys;               // by bar
    std::vector<std::vector<double>> columns, results;
};

RowsHandle Run(const Connection& connection, const Arguments& arguments, SqlFault* fault) {
    auto rows = std::make_unique<RunRows>();
    return rows->Run(connection, arguments, fault) ? std::move(rows) : nullptr;
}

// One of the functions. Its arguments are hidden columns behind those that it shows.
struct TableFunction {
    const char* name;
    std::string declaration;
    int columnCount;  // without the hidden ones
    int neededArguments;
    RowsHandle (*make)(const Connection&, const Arguments&, SqlFault*);
    SharedConnection connection;
};

struct Table : sqlite3_vtab {
    const TableFunction* function;
};
struct Cursor : sqlite3_vtab_cursor {
    RowsHandle rows;
    std::size_t row = 0;
    std::vector<Value> arguments;

    Cursor() : sqlite3_vtab_cursor() {}
    const TableFunction& Function() const { return *static_cast<Table*>(pVtab)->function; }
};

int Connect(sqlite3* database, void* held, int, const char* const*, sqlite3_vtab** table, char**) {
    const auto* const function = static_cast<TableFunction*>(held);
    if (const int status = sqlite3_declare_vtab(database, function->declaration.c_str()); status != SQLITE_OK) {
        return status;
    }
    sqlite3_vtab_config(database, SQLITE_VTAB_DIRECTONLY);  // a view of somebody else can't run queries by it
    *table = new (std::nothrow) Table{{}, function};
    return *table ? SQLITE_OK : SQLITE_NOMEM;
}
int Disconnect(sqlite3_vtab* table) {
    delete static_cast<Table*>(table);
    return SQLITE_OK;
}

// The arguments must be known ahead, and none before the last may be missing.
int BestIndex(sqlite3_vtab* table, sqlite3_index_info* plan) {
    const TableFunction& function = *static_cast<Table*>(table)->function;
    int count = 0;
    for (int i = 0; i < plan->nConstraint; ++i) {
        const auto& constraint = plan->aConstraint[i];
        const int argument = constraint.iColumn - function.columnCount;
        if (argument < 0 || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
        if (!constraint.usable) return SQLITE_CONSTRAINT;
        plan->aConstraintUsage[i].argvIndex = argument + 1;
        plan->aConstraintUsage[i].omit = 1;
        ++count;
    }
    for (int i = 0; i < plan->nConstraint; ++i) {
        if (plan->aConstraintUsage[i].argvIndex > count) count = -1;
    }
    if (count < function.neededArguments) {
        table->zErrMsg = sqlite3_mprintf("%s() needs %d arguments or more, none of them twice", function.name,
                                         function.neededArguments);
        return SQLITE_ERROR;
    }
    plan->estimatedCost = 1e6;
    return SQLITE_OK;
}

int Open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
    *cursor = new (std::nothrow) Cursor;
    return *cursor ? SQLITE_OK : SQLITE_NOMEM;
}
int Close(sqlite3_vtab_cursor* cursor) {
    delete static_cast<Cursor*>(cursor);
    return SQLITE_OK;
}

int Filter(sqlite3_vtab_cursor* opened, int, const char*, int count, sqlite3_value** values) {
    auto& cursor = *static_cast<Cursor*>(opened);
    const TableFunction& function = cursor.Function();
    SqlFault fault = {};
    try {
        cursor.row = 0;
        cursor.rows = function.make(*function.connection, Arguments(values, values + count), &fault);
        cursor.arguments.clear();
        for (int i = 0; i < count; ++i) cursor.arguments.emplace_back(sqlite3_value_dup(values[i]));
        if (cursor.rows) return SQLITE_OK;
        sqlite3_free(cursor.pVtab->zErrMsg);
        cursor.pVtab->zErrMsg = sqlite3_mprintf("%s", TextOf(function.name, fault).c_str());
        return SQLITE_ERROR;
    } catch (...) {
        return SQLITE_NOMEM;
    }
}

int Next(sqlite3_vtab_cursor* cursor) {
    ++static_cast<Cursor*>(cursor)->row;
    return SQLITE_OK;
}
int IsAtEnd(sqlite3_vtab_cursor* opened) {
    const auto& cursor = *static_cast<Cursor*>(opened);
    return !cursor.rows || cursor.row >= cursor.rows->Count();
}
int Column(sqlite3_vtab_cursor* opened, sqlite3_context* context, int column) {
    const auto& cursor = *static_cast<Cursor*>(opened);
    const auto argument = static_cast<std::size_t>(column - cursor.Function().columnCount);
    if (column < cursor.Function().columnCount) {
        cursor.rows->Give(context, cursor.row, column);
    } else if (argument < cursor.arguments.size()) {  // SQLite compares some again
        sqlite3_result_value(context, cursor.arguments[argument].get());
    }
    return SQLITE_OK;
}
int RowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
    *id = static_cast<sqlite3_int64>(static_cast<Cursor*>(cursor)->row);
    return SQLITE_OK;
}

// Without a function that creates tables, the module's name is a table by itself.
constexpr sqlite3_module Module = [] {
    sqlite3_module module = {};
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xDisconnect = Disconnect;
    module.xOpen = Open;
    module.xClose = Close;
    module.xFilter = Filter;
    module.xNext = Next;
    module.xEof = IsAtEnd;
    module.xColumn = Column;
    module.xRowid = RowId;
    return module;
}();

}  // namespace

int AddTables(sqlite3* database, const SharedConnection& connection) {
    constexpr int MostExpressions = 20;
    std::string run = "CREATE TABLE x(bar INTEGER, key, title TEXT, output TEXT, value REAL, label TEXT, query HIDDEN";
    for (int i = 1; i <= MostExpressions; ++i) run += ", expression" + std::to_string(i) + " HIDDEN";
    const TableFunction functions[] = {
        {"study_list",
         "CREATE TABLE x(name TEXT, kind TEXT, meaning TEXT, arguments TEXT, outputs TEXT, \"group\" TEXT, source "
         "TEXT, "
         "definition TEXT)",
         LIST_COLUMNS, 0, List, connection},
        {"study_describe",
         "CREATE TABLE x(part TEXT, name TEXT, meaning TEXT, \"default\" TEXT, least REAL, greatest REAL, kind TEXT, "
         "optional INTEGER, wanted HIDDEN)",
         DESCRIBE_COLUMNS, 1, Describe, connection},
        {"study_run", run + ")", 6, 2, Run, connection},
    };
    for (const TableFunction& function : functions) {
        const auto forget = [](void* held) { delete static_cast<TableFunction*>(held); };
        const int status =
            sqlite3_create_module_v2(database, function.name, &Module, new TableFunction(function), forget);
        if (status != SQLITE_OK) return status;
    }
    return SQLITE_OK;
}

}  // namespace sarvane::sql
