#include "description.h"

#include "failure.h"
#include "language/parser.h"
#include "language/unicode.h"
#include "sarvane/identifier.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

// "BAR_TYPE_HIGH" is the field "high".
std::string FieldOf(std::string barType) {
    constexpr std::string_view Prefix = "BAR_TYPE_";
    if (barType.starts_with(Prefix)) barType.erase(0, Prefix.size());
    for (char& c : barType) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return barType;
}

std::string IdText(const OperatorClass& operatorClass) { return Utf8(BracedText(operatorClass.id)); }

// Words with a separator between them, so that a width can be given to the whole.
std::string Joined(const std::vector<std::string>& words, std::string_view separator) {
    return fmt::format("{}", fmt::join(words, separator));
}

std::vector<std::string> InputTexts(const Description& described) {
    std::vector<std::string> texts;
    for (const auto& [argument, field] : described.inputs)
        texts.push_back(field.empty() ? fmt::format("{}", argument) : fmt::format("{}.{}", argument, field));
    return texts;
}

nlohmann::json Limit(double number) { return std::isfinite(number) ? nlohmann::json(number) : nlohmann::json(); }

nlohmann::json Json(const ArgumentInfo& argument) {
    nlohmann::json words = nlohmann::json::array();
    for (const ArgumentWord& word : argument.words) words.push_back({{"text", word.text}, {"meaning", word.meaning}});
    return {{"name", argument.name},
            {"kind", KindName(argument.kind)},
            {"meaning", argument.meaning},
            {"default", argument.standard.empty() ? nlohmann::json() : nlohmann::json(argument.standard)},
            {"optional", argument.isOptional},
            {"curve", argument.canBeBound},
            {"least", Limit(argument.least)},
            {"greatest", Limit(argument.greatest)},
            {"words", words}};
}

nlohmann::json Json(const OperatorClass& operatorClass, const Description& described) {
    nlohmann::json arguments = nlohmann::json::array(), inputs = nlohmann::json::array(),
                   outputs = nlohmann::json::array();
    for (const ArgumentInfo& argument : operatorClass.arguments) arguments.push_back(Json(argument));
    for (const auto& [argument, field] : described.inputs)
        inputs.push_back({{"argument", argument}, {"field", field.empty() ? nlohmann::json() : nlohmann::json(field)}});
    for (std::size_t i = 0; i < described.outputs.size(); ++i) {
        const auto& [name, kind] = described.outputs[i];
        const OutputInfo& info = operatorClass.outputs[i];
        outputs.push_back(
            {{"name", name}, {"kind", kind}, {"meaning", info.meaning}, {"drawn", DrawingName(info.drawing)}});
    }
    return {{"keyword", operatorClass.keyword},
            {"class", operatorClass.name},
            {"id", IdText(operatorClass)},
            {"sentence", operatorClass.sentence},
            {"arguments", arguments},
            {"formula", described.formula},
            {"inputs", inputs},
            {"outputs", outputs},
            {"parameters", described.parameters},
            {"lookback", described.lookback}};
}

Description DescribeNew(const Library& library, const OperatorClass& operatorClass) {
    return Describe(library, *library.Create(operatorClass).Get());
}

