// The entry of the extension, which SQLite finds by the name of the file.

#include <sqlite3ext.h>

extern "C" {
SQLITE_EXTENSION_INIT1
}

#include "sqlite/connection.h"

namespace sarvane::sql {

bool ReadNumber(sqlite3_value* value, double& number, SqlFault* fault) {
    switch (sqlite3_value_numeric_type(value)) {
    case SQLITE_NULL: number = SARVANE_UNDEFINED; return true;
    case SQLITE_INTEGER:
    case SQLITE_FLOAT: number = sqlite3_value_double(value); return true;
    default: SetFaultMessage(fault, "a value of a bar is no number"); return false;
    }
}

namespace {

int Load(sqlite3* database, char** error) {
    constexpr int FirstWithWindowFunctions = 3025000;
    if (sqlite3_libversion_number() < FirstWithWindowFunctions) {
        *error = sqlite3_mprintf("SQLite %s has no window functions: 3.25 is needed", sqlite3_libversion());
        return SQLITE_ERROR;
    }
    auto connection = std::make_shared<Connection>();
    SqlFault fault = {};
    connection->database = database;
    connection->library = OpenStudyLibrary(&fault);
    if (!connection->library) {
        *error = sqlite3_mprintf("%s", fault.message);
        return SQLITE_ERROR;
    }
    for (const auto add : {AddWindowFunctions, AddStateFunctions, AddTables}) {
        if (const int status = add(database, connection); status != SQLITE_OK) return status;
    }
    return SQLITE_OK;
}

}  // namespace
}  // namespace sarvane::sql

extern "C" __attribute__((visibility("default"))) int sqlite3_sarvanesqlite_init(sqlite3* database, char** error,
                                                                                 const sqlite3_api_routines* api) {
    SQLITE_EXTENSION_INIT2(api)
    try {
        return sarvane::sql::Load(database, error);
    } catch (...) {
        return SQLITE_NOMEM;
    }
}
