#include "verify/fingerprint.h"

#include "bar_table.h"
#include "failure.h"
#include "language/parser.h"

#include <bit>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/nil_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cmath>

namespace sarvane::study {
namespace {

constexpr const char* Format = "sarvane 1";
constexpr std::uint64_t Missing = 0x7FF8000000000000;

using Json = nlohmann::ordered_json;

Json JsonOf(const std::vector<RunFingerprint::Column>& columns) {
    Json json = Json::array();
    for (const auto& column : columns) json.push_back({{"name", column.name}, {"fingerprint", column.fingerprint}});
    return json;
}

std::vector<RunFingerprint::Column> ColumnsIn(const Json& json) {
    std::vector<RunFingerprint::Column> columns;
    for (const Json& entry : json)
        columns.push_back({entry.at("name").get<std::string>(), entry.at("fingerprint").get<std::string>()});
    return columns;
}

template <class Value>
Json OrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

template <class Value>
std::optional<Value> Optional(const Json& json) {
    return json.is_null() ? std::nullopt : std::optional(json.get<Value>());
}

}  // namespace

std::string FingerprintOf(std::string_view bytes) {
    boost::uuids::name_generator_sha1 generate{boost::uuids::nil_uuid()};
    return boost::uuids::to_string(generate(bytes.data(), bytes.size()));
}

std::string FingerprintOf(std::span<const double> numbers) {
    std::string bytes;
    bytes.reserve(numbers.size() * sizeof(double));
    for (const double number : numbers) {
        const bool isMissing = IsUndefined(number) || std::isnan(number);
        std::uint64_t bits = isMissing ? Missing : std::bit_cast<std::uint64_t>(number);
        for (std::size_t i = 0; i < sizeof bits; ++i, bits >>= 8) bytes.push_back(static_cast<char>(bits & 0xFF));
    }
    return FingerprintOf(std::string_view(bytes));
}

Json RunFingerprint::Json() const {
    return {{"fingerprint", Format},
            {"bars", bars},
            {"first", first},
            {"last", last},
            {"settings",
             {{"history", settings.operators.history},
              {"digits", OrNull(settings.operators.digits)},
              {"priceStep", OrNull(settings.priceStep)},
              {"hold", settings.hold},
              {"allOutputs", allOutputs}}},
            {"expressions", expressions},
            {"times", times},
            {"inputs", JsonOf(inputs)},
            {"outputs", JsonOf(outputs)}};
}

RunFingerprint RunFingerprint::FromJson(std::string_view text, const std::string& name) {
    try {
        const auto json = nlohmann::ordered_json::parse(text);
        if (json.at("fingerprint") != Format) Fail("{}: its form is none that this program knows", name);
        const auto& how = json.at("settings");
        RunFingerprint read{json.at("bars").get<std::size_t>(), json.at("first").get<std::string>(),
                            json.at("last").get<std::string>()};
        read.settings.operators = {how.at("history").get<int>(), Optional<int>(how.at("digits"))};
        read.settings.priceStep = Optional<double>(how.at("priceStep"));
        const auto& digits = read.settings.operators.digits;
        if (read.settings.operators.history < 1 || (digits && (*digits < 4 || *digits > 15)) ||
            !(read.settings.priceStep.value_or(1.0) > 0.0))
            Fail("{}: its settings are none that a run can have", name);
        read.settings.hold = how.at("hold").get<bool>();
        read.allOutputs = how.at("allOutputs").get<bool>();
        read.expressions = json.at("expressions").get<std::vector<std::string>>();
        read.times = json.at("times").get<std::string>();
        read.inputs = ColumnsIn(json.at("inputs"));
        read.outputs = ColumnsIn(json.at("outputs"));
        return read;
    } catch (const nlohmann::json::exception&) {
        Fail("{}: is not what `study run --fingerprint` writes", name);
    }
}

RunFingerprint FingerprintRun(const Library& library, const BarFile& bars, const std::vector<std::string>& expressions,
                              const RunSettings& settings, bool allOutputs) {
    const std::size_t count = bars.BarCount();
    RunFingerprint made{
        count,      count > 0 ? bars.IsoDate(0) : "", count > 0 ? bars.IsoDate(count - 1) : "", settings, allOutputs,
        expressions};
    std::string times;
    for (std::size_t bar = 0; bar < count; ++bar) times += bars.IsoDate(bar) + '\n';
    made.times = FingerprintOf(std::string_view(times));
    const BarTable table(bars);
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        made.inputs.push_back({table.columns[i], FingerprintOf(table.values[i])});
    const ResultTable results = RunTable(library, table, expressions, settings, allOutputs);
    for (std::size_t i = 0; i < results.columns.size(); ++i)
        made.outputs.push_back({results.columns[i].title, FingerprintOf(results.values[i])});
    return made;
}

std::vector<std::string> DifferencesBetween(const RunFingerprint& here, const RunFingerprint& there) {
    std::vector<std::string> lines;
    if (here.bars != there.bars || here.first != there.first || here.last != there.last)
        lines.push_back(fmt::format("{} bars from {} to {} here, {} from {} to {} there", here.bars, here.first,
                                    here.last, there.bars, there.first, there.last));
    else if (here.times != there.times)
        lines.push_back("the times of the bars differ");
    const auto compare = [&](const char* kind, const auto& ours, const auto& theirs) {
        if (ours.size() != theirs.size())
            lines.push_back(fmt::format("{} {}s here, {} there", ours.size(), kind, theirs.size()));
        for (std::size_t i = 0; i < std::min(ours.size(), theirs.size()); ++i) {
            if (!EqualIgnoringCase(ours[i].name, theirs[i].name))
                lines.push_back(fmt::format("{} {} is {} here, {} there", kind, i + 1, Quoted(ours[i].name),
                                            Quoted(theirs[i].name)));
            else if (ours[i].fingerprint != theirs[i].fingerprint)
                lines.push_back(fmt::format("{} {} differs", kind, Quoted(ours[i].name)));
        }
    };
    compare("input", here.inputs, there.inputs);
    compare("output", here.outputs, there.outputs);
    return lines;
}

}  // namespace sarvane::study
