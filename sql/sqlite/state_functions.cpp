// study_state(), study_update() and study_value(): a series kept as a blob, for tables that hold the newest values.

#include "sqlite/connection.h"
#include "stored_series.h"

#include <utility>
#include <vector>

namespace sarvane::sql {
namespace {

struct SeriesCloser {
    void operator()(StoredSeries* series) const { FreeStoredSeries(series); }
};
using SeriesHandle = std::unique_ptr<StoredSeries, SeriesCloser>;

const Connection& ConnectionOf(sqlite3_context* context) {
    return **static_cast<SharedConnection*>(sqlite3_user_data(context));
}

StoredSeries* Read(sqlite3_context* context, sqlite3_value* state, SqlFault* fault) {
    const void* const bytes = sqlite3_value_blob(state);
    return ReadStoredSeries(ConnectionOf(context).library, bytes, static_cast<std::size_t>(sqlite3_value_bytes(state)),
                            &Limits, fault);
}

// Study_state() has an expression and names of columns ahead of time and values, study_update() has a state there.
template <bool resumes>
void AddBar(sqlite3_context* context, int count, sqlite3_value** arguments) {
    auto** const slot = static_cast<StoredSeries**>(sqlite3_aggregate_context(context, sizeof(StoredSeries*)));
    if (!slot) return sqlite3_result_error_nomem(context);
    Guarded(context, resumes ? "study_update" : "study_state", [&](SqlFault* fault) {
        constexpr int ahead = resumes ? 1 : 2;
        const int valueCount = count - ahead - 1;
        if (valueCount < 1) {
            SetFaultMessage(fault, resumes ? "a state, a time and values are needed"
                                           : "an expression, names of columns, a time and values are needed");
            return false;
        }
        if (!*slot) {
            *slot = resumes
                        ? Read(context, arguments[0], fault)
                        : StartStoredSeries(ConnectionOf(context).library, TextOf(arguments[0]), TextOf(arguments[1]),
                                            static_cast<std::size_t>(valueCount), &Limits, fault);
        }
        if (!*slot) return false;
        if (sqlite3_value_numeric_type(arguments[ahead]) != SQLITE_INTEGER) {
            SetFaultMessage(fault, "the time of a bar is no whole number");
            return false;
        }
        std::vector<double> row(static_cast<std::size_t>(valueCount));
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (!ReadNumber(arguments[ahead + 1 + static_cast<int>(i)], row[i], fault)) return false;
        }
        return AddRow(*slot, sqlite3_value_int64(arguments[ahead]), row.size(), row.data(), fault) != 0;
    });
}

void FinishState(sqlite3_context* context) {
    auto** const slot = static_cast<StoredSeries**>(sqlite3_aggregate_context(context, 0));
    const SeriesHandle series(slot ? std::exchange(*slot, nullptr) : nullptr);
    if (!series) return;  // no rows, or an error that has been told
    Guarded(context, "study_state", [&](SqlFault* fault) {
        void* bytes = nullptr;
        std::size_t size = 0;
        if (!FinishStoredSeries(series.get(), &bytes, &size, fault)) return false;
        sqlite3_result_blob64(context, bytes, size, SarvaneFreeBytes);
        return true;
    });
}

void LastValueOf(sqlite3_context* context, int, sqlite3_value** arguments) {
    if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return sqlite3_result_null(context);
    Guarded(context, "study_value", [&](SqlFault* fault) {
        const SeriesHandle series(Read(context, arguments[0], fault));
        if (series) GiveNumber(context, LastValue(series.get()));
        return series != nullptr;
    });
}

}  // namespace

int AddStateFunctions(sqlite3* database, const SharedConnection& connection) {
    const auto add = [&](const char* name, int count, auto* call, auto* step, auto* finish) {
        const auto forget = [](void* held) { delete static_cast<SharedConnection*>(held); };
        return sqlite3_create_function_v2(database, name, count, SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                          new SharedConnection(connection), call, step, finish, forget);
    };
    using Call = void(sqlite3_context*, int, sqlite3_value**);
    using Finish = void(sqlite3_context*);
    constexpr Call* none = nullptr;
    int status = add("study_state", -1, none, AddBar<false>, FinishState);
    if (status == SQLITE_OK) status = add("study_update", -1, none, AddBar<true>, FinishState);
    if (status == SQLITE_OK) status = add("study_value", 1, LastValueOf, none, static_cast<Finish*>(nullptr));
    return status;
}

}  // namespace sarvane::sql
