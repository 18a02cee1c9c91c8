#include "explain/explanation.h"

#include "bar_table.h"
#include "bars/column_names.h"
#include "columns.h"
#include "explain/recipes.h"
#include "explain/worked_out.h"
#include "failure.h"
#include "language/parser.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <fmt/ranges.h>
#include <sarvane/chart_label.h>

namespace sarvane::study {
namespace {

using Json = nlohmann::ordered_json;

Json ValueJson(double value) { return IsUndefined(value) || !std::isfinite(value) ? Json() : Json(value); }

// What people call a place: a column, "#3" for a part, "#3.integer1" for one of its outputs, or a constant.
std::string PlaceName(const Recording& run, Place place) {
    if (place < run.Columns().size()) return run.Columns()[place];
    const auto nodes = run.Nodes();
    for (std::size_t n = 0; n < nodes.size(); ++n) {
        const NodeText& node = nodes[n];
        if (place < node.output || place >= node.output + node.outputCount) continue;
        const std::size_t output = place - node.output;
        if (node.outputCount == 1) return fmt::format("#{}", n + 1);
        return node.called ? fmt::format("#{}.{}", n + 1, node.called->outputs[output])
                           : fmt::format("#{}.{}", n + 1, output + 1);
    }
    return fmt::format("{}", run.Value(place));
}

// Works a formula out, step by step, on the last bar.
class Working {
public:
    Working(const Recording& recording, const NodeText& called, const Recipe& how)
        : run(recording), node(called), call(recording, called), recipe(how) {
        count = run.AllValues(node.output).size();
        key = fmt::format("{}", node.output);
        std::size_t place = 0;
        for (const std::string& input : node.called->inputs) {
            const std::string name = input.substr(input.find('.') == std::string::npos ? 0 : input.find('.') + 1);
            values[LowerCase(name)] = run.AllValues(node.inputs[place++]);
        }
        for (const ArgumentInfo& argument : run.Operators().FindOrFail(node.called->keyword).arguments) {
            const auto number = call.Number(argument.name);
            if (number && !call.IsBound(argument.name))
                values.try_emplace(LowerCase(argument.name), run.Constant(*number));
        }
    }

    // The steps with their numbers; empty if they don't give the outputs.
    Json Steps() {
        Json steps = Json::array();
        std::size_t explained = 0;
        for (const Step& step : recipe.steps(call)) {
            if (!Calculate(step)) return Json::array();
            const double value = worked.at(LowerCase(step.name))[run.LastBar()];
            const auto output = OutputOf(step.name);
            if (output && !Agree(value, run.Value(node.output + *output))) return Json::array();
            explained += output.has_value();
            const std::string shown = ShownText(step);
            if (shown.find("before") != std::string::npos) firstBar = 0;  // through the value of the bar before
            const auto parsed = ParseExpression(shown, {0, shown.size()});
            if (!parsed) return Json::array();
            const WorkedOut whole = WorkOut(*parsed, Names(step), run.LastBar(), false),
                            brief = WorkOut(*parsed, Names(step), run.LastBar(), true);
            firstBar = std::min({firstBar, whole.firstBar, step.firstBar.value_or(firstBar)});
            const double told = output ? run.Value(node.output + *output) : value;
            steps.push_back(
                {{"name", output && *output == 0 && step.name == "out" ? node.called->outputs[0] : step.name},
                 {"formula", shown},
                 {"numbers", whole.text},
                 {"brief", brief.text},
                 {"value", ValueJson(told)},
                 {"rounded", output && recipe.isRounded && value != told}});
        }
        return explained > 0 ? steps : Json::array();
    }
    std::size_t FirstBar() const { return firstBar; }

private:
    std::optional<std::size_t> OutputOf(const std::string& name) const {
        if (name == "out") return 0;
        const auto& outputs = node.called->outputs;
        const auto found = std::ranges::find(outputs, name);
        return found == outputs.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - outputs.begin()));
    }

