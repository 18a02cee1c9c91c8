#pragma once

#include "bars/bar_file.h"
#include "library.h"

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

// A column of a table, such as that of a run.
struct Result : ResultColumn {
    const double* value = nullptr;      // on the bar of the last step
    const std::string* text = nullptr;  // in the place of a number
};

// The expression of a column as it was typed, or its name, without the output.
std::string TypedText(const ResultColumn& column);

// What the user should know of the first bars.
struct StartNotice {
    std::string text;
    std::size_t bars;  // that it is about
};

// Which columns expressions read. Fails with the place of what is wrong with an expression.
std::vector<bool> WantedBy(const Library& library, const std::vector<std::string>& titles,
                           const std::vector<std::string>& expressions, const OperatorSettings& settings);

// Expressions over a file of bars, run bar by bar.
class Study {
public:
    Study(const Library& library, const BarFile& bars, RunSettings settings = {});

    // Compiles one more expression, which adds a result, or one for each of its outputs. Fails with the place of what is
    // wrong.
    void Add(const std::string& expression, bool allOutputs = false);

    const std::vector<Result>& Results() const { return results; }

    // How many operators the longest chain from a result to the bars holds, and its lookback in bars.
    std::size_t Depth() const { return compiler.Compiled().depth; }
    std::size_t Lookback() const { return compiler.Compiled().lookback; }
    // Keywords of the operators that can only take the last bar back.
    const std::vector<std::string>& WithoutSnapshots() const { return compiler.Compiled().graph.WithoutSnapshots(); }
    // What is no error and yet worth a word, each in a line: arguments that their operator does not take as they stand.
    std::vector<std::string> Warnings() const;
    // The same of a whole run: columns that had a value on none of its bars, and why that may be.
    std::vector<std::string> EmptyColumns() const;

    // Leaves results without a value ahead of these bars, one for each result.
    void BlankAhead(std::vector<std::size_t> firstShown) { blankUntil = std::move(firstShown); }

    void Reset();
    void Step(std::size_t bar);

    // Copy the state of all operators to snapshot `slot` and back. A save to the same slot after every bar costs next to
    // nothing. Some operators forget the higher slots on a save, so slots are to be used like a stack.
    void Save(short slot);
    void Restore(short slot);

private:
    const BarFile& bars;
    double barSeconds;  // between them; 0 where they have no times
    RunSettings settings;
    Compiler compiler;
    std::vector<double> row;  // the file's columns on the present bar
    std::vector<Result> results;
    std::vector<bool> hasValue;           // of each result, on some bar since the reset
    std::vector<std::size_t> blankUntil;  // bar from which on results are shown; empty for the first one
};

}  // namespace sarvane::study
