#include "table/csv.h"

#include <algorithm>

namespace sarvane::study {
namespace {

bool NeedsQuotes(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code <= ' ' || code == 0x7F || c == ',' || c == '"';
}

}  // namespace

bool IsPlainCell(std::string_view text) { return std::ranges::none_of(text, NeedsQuotes); }

std::string CsvCell(std::string text) {
    if (IsPlainCell(text)) return text;
    std::string cell = "\"";
    for (const char c : text) cell.append(c == '"' ? 2 : 1, c);
    return cell += '"';
}

}  // namespace sarvane::study
