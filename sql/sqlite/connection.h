#pragma once

#include "fault.h"

#include <sqlite3ext.h>

#include <memory>
#include <string>

extern "C" {
SQLITE_EXTENSION_INIT3
}

namespace sarvane::sql {

// What the functions of one connection share. SQLite lets only one thread at a time into a connection, and the library
// needs that for its lists.
struct Connection {
    sqlite3* database = nullptr;
    SarvaneLibrary* library = nullptr;

    ~Connection() { SarvaneCloseLibrary(library); }
};
using SharedConnection = std::shared_ptr<const Connection>;

inline constexpr SqlLimits Limits = SQL_LIMITS;

// A fault in one line, as SQLite reports errors.
inline std::string TextOf(const char* function, const SqlFault& fault) {
    std::string text = std::string(function) + "(): " + fault.message;
    const std::string detail = fault.detail, hint = fault.hint;
    if (!detail.empty()) text += ", " + detail;
    if (!hint.empty()) text += "; " + hint;
    return text;
}

inline SqlText TextOf(sqlite3_value* value) {
    const auto* const first = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {first, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

// Runs what answers one call of SQLite's. What goes wrong becomes the error of the statement: C++ has no exceptions
// that SQLite knows.
template <class Call>
void Guarded(sqlite3_context* context, const char* function, Call call) noexcept {
    try {
        SqlFault fault = {};
        if (!call(&fault)) sqlite3_result_error(context, TextOf(function, fault).c_str(), -1);
    } catch (...) {
        sqlite3_result_error_nomem(context);
    }
}

// Reads a number of a row, a gap for NULL; false, with a fault, for anything else.
bool ReadNumber(sqlite3_value* value, double& number, SqlFault* fault);

// Gives a result, NULL for a gap.
inline void GiveNumber(sqlite3_context* context, double number) {
    if (number == SARVANE_UNDEFINED) {
        sqlite3_result_null(context);
    } else {
        sqlite3_result_double(context, number);
    }
}

// Gives the text of a packed label, NULL for any other number.
inline void GiveLabel(sqlite3_context* context, double number) {
    char text[12];
    if (SarvaneLabelText(number, text)) {
        sqlite3_result_text(context, text, -1, SQLITE_TRANSIENT);
    } else {
        sqlite3_result_null(context);
    }
}

// The functions of each file; an error code of SQLite's.
int AddWindowFunctions(sqlite3* database, const SharedConnection& connection);
int AddStateFunctions(sqlite3* database, const SharedConnection& connection);
int AddTables(sqlite3* database, const SharedConnection& connection);

}  // namespace sarvane::sql