    // Runs the step over all bars, as an expression over the inputs, arguments and steps ahead.
    bool Calculate(const Step& step) {
        key += '\n' + step.text;
        std::span<const double> result;
        const auto known = run.Worked().find(key);
        if (known != run.Worked().end() && !dependsOnBar) {
            result = known->second;
        } else {
            std::vector<std::string> names;
            std::vector<InputColumn> inputs;
            for (const auto& [name, column] : values) {
                names.push_back(name);
                inputs.push_back({column.data()});
            }
            Compiler compiler(run.Operators().Studies(), names);
            if (compiler.Add(step.text)) return false;
            std::vector<double>& column = dependsOnBar ? own.emplace_back() : run.Worked()[key];
            column.resize(count);
            result = column;
            const OutputColumn output = {column.data()};
            if (FAILED(Checked(Run(compiler.Compiled(), {}, {inputs, count, {&output, 1}})))) {
                run.Worked().erase(key);
                return false;
            }
        }
        if (step.isNow) {
            result = own.emplace_back(count, result[run.LastBar()]);
            dependsOnBar = true;
        }
        // A price of the bar keeps its name, also where an output has the same one.
        values.try_emplace(LowerCase(step.name), result);
        worked[LowerCase(step.name)] = result;
        return true;
    }

    const double* Before(const Step& step) const {
        const std::span<const double> all = worked.at(LowerCase(step.name));
        for (std::size_t bar = run.LastBar(); bar-- > 0;) {
            if (!IsUndefined(all[bar])) return &all[bar];
        }
        return nullptr;
    }
    std::string ShownText(const Step& step) const {
        if (step.shown.empty()) return step.text;
        return Before(step) || step.atStart.empty() ? step.shown : step.atStart;
    }
    NamedValues Names(const Step& step) {
        NamedValues named = values;
        if (const double* const before = Before(step)) named["before"] = own.emplace_back(count, *before);
        return named;
    }

    bool Agree(double result, double actual) const {
        if (IsUndefined(result) || IsUndefined(actual)) return false;
        const double size = std::max(std::abs(result), std::abs(actual));
        const int digits = node.called->digits.value_or(6);
        const double share = recipe.isRounded ? 0.6 * std::pow(10.0, 1 - digits) : 1e-9;
        return result == actual || std::abs(result - actual) <= size * share + 1e-9 * Scale();
    }
    // The size of what goes in: differences of large numbers are less exact.
    double Scale() const {
        double greatest = 0.0;
        for (const Place input : node.inputs) {
            const double value = run.Value(input);
            if (!IsUndefined(value) && std::isfinite(value)) greatest = std::max(greatest, std::abs(value));
        }
        return std::min(greatest, 1e6);
    }

    const Recording& run;
    const NodeText& node;
    OperatorCall call;
    const Recipe& recipe;
    std::size_t count = 0;                // of all bars
    std::string key;                      // of the step, among those that have been worked out
    bool dependsOnBar = false;            // a step ahead has its value of this bar on all of them
    std::deque<std::vector<double>> own;  // columns that hold for this bar only
    NamedValues values;                   // of inputs, arguments and steps
    NamedValues worked;                   // of steps
    std::size_t firstBar = run.LastBar();
};

Json OperatorJson(const Recording& run, const NodeText& node, Json made) {
    const OperatorClass& about = run.Operators().FindOrFail(node.called->keyword);
    made["operator"] = about.keyword;
    made["sentence"] = about.sentence;
    made["settings"] = Json::object();
    const OperatorCall call(run, node);
    for (std::size_t i = 1; i < about.arguments.size(); ++i) {
        const auto& [kind, name, meaning, standard, least, greatest, isOptional, canBeBound, words] =
            about.arguments[i];
        if (call.IsBound(name)) continue;
        const std::string given = i < node.called->arguments.size() ? node.called->arguments[i] : "";
        made["settings"][name] = !given.empty() ? given : standard.empty() ? "unset" : standard;
    }
    bool hasValue = false;
    for (std::size_t i = 0; i < node.outputCount; ++i) {
        const double value = run.Value(node.output + i);
        hasValue = hasValue || !IsUndefined(value);
        Json output = {{"name", node.called->outputs[i]}, {"value", ValueJson(value)}};
        if (node.called->outputs[i].starts_with("label")) {
            if (const auto label = LabelText(value)) output["label"] = *label;
        }
        if (i < about.outputs.size()) output["meaning"] = about.outputs[i].meaning;
        made["outputs"].push_back(std::move(output));
    }
    made["steps"] = Json::array();
    if (!hasValue) {
        made["note"] = "no value on this bar: a window that is not full, a gap, or nothing to show";
        return made;
    }
    const Recipe* const recipe = FindRecipe(about.keyword);
    if (!recipe) return made;
    Working working(run, node, *recipe);
    made["steps"] = working.Steps();
    if (made["steps"].empty())
        made["note"] =
            "its usual formula does not hold on this bar or with these arguments; the reference has its rules";
    else
        made["from"] = run.Date(working.FirstBar());
    return made;
}

