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
};

// One step of an expression: it takes the values of a bar from where they stand and leaves its own.
class Node {
public:
    virtual ~Node() = default;
    virtual void Reset(int lastBar) = 0;
    virtual void Step(int bar) = 0;
};

// What an expression stands for: places that hold its value on the present bar.
struct Operand {
    const double* value = nullptr;          // as a plain value: a bar's close, or an operator's first output
    std::array<const double*, 4> prices{};  // open, high, low, close; a plain value stands for all four
    bool isBar = false;
    bool isLabel = false;                                        // `value` is a packed chart label
    std::vector<std::pair<std::string, const double*>> outputs;  // by name

    const double* Output(std::string_view name) const;
};

// A column of the table that a run gives.
struct Result {
    std::string title;
    const double* value;  // on the bar of the last step
    bool isLabel;
};

// Expressions over a file of bars, bound to operators and run bar by bar.
class Study {
public:
    Study(const Library& library, const BarFile& bars, RunSettings settings = {});

    // Binds one more expression, which adds a result, or one for each output of its operator. Fails with the place of
    // what can't be bound.
    void Add(const std::string& expression, bool allOutputs = false);

    const std::vector<Result>& Results() const { return results; }

    void Reset();
    void Step(std::size_t bar);

private:
    friend class Binder;

    const Library& library;
    const BarFile& bars;
    RunSettings settings;
    std::vector<double> row;  // the file's columns on the present bar
    std::deque<double> constants;
    std::vector<std::unique_ptr<Node>> nodes;  // each behind those it reads
    std::vector<Result> results;
};

}  // namespace sarvane::study
