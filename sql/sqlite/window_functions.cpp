// study(), study_row() and study_label(): the last value of an expression over the rows of a frame.

#include "sqlite/connection.h"

#include <cstring>
#include <new>
#include <utility>

namespace sarvane::sql {
namespace {

// Where one of the functions gets its columns from, and what it gives.
struct Form {
    const char* name;
    bool namesColumns;  // in its second argument
    bool givesLabel;
    int FirstValue() const { return namesColumns ? 2 : 1; }
};
struct Function {
    Form form;
    SharedConnection connection;
};

// The rows of the frame in one partition. While the frame only grows, each row is one step of the run. Once a row has
// left it at its begin, the run is repeated over the frame's rows for each value.
class Frame {
public:
    bool Add(const Function& function, int count, sqlite3_value** arguments, SqlFault* fault) {
        if (!study && !Start(function, count, arguments, fault)) return false;
        if (!IsSame(arguments[0], expression) || (function.form.namesColumns && !IsSame(arguments[1], names))) {
            SetFaultMessage(fault, "the expression changes inside of a partition");
            return false;
        }
        const std::size_t begin = rows.size();
        rows.resize(begin + width);
        for (std::size_t i = 0; i < width; ++i) {
            if (!ReadNumber(arguments[function.form.FirstValue() + static_cast<int>(i)], rows[begin + i], fault)) {
                return false;
            }
        }
        return slides || Step(&rows[begin], fault);
    }

    void DropFirst() {
        slides = true;
        first += width;
        if (first * 2 < rows.size()) return;
        rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(first));
        first = 0;
    }

    bool Value(double& result, SqlFault* fault) {
        if (slides) {
            value = SARVANE_UNDEFINED;
            if (!Reset(fault)) return false;
            for (std::size_t row = first; row < rows.size(); row += width) {
                if (!Step(&rows[row], fault)) return false;
            }
        }
        result = value;
        return true;
    }

private:
    bool Start(const Function& function, int count, sqlite3_value** arguments, SqlFault* fault) {
        const Form& form = function.form;
        if (count <= form.FirstValue()) {
            SetFaultMessage(fault, "an expression, names of columns and a value for each are needed");
            return false;
        }
        const auto valueCount = static_cast<std::size_t>(count - form.FirstValue());
        Keep(arguments[0], expression);
        if (form.namesColumns) {
            Keep(arguments[1], names);
        } else {
            names = BarColumns(valueCount);
        }
        study.reset(CompileStudy(function.connection->library, {expression.data(), expression.size()},
                                 {names.data(), names.size()}, valueCount, &Limits, fault));
        width = valueCount;
        return study && (!form.givesLabel || GivesLabels(study.get(), fault)) && Reset(fault);
    }

    static void Keep(sqlite3_value* value, std::string& text) {
        const SqlText given = TextOf(value);
        if (given.first) text.assign(given.first, given.length);
    }
    static bool IsSame(sqlite3_value* value, const std::string& text) {
        const SqlText given = TextOf(value);
        return given.length == text.size() && (text.empty() || std::memcmp(given.first, text.data(), text.size()) == 0);
    }

    bool Reset(SqlFault* fault) { return IsDone(SarvaneReset(study.get(), nullptr), fault); }
    bool Step(const double* row, SqlFault* fault) { return IsDone(SarvaneStep(study.get(), 0, row, &value), fault); }
    static bool IsDone(SarvaneStatus status, SqlFault* fault) {
        if (status != SARVANE_OK) SetFault(fault, status);
        return status == SARVANE_OK;
    }

