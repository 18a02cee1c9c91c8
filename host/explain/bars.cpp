#include "explain/recipes.h"

#include <fmt/format.h>

namespace sarvane::study {
namespace {

// Each price of the bar with the value. High and low change places where the sign turns them round.
std::vector<Step> EachPrice(const OperatorCall& call, char sign, bool valueFirst) {
    std::vector<Step> steps;
    const auto worked = [&](const std::string& price) {
        return valueFirst ? fmt::format("value {} {}", sign, price) : fmt::format("{} {} value", price, sign);
    };
    const auto& names = call.Text().outputs;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == "high")
            steps.push_back({"high", fmt::format("max({}, {})", worked("high"), worked("low"))});
        else if (names[i] == "low")
            steps.push_back({"low", fmt::format("min({}, {})", worked("high"), worked("low"))});
        else
            steps.push_back({names[i], worked(names[i])});
    }
    return steps;
}

Recipe WithSign(std::string_view keyword, char sign, bool valueFirst) {
    return {keyword, [=](const OperatorCall& call) { return EachPrice(call, sign, valueFirst); }};
}

}  // namespace

std::vector<Recipe> BarRecipes() {
    return {WithSign("BarAdd", '+', false), WithSign("BarSub", '-', false), WithSign("BarMul", '*', false),
            WithSign("BarDiv", '/', false), WithSign("SBarAdd", '+', true), WithSign("SBarSub", '-', true),
            WithSign("SBarMul", '*', true), WithSign("SBarDiv", '/', true)};
}

}  // namespace sarvane::study
