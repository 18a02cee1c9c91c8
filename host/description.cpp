#include "description.h"

#include "failure.h"

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
    return {operatorClass, Describe(library, *op.Get())};
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