    StudyHandle study;
    std::string expression, names;
    std::size_t width = 0;     // values of a row
    std::vector<double> rows;  // row behind row
    std::size_t first = 0;     // place of the frame's first row in `rows`
    bool slides = false;       // rows leave the frame
    double value = SARVANE_UNDEFINED;
};

const Function& FunctionOf(sqlite3_context* context) { return *static_cast<Function*>(sqlite3_user_data(context)); }

// SQLite keeps a pointer for each partition, null at first, and calls Finish for each, after errors and cancellation,
// too. With a size of 0 there may be none.
Frame** FrameOf(sqlite3_context* context, int size) {
    return static_cast<Frame**>(sqlite3_aggregate_context(context, size));
}

void Give(sqlite3_context* context, Frame* frame) {
    const Form& form = FunctionOf(context).form;
    if (!frame) return sqlite3_result_null(context);
    Guarded(context, form.name, [&](SqlFault* fault) {
        double value = SARVANE_UNDEFINED;
        if (!frame->Value(value, fault)) return false;
        form.givesLabel ? GiveLabel(context, value) : GiveNumber(context, value);
        return true;
    });
}

void Step(sqlite3_context* context, int count, sqlite3_value** arguments) {
    const Function& function = FunctionOf(context);
    Guarded(context, function.form.name, [&](SqlFault* fault) {
        Frame** const frame = FrameOf(context, sizeof(Frame*));
        if (!frame) throw std::bad_alloc();
        if (!*frame) *frame = new Frame;
        return (*frame)->Add(function, count, arguments, fault);
    });
}

void Inverse(sqlite3_context* context, int, sqlite3_value**) {
    Frame** const frame = FrameOf(context, 0);
    if (frame && *frame) (*frame)->DropFirst();
}

void Value(sqlite3_context* context) {
    Frame** const frame = FrameOf(context, 0);
    Give(context, frame ? *frame : nullptr);
}

void Finish(sqlite3_context* context) {
    Frame** const slot = FrameOf(context, 0);
    const std::unique_ptr<Frame> frame(slot ? std::exchange(*slot, nullptr) : nullptr);
    Give(context, frame.get());
}

void LabelOfNumber(sqlite3_context* context, int, sqlite3_value** arguments) {
    Guarded(context, "study_label", [&](SqlFault* fault) {
        double number = SARVANE_UNDEFINED;
        if (!ReadNumber(arguments[0], number, fault)) return false;
        GiveLabel(context, number);
        return true;
    });
}

void StartOfFrame(sqlite3_context* context, int, sqlite3_value** arguments) {
    Guarded(context, "study_frame", [&](SqlFault* fault) {
        double time = SARVANE_UNDEFINED, start = SARVANE_UNDEFINED;
        if (!ReadNumber(arguments[1], time, fault)) return false;
        if (time != SARVANE_UNDEFINED && !FrameStart(TextOf(arguments[0]), time, &start, fault)) return false;
        start == SARVANE_UNDEFINED ? sqlite3_result_null(context)
                                   : sqlite3_result_int64(context, static_cast<sqlite3_int64>(start));
        return true;
    });
}

}  // namespace

int AddWindowFunctions(sqlite3* database, const SharedConnection& connection) {
    constexpr int Flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    constexpr int AnyCount = -1;
    const auto add = [&](const Form& form, int argumentCount) {
        const auto forget = [](void* function) { delete static_cast<Function*>(function); };
        return sqlite3_create_window_function(database, form.name, argumentCount, Flags, new Function{form, connection},
                                              Step, Finish, Value, Inverse, forget);
    };
    int status = add({"study_row", true, false}, AnyCount);
    for (const int count : {2, 5, 6}) {
        if (status == SQLITE_OK) status = add({"study", false, false}, count);
        if (status == SQLITE_OK) status = add({"study_label", false, true}, count);
    }
    if (status != SQLITE_OK) return status;
    status = sqlite3_create_function_v2(database, "study_frame", 2, Flags, nullptr, StartOfFrame, nullptr, nullptr,
                                        nullptr);
    if (status != SQLITE_OK) return status;
    return sqlite3_create_function_v2(database, "study_label", 1, Flags, nullptr, LabelOfNumber, nullptr, nullptr,
                                      nullptr);
}

}  // namespace sarvane::sql
