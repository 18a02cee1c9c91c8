#pragma once

#include "bar_file.h"
#include "description.h"
#include "expression.h"
#include "library.h"

#include <array>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sarvane::study {

struct RunSettings {
    bool hold = false;                     // operators on whole bars fill missing inputs
    std::optional<double> priceStep = {};  // for operators that round to it
    OperatorSettings operators = {};
    bool live = false;  // each bar is the last one of the series when it comes
};

// One step of an expression: it takes the values of a bar from where they stand and leaves its own.
class Node {
public:
    virtual ~Node() = default;
    virtual void Reset(int lastBar) = 0;
    virtual void Step(int bar) = 0;
    virtual void Save(short slot) = 0;
    virtual void Restore(short slot) = 0;
};

struct NamedOutput {
    std::string name;
    const double* value = nullptr;
    bool inPriceUnits = false;
};

// What an expression stands for: places that hold its value on the present bar.
struct Operand {
    std::string text;                       // the expression, in the words of its operators
    bool inPriceUnits = false;              // `value` is measured as the file's prices are
    const double* value = nullptr;          // as a plain value: a bar's close, or an operator's first output
    std::array<const double*, 4> prices{};  // open, high, low, close; a plain value stands for all four
    bool isBar = false;
    bool isLabel = false;      // `value` is a packed chart label
    std::size_t depth = 0;     // operators one inside the other
    std::size_t lookback = 0;  // bars, through all of these
    std::vector<NamedOutput> outputs;

    const NamedOutput* Output(std::string_view name) const;
};

// A column of the table that a run gives.
struct Result {
    std::string title;
    const double* value;  // on the bar of the last step
    bool isLabel;
    std::size_t expression;  // which one of those added
    std::string formula;     // the expression, in the words of its operators
    std::string output;      // its name, where the expression has a column for each
    bool inPriceUnits;
};

// Expressions over a file of bars, bound to operators and run bar by bar.
class Study {
public:
    Study(const Library& library, const BarFile& bars, RunSettings settings = {});

    // Binds one more expression, which adds a result, or one for each output of its operator. Fails with the place of
    // what can't be bound.
    void Add(const std::string& expression, bool allOutputs = false);

    const std::vector<Result>& Results() const { return results; }

    // How many operators the longest chain from a result to the bars holds, and its lookback in bars.
    std::size_t Depth() const { return depth; }
    std::size_t Lookback() const { return lookback; }
    // Keywords of the operators that can only take the last bar back.
    const std::vector<std::string>& WithoutSnapshots() const { return withoutSnapshots; }

    void Reset();
    void Step(std::size_t bar);

    // Copy the state of all operators to snapshot `slot` and back. A save to the same slot after every bar costs next to
    // nothing. Some operators forget the higher slots on a save, so slots are to be used like a stack.
    void Save(short slot);
    void Restore(short slot);

private:
    friend class Binder;

    const Library& library;
    const BarFile& bars;
    RunSettings settings;
    std::vector<double> row;  // the file's columns on the present bar
    std::deque<double> constants;
    std::vector<std::unique_ptr<Node>> nodes;  // each behind those it reads
    std::vector<Result> results;
    std::size_t depth = 0;
    std::size_t lookback = 0;
    std::vector<std::string> withoutSnapshots;
};

}  // namespace sarvane::study