bool IsNumber(std::string_view text) {
    double number = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

// Whether a text may stand for an argument: a number, one of its words, or a curve of a usual file of bars.
bool MayBe(const ArgumentInfo& argument, const std::string& text) {
    constexpr std::string_view Columns[] = {"Bar", "Open", "High", "Low", "Close", "Volume"};
    if (IsNumber(text) || argument.kind == ArgumentKind::Switch) return true;
    const auto isText = [&](const ArgumentWord& word) { return EqualIgnoringCase(word.text, text); };
    if (argument.kind == ArgumentKind::Word && std::ranges::any_of(argument.words, isText)) return true;
    const bool takesCurves =
        argument.canBeBound || argument.kind == ArgumentKind::Curve || argument.kind == ArgumentKind::Bar;
    const Outcome<Script> script = ParseScript(text);
    if (!takesCurves || !script || script->statements.size() != 1) return false;
    const Expression& expression = script->statements[0].body;
    return expression.kind != Expression::Kind::Word ||
           std::ranges::any_of(Columns, [&](auto column) { return EqualIgnoringCase(column, expression.name); });
}

std::pair<const OperatorClass&, Description> DescribeWith(const Library& library, std::string_view keyword,
                                                          const std::vector<std::string>& arguments,
                                                          const OperatorSettings& settings) {
    const OperatorClass& operatorClass = library.FindOrFail(keyword);
    const std::size_t most = operatorClass.arguments.size() - 1;
    if (arguments.size() > most) {
        Fail("{} takes {} argument{} behind {}, not {}", operatorClass.keyword, most, most == 1 ? "" : "s",
             operatorClass.arguments[0].name, arguments.size());
    }
    const ComPtr<IZelmorOp> op = library.Create(operatorClass, settings);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i].empty()) continue;
        const ArgumentInfo& argument = operatorClass.arguments[i + 1];
        const std::string error = library.SetArgument(*op.Get(), operatorClass, static_cast<int>(i) + 1, arguments[i]);
        if (!error.empty()) Fail("{}: {}", operatorClass.keyword, error);
        if (!MayBe(argument, arguments[i]))
            Fail("{}: `{}` must be a {}, but is {}", operatorClass.keyword, argument.name, argument.Range(),
                 Quoted(arguments[i]));
    }
    return {operatorClass, Describe(library, *op.Get())};
}

// The arguments of an operator, one a line, in columns.
std::string ArgumentLines(const OperatorClass& operatorClass) {
    std::vector<std::array<std::string, 3>> cells;
    std::array<std::size_t, 3> widths = {};
    for (const ArgumentInfo& argument : operatorClass.arguments) {
        cells.push_back({argument.name, argument.Range(), ArgumentDefault(argument)});
        for (std::size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], cells.back()[i].size());
    }
    std::string lines;
    for (std::size_t n = 0; n < cells.size(); ++n) {
        const ArgumentInfo& argument = operatorClass.arguments[n];
        lines += fmt::format("  {:>2}  {:<{}}  {:<{}}  {:<{}}  {}\n", n, cells[n][0], widths[0], cells[n][1], widths[1],
                             cells[n][2], widths[2], argument.meaning);
        for (const ArgumentWord& word : argument.words) {
            lines += fmt::format("      {:<{}}  {:>{}}: {}\n", "", widths[0], word.text, widths[1], word.meaning);
        }
    }
    return lines;
}

std::string OutputLines(const OperatorClass& operatorClass) {
    std::size_t width = 0;
    for (const OutputInfo& output : operatorClass.outputs) width = std::max(width, output.name.size());
    std::string lines;
    for (const OutputInfo& output : operatorClass.outputs) {
        lines += fmt::format("  {:<{}}  {}\n", output.name, width, output.meaning);
    }
    return lines;
}

// A few words with what they mean, or the texts of many: "`0` to `14`, `16` to `38`".
std::string MarkdownWords(const std::vector<ArgumentWord>& words) {
    constexpr std::size_t MostExplained = 4;
    std::vector<std::string> parts;
    if (words.size() <= MostExplained) {
        for (const ArgumentWord& word : words) parts.push_back(fmt::format("`{}` {}", word.text, word.meaning));
        return Joined(parts, ", ");
    }
    for (std::size_t first = 0, next = 1; first < words.size(); first = next++) {
        const auto follows = [&](const ArgumentWord& word, const ArgumentWord& before) {
            return IsNumber(word.text) && word.text == fmt::format("{}", std::atoi(before.text.c_str()) + 1);
        };
        while (next < words.size() && follows(words[next], words[next - 1])) ++next;
        const std::string &from = words[first].text, &to = words[next - 1].text;
        parts.push_back(from == to ? fmt::format("`{}`", from) : fmt::format("`{}` to `{}`", from, to));
    }
    return Joined(parts, ", ");
}

}  // namespace

std::string_view DrawingName(DrawnAs drawing) {
    switch (drawing) {
    case DrawnAs::Line: return "line";
    case DrawnAs::Step: return "step";
    case DrawnAs::Band: return "band";
    case DrawnAs::Histogram: return "histogram";
    case DrawnAs::Marker: return "marker";
    }
    return "";
}

