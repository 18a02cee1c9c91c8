#pragma once

#include "explain/recording.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sarvane::study {

// A step of a formula: a name, and an expression over the operator's arguments and the steps ahead.
struct Step {
    std::string name;
    std::string text;          // as it is calculated
    std::string shown = {};    // as people read it, where that is simpler; `before` is the step's value one bar ago
    std::string atStart = {};  // the same while the step has no value before
    bool isNow = false;        // its value on this bar counts for all bars of the steps behind it
    std::optional<std::size_t> firstBar = {};  // that it looks at, where its text does not tell
};

// A call of an operator on one bar: what a formula may depend on.
class OperatorCall {
public:
    OperatorCall(const Recording& recording, const NodeText& node);

    const Recording& Run() const { return recording; }
    const NodeText& Node() const { return node; }
    const OperatorText& Text() const { return *node.called; }
    // The number of an argument: a constant, its default, or, where a curve is bound to it, that of this bar.
    std::optional<double> Number(std::string_view argument) const;
    // A number of values, which is at most as many as there were so far of the first input.
    std::size_t Window(std::string_view argument) const;
    bool IsBound(std::string_view argument) const;
    // Values of an input by bar; empty if there is no such input.
    std::span<const double> Input(std::string_view name) const;
    // The same with gaps carried on, and without those at the start: the newest is the last one.
    std::vector<double> Carried(std::string_view name) const;
    double Output(std::size_t index) const { return recording.Value(node.output + index); }

private:
    const Recording& recording;
    const NodeText& node;
    const OperatorClass* operatorClass;
};

// How an operator works its outputs out: a step with the name of each output that it explains, and those on the way.
struct Recipe {
    std::string_view keyword;
    std::function<std::vector<Step>(const OperatorCall&)> steps;
    bool isRounded = false;  // to the operator's digits, or 6
};

// By family, in the files of these names.
std::vector<Recipe> AverageRecipes();
std::vector<Recipe> WindowRecipes();
std::vector<Recipe> FilterRecipes();
std::vector<Recipe> BarRecipes();

// The recipe of an operator; null for one that has no closed formula.
const Recipe* FindRecipe(std::string_view keyword);

// An average that moves a share of the way to each value; the first one starts it.
Step Moving(const std::string& name, const std::string& value, const std::string& share);
// The share of an exponential average: of a length above 1, else the number itself.
std::string ShareOf(const std::string& length);

// "a + b + ...", in brackets so that it is nested as little as can be.
std::string Added(const std::vector<std::string>& terms);

}  // namespace sarvane::study