std::string Number(double value) { return IsUndefined(value) ? "gap" : fmt::format("{:.10g}", value); }

// What a sign or a function of the language does with what it reads.
std::string OwnNumbers(const Recording& run, const NodeText& node) {
    const std::string function = node.rule.substr(0, node.rule.find(' '));
    std::vector<std::string> numbers;
    for (const Place input : node.inputs) numbers.push_back(Number(run.Value(input)));
    const bool isSign = function.find_first_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos;
    if (isSign || function == "and" || function == "or") {
        if (numbers.size() == 2) return numbers[0] + " " + function + " " + numbers[1];
        return function + (numbers[0].starts_with('-') ? "(" + numbers[0] + ")" : numbers[0]);
    }
    if (function == "delay") {
        const std::string bars = node.rule.substr(6);
        return "the value " + bars + (bars == "1" ? " bar" : " bars") + " before";
    }
    if (function == "last") return "the last value ahead of this bar";
    if (function == "sum") {
        const std::span<const double> values = run.Values(node.inputs[0]);
        const auto count = std::min<std::size_t>(std::stoul(node.rule.substr(4)), values.size());
        std::string text;
        for (std::size_t i = values.size() - count; i < values.size(); ++i) {
            if (count > 4 && i == values.size() - count + 2) text += " + ...";
            if (count > 4 && i >= values.size() - count + 2 && i + 1 < values.size()) continue;
            text += (text.empty() ? "" : " + ") + Number(values[i]);
        }
        return text;
    }
    return fmt::format("{}({})", function, fmt::join(numbers, ", "));
}

Json OwnJson(const Recording& run, const NodeText& node, Json made) {
    const Json value = ValueJson(run.Value(node.output));
    made["outputs"] = {{{"name", "value"}, {"value", value}}};
    made["steps"] = {{{"name", "value"}, {"formula", node.text}, {"brief", OwnNumbers(run, node)}, {"value", value}}};
    return made;
}

// Which longer bar the values come from, and how they come about on it.
Json FrameJson(const Recording& run, const NodeText& node, Json made) {
    for (std::size_t i = 0; i < node.outputCount; ++i)
        made["outputs"].push_back(
            {{"name", fmt::format("{}", i + 1)}, {"value", ValueJson(run.Value(node.output + i))}});
    made["steps"] = Json::array();
    const bool isClosed = node.frame->view == FrameView::Closed;
    const auto longer = run.OverLonger(node);
    if (!longer) {
        made["note"] =
            fmt::format("no bar of {} {} yet", node.frame->frame->Text(), isClosed ? "is closed" : "has begun");
        return made;
    }
    made["longer"] = {{"frame", node.frame->frame->Text()},
                      {"begins", longer->run.Date(longer->run.LastBar())},
                      {"isClosed", isClosed},
                      {"first", run.Date(longer->firstBar)},
                      {"last", run.Date(longer->endBar - 1)},
                      {"bars", longer->endBar - longer->firstBar},
                      {"explanation", ExplanationJson(longer->run)}};
    return made;
}

std::string Shown(const Json& value) {
    return value.is_null() ? "no value" : fmt::format("{:.10g}", value.get<double>());
}

std::string Indented(const std::string& lines) {
    std::string text;
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', at), lines.size());
        text += (end > at ? "    " : "") + lines.substr(at, end - at) + "\n";
        at = end + 1;
    }
    return text;
}

std::string Shortened(const std::string& formula) {
    constexpr std::size_t Longest = 90;
    return formula.size() > Longest ? formula.substr(0, Longest - 3) + "..." : formula;
}

}  // namespace