Description Describe(const Library& library, IZelmorOp& op) {
    Description described;
    TextSlot text = nullptr;
    const auto taken = [&](HRESULT status) { return library.Take(SUCCEEDED(Checked(status)) ? text : nullptr); };
    ushort count = 0;
    described.formula = taken(op.GetFormula(&text, nullptr));
    op.GetInputCount(&count, nullptr);
    for (short input = 0; input < count; ++input) {
        ushort argument = 0;
        op.GetInputCurve(input, &argument, nullptr);
        described.inputs.push_back({argument, FieldOf(taken(op.GetInputBarType(input, &text, nullptr)))});
    }
    op.GetOutputCount(&count, nullptr);
    for (short output = 0; output < count; ++output) {
        ushort kind = 0, second = 0, third = 0;
        op.GetOutputUnits(output, &kind, &second, &third, nullptr);
        described.outputs.push_back({taken(op.GetOutputName(output, &text, nullptr)), kind});
    }
    op.GetParameterCount(&count, nullptr);
    for (short parameter = 0; parameter < count; ++parameter)
        described.parameters.push_back(taken(op.GetParameterText(parameter, &text, nullptr)));
    op.GetLookback(&described.lookback, nullptr);
    return described;
}

std::string ArgumentDefault(const ArgumentInfo& argument) {
    const bool isInput = argument.kind == ArgumentKind::Curve || argument.kind == ArgumentKind::Bar;
    if (!argument.standard.empty()) return "default " + argument.standard;
    return argument.isOptional ? "optional" : isInput ? "" : "needed";
}

std::string ListText(const Library& library) {
    constexpr const char* Row = "{:<15}{:<17}{:<40}{:<56}{}\n";
    std::string table = fmt::format(Row, "KEYWORD", "CLASS", "CLASS ID", "ARGUMENTS", "WHAT IT GIVES");
    for (const OperatorClass& known : library.Classes()) {
        std::vector<std::string> names;
        for (const ArgumentInfo& argument : known.arguments) names.push_back(argument.name);
        constexpr std::size_t MostNames = 5;
        if (names.size() > MostNames) {
            names.resize(MostNames - 1);
            names.emplace_back("...");
        }
        table += fmt::format(Row, known.keyword, known.name, IdText(known), Joined(names, ", "), known.sentence);
    }
    return table;
}

nlohmann::json ListJson(const Library& library) {
    nlohmann::json list = nlohmann::json::array();
    for (const OperatorClass& known : library.Classes()) list.push_back(Json(known, DescribeNew(library, known)));
    return list;
}

std::string DescribeText(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                         const OperatorSettings& settings) {
    const auto [operatorClass, described] = DescribeWith(library, keyword, arguments, settings);
    std::string text =
        fmt::format("{} ({}): {}\n\narguments\n{}\noutputs\n{}\n", operatorClass.keyword, operatorClass.name,
                    operatorClass.sentence, ArgumentLines(operatorClass), OutputLines(operatorClass));
    if (arguments.empty() && described.formula.find("-2147483648") != std::string::npos) return text;
    return text + fmt::format("formula     {}\n"
                              "inputs      {}\n"
                              "parameters  {}\n"
                              "lookback    {} bars\n",
                              described.formula, Joined(InputTexts(described), ", "),
                              Joined(described.parameters, ", "), described.lookback);
}

std::string DescribeMarkdown(const OperatorClass& operatorClass) {
    std::string table = "| Argument | Default | Kind | Meaning |\n|---|---|---|---|\n";
    for (std::size_t n = 0; n < operatorClass.arguments.size(); ++n) {
        const ArgumentInfo& argument = operatorClass.arguments[n];
        const std::string standard =
            argument.standard.empty() ? ArgumentDefault(argument) : fmt::format("`{}`", argument.standard);
        const std::string words = argument.words.empty() ? "" : ": " + MarkdownWords(argument.words);
        table += fmt::format("| {} {} | {}{}| {} | {}{} |\n", n, argument.name, standard, standard.empty() ? "" : " ",
                             argument.Range(), argument.meaning, words);
    }
    return table;
}

nlohmann::json DescribeJson(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                            const OperatorSettings& settings) {
    const auto [operatorClass, described] = DescribeWith(library, keyword, arguments, settings);
    return Json(operatorClass, described);
}

}  // namespace sarvane::study
