#include "bars/cell_reader.h"

#include "bars/number_format.h"
#include "failure.h"

namespace sarvane::study {
namespace {

constexpr std::string_view Blanks = " \t";

}  // namespace

CellReader::CellReader(std::string_view line, char between) : rest(line), delimiter(between) {
    if (delimiter == ' ') rest = WithoutBlanks(rest);
}

std::optional<std::string_view> CellReader::Next() {
    if (ended) return std::nullopt;
    ++column;
    SkipBlanks();
    const std::string_view cell = rest.starts_with('"') ? TakeQuoted() : TakePlain();
    ended = rest.empty();
    if (!ended) rest.remove_prefix(1);  // the delimiter
    return cell;
}

std::string_view CellReader::TakePlain() {
    std::size_t length = 0;
    while (length < rest.size() && !IsDelimiter(rest[length])) ++length;
    const std::string_view cell = rest.substr(0, length);
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
    if (delimiter != ' ') SkipBlanks();
    if (!rest.empty() && !IsDelimiter(rest.front())) Fail("a text behind the closing quote of its cell");
    return unquoted;
}

// A tab that parts cells is no blank.
void CellReader::SkipBlanks() {
    while (!rest.empty() && Blanks.find(rest.front()) != std::string_view::npos &&
           (delimiter == ' ' || rest.front() != delimiter))
        rest.remove_prefix(1);
}

}  // namespace sarvane::study