Json ExplanationJson(const Recording& run) {
    Json explanation = {{"date", run.Date(run.LastBar())}, {"results", Json::array()}, {"parts", Json::array()}};
    for (const ResultColumn& result : run.Results())
        explanation["results"].push_back({{"title", result.title},
                                          {"value", ValueJson(run.Value(result.place))},
                                          {"part", PlaceName(run, result.place)}});
    const auto nodes = run.Nodes();
    for (std::size_t n = 0; n < nodes.size(); ++n) {
        const NodeText& node = nodes[n];
        if (node.outputCount == 0 || node.text.empty()) continue;  // says nothing to people
        Json made = {{"part", fmt::format("#{}", n + 1)}, {"text", node.text}, {"reads", Json::array()}};
        for (std::size_t i = 0; i < node.inputs.size(); ++i) {
            Json input = {{"from", PlaceName(run, node.inputs[i])}, {"value", ValueJson(run.Value(node.inputs[i]))}};
            if (node.called) input["as"] = node.called->inputs[i];
            made["reads"].push_back(std::move(input));
        }
        explanation["parts"].push_back(node.called  ? OperatorJson(run, node, std::move(made))
                                       : node.frame ? FrameJson(run, node, std::move(made))
                                                    : OwnJson(run, node, std::move(made)));
    }
    return explanation;
}

std::string ExplanationText(const Json& explanation) {
    const std::string date = explanation["date"].get<std::string>();
    std::string text;
    for (const Json& result : explanation["results"])
        text += fmt::format("{} on {}: {}   ({})\n", result["title"].get<std::string>(), date, Shown(result["value"]),
                            result["part"].get<std::string>());
    for (const Json& part : explanation["parts"]) {
        text += fmt::format("\n{}  {}\n", part["part"].get<std::string>(), part["text"].get<std::string>());
        if (part.contains("sentence")) text += fmt::format("    {}\n", part["sentence"].get<std::string>());
        std::string reads;
        for (const Json& input : part["reads"])
            reads += fmt::format("{}{} {}", reads.empty() ? "" : ", ", input["from"].get<std::string>(),
                                 Shown(input["value"]));
        if (!reads.empty() && part.contains("operator")) text += "    reads     " + reads + '\n';
        const bool isOperator = part.contains("operator");
        const bool hasGap =
            std::ranges::any_of(part["reads"], [](const Json& input) { return input["value"].is_null(); });
        std::vector<std::string> explained;
        for (const Json& step : part["steps"]) {
            const std::string name = step["name"].get<std::string>(), formula = step["formula"].get<std::string>(),
                              brief = step["brief"].get<std::string>();
            explained.push_back(name);
            const bool isPlain = formula.starts_with("fill(") && brief == Shown(step["value"]);
            if (isOperator && isPlain && !hasGap) continue;
            if (isOperator) text += fmt::format("    {:<9} = {}\n", name, Shortened(formula));
            if (brief != formula || !isOperator)
                text += fmt::format("    {:<9} = {} = {}{}\n", "", brief, Shown(step["value"]),
                                    step.value("rounded", false) ? ", rounded" : "");
        }
        for (const Json& output : part["outputs"]) {
            const std::string name = output["name"].get<std::string>();
            if (!isOperator || std::ranges::find(explained, name) != explained.end()) continue;
            const std::string value =
                output.contains("label") ? Quoted(output["label"].get<std::string>()) : Shown(output["value"]);
            text += fmt::format("    {:<9} = {}   {}\n", name, value, output.value("meaning", ""));
        }
        if (isOperator && part["steps"].empty() && !part["settings"].empty()) {
            std::string settings;
            for (const auto& [name, value] : part["settings"].items())
                settings += fmt::format("{}{} {}", settings.empty() ? "" : ", ", name, value.get<std::string>());
            text += "    settings  " + settings + '\n';
        }
        if (part.contains("from"))
            text += fmt::format("    bars      from {} to {}\n", part["from"].get<std::string>(), date);
        if (part.contains("longer")) {
            const Json& longer = part["longer"];
            const auto bars = longer["bars"].get<std::size_t>();
            text += fmt::format("    {} bar of {} that begins {}: {} from {} to {}\n",
                                longer["isClosed"].get<bool>() ? "the closed" : "the forming",
                                longer["frame"].get<std::string>(), longer["begins"].get<std::string>(),
                                bars == 1 ? "1 bar" : fmt::format("{} bars", bars), longer["first"].get<std::string>(),
                                longer["last"].get<std::string>());
            text += Indented(ExplanationText(longer["explanation"]));
        }
        if (part.contains("note")) text += fmt::format("    note      {}\n", part["note"].get<std::string>());
    }
    return text;
}

}  // namespace sarvane::study
