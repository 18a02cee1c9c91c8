#include "explain/recipes.h"

#include "language/parser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace sarvane::study {

OperatorCall::OperatorCall(const Recording& run, const NodeText& called)
    : recording(run), node(called), operatorClass(&run.Operators().FindOrFail(called.called->keyword)) {}

bool OperatorCall::IsBound(std::string_view argument) const {
    return std::ranges::find(Text().inputs, argument) != Text().inputs.end();
}

std::optional<double> OperatorCall::Number(std::string_view argument) const {
    if (IsBound(argument)) {
        const double value = Input(argument).back();
        return IsUndefined(value) ? std::nullopt : std::optional(value);
    }
    const auto index = operatorClass->FindArgument(argument);
    if (!index) return std::nullopt;
    const auto& arguments = Text().arguments;
    std::string text = *index < arguments.size() ? arguments[*index] : "";
    if (text.empty()) text = operatorClass->arguments[*index].standard;
    double number = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::size_t OperatorCall::Window(std::string_view argument) const {
    const double number = Number(argument).value_or(0.0);
    const std::span<const double> values = Input(Text().inputs.front());
    const auto first = std::ranges::find_if_not(values, IsUndefined);
    const auto most = static_cast<std::size_t>(values.end() - first);
    return number >= 1.0 && number < static_cast<double>(most) ? static_cast<std::size_t>(number)
                                                               : (number >= 1.0 ? most : 0);
}

std::span<const double> OperatorCall::Input(std::string_view name) const {
    const auto place = std::ranges::find(Text().inputs, name) - Text().inputs.begin();
    if (place == static_cast<std::ptrdiff_t>(Text().inputs.size())) return {};
    return recording.Values(node.inputs[static_cast<std::size_t>(place)]);
}

std::vector<double> OperatorCall::Carried(std::string_view name) const {
    std::vector<double> carried;
    for (const double value : Input(name)) {
        if (!IsUndefined(value))
            carried.push_back(value);
        else if (!carried.empty())
            carried.push_back(carried.back());
    }
    return carried;
}

const Recipe* FindRecipe(std::string_view keyword) {
    static const std::vector<Recipe> all = [] {
        std::vector<Recipe> recipes;
        for (const auto& family : {AverageRecipes(), WindowRecipes(), FilterRecipes(), BarRecipes()})
            recipes.insert(recipes.end(), family.begin(), family.end());
        return recipes;
    }();
    const auto found = std::ranges::find_if(all, [&](const Recipe& recipe) { return recipe.keyword == keyword; });
    return found == all.end() ? nullptr : &*found;
}

Step Moving(const std::string& name, const std::string& value, const std::string& share) {
    return {name, fmt::format("({0} - prev({0})) * {1} + prev({0})", value, share),
            fmt::format("({} - before) * {} + before", value, share), value};
}

std::string ShareOf(const std::string& length) { return fmt::format("if({0} > 1, 2 / ({0} + 1), {0})", length); }

std::string Added(const std::vector<std::string>& terms) {
    if (terms.empty()) return "0";
    if (terms.size() == 1) return terms.front();
    const auto middle = terms.begin() + static_cast<std::ptrdiff_t>(terms.size() / 2);
    return "(" + Added({terms.begin(), middle}) + " + " + Added({middle, terms.end()}) + ")";
}

}  // namespace sarvane::study
