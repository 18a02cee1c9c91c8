#include "table/json_table.h"

#include "table/number_text.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

std::string JsonString(std::string_view text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

JsonTable::JsonTable(const TableSettings& settings, Write writeLines, const BarFile& bars,
                     std::span<const Result> results)
    : write(std::move(writeLines)), isArray(settings.format == TableFormat::Json), precision(settings.precision) {
    keys.push_back('{' + JsonString(bars.DateTitle()) + ": ");
    for (const std::string& title : UniqueTitles(bars, results)) keys.push_back(", " + JsonString(title) + ": ");
}

void JsonTable::WriteBar(std::string_view date, std::span<const Result> results) {
    fmt::memory_buffer line;
    // The comma leads, so that every line can be the last one.
    if (isArray) line.push_back(isFirst ? '[' : ',');
    isFirst = false;
    line.append(keys[0]);
    line.append(JsonString(date));
    for (std::size_t i = 0; i < results.size(); ++i) {
        line.append(keys[i + 1]);
        const auto text = TextOf(results[i]);
        const double value = text ? UndefinedValue : *results[i].value;
        if (text && !text->empty()) {
            line.append(JsonString(*text));
        } else if (std::isfinite(value) && !IsUndefined(value)) {
            AppendNumber(line, value, precision);
        } else {
            notFinite += !IsUndefined(value);
            line.append(std::string_view("null"));
        }
    }
    line.push_back('}');
    line.push_back('\n');
    write({line.data(), line.size()});
}

std::string JsonTable::Finish() {
    if (!isArray) return "";
    return isFirst ? "[]\n" : "]\n";
}

}  // namespace sarvane::study
