#include "csv.h"

#include "failure.h"

#include <algorithm>

namespace sarvane::study {
namespace {

constexpr std::string_view Blanks = " \t";

bool NeedsQuotes(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code <= ' ' || code == 0x7F || c == ',' || c == '"';
}

}  // namespace

std::optional<std::string_view> CellReader::Next() {
    if (ended) return std::nullopt;
    ++column;
    SkipBlanks();
    const std::string_view cell = rest.starts_with('"') ? TakeQuoted() : TakePlain();
    ended = rest.empty();
    if (!ended) rest.remove_prefix(1);  // the comma
    return cell;
}

std::string_view CellReader::TakePlain() {
    const std::string_view cell = rest.substr(0, rest.find(','));
    if (cell.find('"') != std::string_view::npos) Fail("a quote inside a cell that does not begin with one");
    rest.remove_prefix(cell.size());
    return cell.substr(0, cell.find_last_not_of(Blanks) + 1);
}

std::string_view CellReader::TakeQuoted() {
    unquoted.clear();
    do {
        rest.remove_prefix(1);  // the opening quote, or the second one of two
        const std::size_t quote = rest.find('"');
        if (quote == std::string_view::npos) Fail("a quote that is not closed");
        unquoted += rest.substr(0, quote);
        rest.remove_prefix(quote + 1);
        if (rest.starts_with('"')) unquoted += '"';
    } while (rest.starts_with('"'));
    SkipBlanks();
    if (!rest.empty() && rest.front() != ',') Fail("a text behind the closing quote of its cell");
    return unquoted;
}

void CellReader::SkipBlanks() { rest.remove_prefix(std::min(rest.find_first_not_of(Blanks), rest.size())); }

std::string CsvCell(std::string text) {
    if (std::ranges::none_of(text, NeedsQuotes)) return text;
    std::string cell = "\"";
    for (const char c : text) cell.append(c == '"' ? 2 : 1, c);
    return cell += '"';
}

}  // namespace sarvane::study
