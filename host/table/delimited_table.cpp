#include "table/delimited_table.h"

#include "table/csv.h"
#include "table/number_text.h"

#include <cmath>

namespace sarvane::study {

DelimitedTable::DelimitedTable(const TableSettings& settings, Write writeLines, const BarFile& bars,
                               std::span<const Result> results)
    : write(std::move(writeLines)), delimiter(settings.format == TableFormat::Tsv ? '\t' : ','),
      precision(settings.precision) {
    missing = Cell(settings.missing.value_or(""));
    std::string heading = Cell(bars.DateTitle());
    for (const std::string& title : UniqueTitles(bars, results)) heading += delimiter + Cell(title);
    write(heading + '\n');
}

void DelimitedTable::WriteBar(std::string_view date, std::span<const Result> results) {
    line.clear();
    line.append(IsPlainCell(date) ? date : Cell(std::string(date)));
    for (const Result& result : results) {
        line.push_back(delimiter);
        if (const auto text = TextOf(result)) {
            line.append(text->empty() ? missing : Cell(*text));
        } else if (std::isfinite(*result.value) && !IsUndefined(*result.value)) {
            AppendNumber(line, *result.value, precision);
        } else {
            notFinite += !IsUndefined(*result.value);
            line.append(missing);
        }
    }
    line.push_back('\n');
    write({line.data(), line.size()});
}

// Between tabs only what ends a cell needs quotes.
std::string DelimitedTable::Cell(std::string text) const {
    const bool isPlain = delimiter == '\t' && text.find_first_of("\t\r\n\"") == std::string::npos;
    return isPlain ? text : CsvCell(std::move(text));
}

}  // namespace sarvane::study
