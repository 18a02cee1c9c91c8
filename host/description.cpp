#include "description.h"

#include "expression.h"
#include "failure.h"

#include <algorithm>
#include <charconv>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

// If an operator takes a number, it notices a change to one of these.
constexpr const char* ProbingNumbers[] = {"2", "1", "0", "0.5"};
constexpr const char* ProbingWords[] = {"x", "SMO", "EXP"};

// "BAR_TYPE_HIGH" is the field "high".
std::string FieldOf(std::string barType) {
    constexpr std::string_view Prefix = "BAR_TYPE_";
    if (barType.starts_with(Prefix)) barType.erase(0, Prefix.size());
    for (char& c : barType) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return barType;
}

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

std::vector<std::string> OutputNames(const Description& described) {
    std::vector<std::string> names;
    for (const OutputDescription& output : described.outputs) names.push_back(output.name);
    return names;
}

nlohmann::json Json(const OperatorClass& operatorClass, const Description& described) {
    nlohmann::json inputs = nlohmann::json::array(), outputs = nlohmann::json::array();
    for (const auto& [argument, field] : described.inputs)
        inputs.push_back({{"argument", argument}, {"field", field.empty() ? nlohmann::json() : nlohmann::json(field)}});
    for (const auto& [name, kind] : described.outputs) outputs.push_back({{"name", name}, {"kind", kind}});
    return {{"keyword", operatorClass.keyword},
            {"class", operatorClass.name},
            {"id", operatorClass.id},
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

// Whether an expression can be a curve of a usual file of bars.
bool IsCurve(std::string_view text) {
    constexpr std::string_view Columns[] = {"Bar", "Open", "High", "Low", "Close", "Volume"};
    const Expression expression = ParseExpression(text);
    return expression.kind != Expression::Kind::Word ||
           std::ranges::any_of(Columns, [&](auto column) { return EqualIgnoringCase(column, expression.name); });
}

bool ReadsArgument(const Description& described, int argument) {
    return std::ranges::find(described.inputs, argument, &InputDescription::argument) != described.inputs.end();
}

// Whether the operator notices which number an argument is, but not which word.
bool TakesOnlyNumbers(const Library& library, IZelmorOp& op, int argument) {
    const Description before = Describe(library, op);
    const auto isNoticed = [&](const char* value) {
        library.SetArgument(op, argument, value);
        return Describe(library, op) != before;
    };
    return !isNoticed("no word") && std::ranges::any_of(ProbingNumbers, isNoticed);
}

std::pair<const OperatorClass&, Description> DescribeWith(const Library& library, std::string_view keyword,
                                                          const std::vector<std::string>& arguments,
                                                          const OperatorSettings& settings) {
    const OperatorClass& operatorClass = library.FindOrFail(keyword);
    const ComPtr<IZelmorOp> op = library.Create(operatorClass, settings);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i].empty()) continue;
        const std::string error = library.SetArgument(*op.Get(), static_cast<int>(i) + 1, arguments[i]);
        if (!error.empty()) Fail("argument {} of {}, {}: {}", i + 1, keyword, Quoted(arguments[i]), error);
    }
    const Description described = Describe(library, *op.Get());
    if (!arguments.empty() && !TakesLast(library, operatorClass, arguments, settings))
        Fail("{} takes no argument {}, counted from 0", operatorClass.keyword, arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const int argument = static_cast<int>(i) + 1;
        if (arguments[i].empty() || IsNumber(arguments[i])) continue;
        if (ReadsArgument(described, argument) ? !IsCurve(arguments[i])
                                               : TakesOnlyNumbers(library, *op.Get(), argument))
            Fail("argument {} of {}, {}: neither a number nor a curve such as Close", argument, operatorClass.keyword,
                 Quoted(arguments[i]));
    }
    return {operatorClass, described};
}

}  // namespace

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

// None of some values for an ignored argument changes what an operator with otherwise usual arguments says of itself.
bool TakesLast(const Library& library, const OperatorClass& operatorClass, const std::vector<std::string>& arguments,
               const OperatorSettings& settings) {
    const int last = static_cast<int>(arguments.size());
    for (const bool asGiven : {true, false}) {
        const ComPtr<IZelmorOp> probe = library.Create(operatorClass, settings);
        for (int i = 1; i < last; ++i) {
            const std::string& given = arguments[static_cast<std::size_t>(i) - 1];
            if (asGiven && given.empty()) continue;
            library.SetArgument(*probe.Get(), i, asGiven ? given : "3");
        }
        const Description before = Describe(library, *probe.Get());
        const auto isNoticed = [&](const char* value) {
            library.SetArgument(*probe.Get(), last, value);
            const Description after = Describe(library, *probe.Get());
            return ReadsArgument(after, last) || after != before;
        };
        if (std::ranges::any_of(ProbingNumbers, isNoticed) || std::ranges::any_of(ProbingWords, isNoticed)) return true;
    }
    return false;
}

std::string ListText(const Library& library) {
    constexpr const char* Row = "{:<15}{:<17}{:<40}{:<28}{:<36}{}\n";
    std::string table = fmt::format(Row, "KEYWORD", "CLASS", "CLASS ID", "INPUTS", "PARAMETERS", "OUTPUTS");
    for (const OperatorClass& known : library.Classes()) {
        const Description described = DescribeNew(library, known);
        table += fmt::format(Row, known.keyword, known.name, known.id, Joined(InputTexts(described), " "),
                             Joined(described.parameters, " "), Joined(OutputNames(described), " "));
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
    return fmt::format("{} ({})\n"
                       "formula     {}\n"
                       "inputs      {}\n"
                       "outputs     {}\n"
                       "parameters  {}\n"
                       "lookback    {} bars\n",
                       operatorClass.keyword, operatorClass.name, described.formula,
                       Joined(InputTexts(described), ", "), Joined(OutputNames(described), ", "),
                       Joined(described.parameters, ", "), described.lookback);
}

nlohmann::json DescribeJson(const Library& library, std::string_view keyword, const std::vector<std::string>& arguments,
                            const OperatorSettings& settings) {
    const auto [operatorClass, described] = DescribeWith(library, keyword, arguments, settings);
    return Json(operatorClass, described);
}

}  // namespace sarvane::study
