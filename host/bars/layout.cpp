#include "bars/layout.h"

#include "bars/cell_reader.h"
#include "bars/column_names.h"
#include "failure.h"
#include "language/parser.h"

#include <algorithm>
#include <array>
#include <fmt/ranges.h>
#include <map>
#include <span>

namespace sarvane::study {
namespace {

using Role = Layout::Role;
using Cells = std::vector<std::string>;

struct DelimiterWord {
    char delimiter;
    std::string_view word;
};
constexpr DelimiterWord DelimiterWords[] = {
    {',', "comma"}, {';', "semicolon"}, {'\t', "tab"}, {'|', "pipe"}, {' ', "space"}};

// First cells of header lines behind the first one. Those of the first list tell it by themselves.
constexpr std::string_view TickerTitles[] = {"ticker", "tickers", "symbol", "symbols"};
constexpr std::string_view SecondTitles[] = {"date", "datetime", "", "attributes"};

constexpr std::array<std::string_view, 12> KlineNames = {"open_time",
                                                         "open",
                                                         "high",
                                                         "low",
                                                         "close",
                                                         "volume",
                                                         "close_time",
                                                         "quote_volume",
                                                         "count",
                                                         "taker_buy_volume",
                                                         "taker_buy_quote_volume",
                                                         "ignore"};
constexpr std::array<std::string_view, 6> BarNames = {"open", "high", "low", "close", "volume", "openint"};
// Behind a Unix time, as exchanges of currencies write them.
constexpr std::array<std::string_view, 6> TradeNames = {"open", "high", "low", "close", "volume", "count"};

Cells CellsOf(std::string_view line, char delimiter) {
    Cells cells;
    CellReader reader(line, delimiter);
    while (const auto cell = reader.Next()) cells.emplace_back(*cell);
    return cells;
}

// The cells that a delimiter makes of a line, 0 if its quotes are wrong.
std::size_t CellCount(std::string_view line, char delimiter) {
    try {
        std::size_t count = 0;
        CellReader reader(line, delimiter);
        while (reader.Next()) ++count;
        return count;
    } catch (const Failure&) {
        return 0;
    }
}

// Whether a text is a date, perhaps with a time of day, such as 2020-01-03, 20200103093000 or a Unix time.
bool LooksLikeTime(std::string_view cell) {
    const auto normal = NormalTime({}, cell, {});
    return UnixUnitsOf(cell) || (normal && ParseTime(*normal));
}

bool IsValue(std::string_view cell) {
    return ReadNumber(cell, {'.', true}) || ReadNumber(cell, {',', true}) || LooksLikeTime(cell);
}

bool IsOneOf(std::string_view text, std::span<const std::string_view> texts) {
    return std::ranges::find(texts, text) != texts.end();
}

// Finds out about one file, step by step.
class Finder {
public:
    Finder(const std::vector<std::string_view>& sample, const LayoutSettings& said) : lines(sample), settings(said) {}

    Layout Find() {
        FindDelimiter();
        SplitLines();
        FindHeader();
        NameColumns();
        FindTimes();
        FindNumbers();
        FindTexts();
        return std::move(layout);
    }

private:
    // Another delimiter than a comma counts before it, which may stand in numbers and dates. Blanks come last. The last lines
    // tell, since titles and remarks stand in the first ones.
    void FindDelimiter() {
        if (settings.delimiter) {
            layout.delimiter = *settings.delimiter;
            return;
        }
        const bool areMany = lines.size() > 5;
        const std::size_t looked = areMany ? lines.size() - 3 : lines.size(), share = areMany ? 8 : 6;  // of ten
        for (const char candidate : {'\t', ';', '|', ',', ' '}) {
            std::map<std::size_t, std::size_t> counts;  // lines by their number of cells
            for (std::size_t i = lines.size() - looked; i < lines.size(); ++i) ++counts[CellCount(lines[i], candidate)];
            const auto most = std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; });
            if (most->first < 2 || most->second * 10 < looked * share) continue;
            if (candidate == ' ' && most->first < 3) continue;  // a date and its time of day
            layout.delimiter = candidate;
            return;
        }
        layout.delimiter = ',';  // messages then tell what is wrong with the lines
    }

    void SplitLines() {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            try {
                rows.push_back(CellsOf(lines[i], layout.delimiter));
            } catch (const Failure&) {
                if (i == 0) throw;
                rows.emplace_back();  // reported when it is read
            }
        }
    }

    static bool HasValue(const Cells& cells) { return std::ranges::any_of(cells, IsValue); }

    // Lines of one cell may stand ahead of the header, such as a title or an address.
    void FindHeader() {
        std::size_t first = 0;
        const std::size_t usual = rows.size() > 1 ? rows[rows.size() / 2].size() : rows[0].size();
        while (!settings.noHeader && first + 1 < rows.size() && rows[first].size() == 1 && usual > 1 &&
               !HasValue(rows[first]))
            ++first;
        layout.hasHeader = !settings.noHeader && !HasValue(rows[first]);
        std::size_t data = first;
        if (layout.hasHeader) {
            for (++data; data < rows.size() && data < first + 3 && IsFurtherHeader(rows[data], rows[first].size());)
                ++data;
        } else if (first > 0) {
            first = data = 0;
        }
        header.assign(rows.begin() + static_cast<std::ptrdiff_t>(first),
                      rows.begin() + static_cast<std::ptrdiff_t>(data));
        for (Cells& titles : header) {
            for (std::string& title : titles) {
                const std::string converted = AsUtf8(title);
                layout.titlesAreLatin1 = layout.titlesAreLatin1 || converted != title;
                title = converted;
            }
        }
        layout.headerLines = data;
        rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(data));
    }

    static bool IsFurtherHeader(const Cells& cells, std::size_t count) {
        if (cells.empty() || cells.size() != count) return false;
        const std::string first = SimplifiedTitle(cells[0]);
        if (IsOneOf(first, TickerTitles)) return true;
        const auto isNoTitle = [](const std::string& cell) { return StandardName(cell).empty(); };
        return IsOneOf(first, SecondTitles) && cells.size() > 1 && !HasValue(cells) &&
               std::ranges::all_of(cells.begin() + 1, cells.end(), isNoTitle);
    }

    std::size_t ColumnCount() const {
        if (layout.hasHeader) return header.front().size();
        for (const Cells& cells : rows) {
            if (!cells.empty()) return cells.size();
        }
        return 0;
    }

    void NameColumns() {
        if (!settings.names.empty()) return UseGivenNames();
        if (!layout.hasHeader) return NameKnownShape();
        const Cells& titles = header.front();
        // The first title of a name in the order of Synonyms has it; a title that is the name itself comes first of all.
        std::map<std::string, std::size_t> owners;
        for (std::size_t i = 0; i < titles.size(); ++i) {
            const std::string name(StandardName(titles[i]));
            if (name.empty()) continue;
            const auto [owner, isNew] = owners.try_emplace(name, i);
            if (!isNew && RankOfTitle(titles[i]) < RankOfTitle(titles[owner->second])) owner->second = i;
        }
        for (std::size_t i = 0; i < titles.size(); ++i) {
            const std::string standard(StandardName(titles[i]));
            const bool owns = !standard.empty() && owners.at(standard) == i;
            // Tables show the times under the file's own title.
            const bool stays = EqualIgnoringCase(titles[i], standard) || standard == "date" || standard == "time";
            layout.columns.push_back({owns && !stays ? standard : PlainTitle(titles[i]), titles[i], Role::Value});
        }
        if (header.size() > 1) NameByTicker();
        if (rows.empty()) return;
        // A line of data may end with a delimiter that the header lacks, or lack the one that the header ends with.
        const std::size_t usual = rows[rows.size() / 2].size();
        const bool allEnd = std::ranges::all_of(
            rows, [&](const Cells& cells) { return cells.size() != usual || (usual > 0 && cells.back().empty()); });
        if (usual == layout.columns.size() + 1 && allEnd) layout.columns.push_back({"", "", Role::Other});
        if (usual + 1 == layout.columns.size() && layout.columns.back().original.empty()) layout.columns.pop_back();
    }

    // Titles that several columns have get the name of their ticker, which stands in a line below.
    void NameByTicker() {
        std::map<std::string, std::size_t> counts;
        for (const Layout::Column& column : layout.columns) ++counts[LowerCase(column.name)];
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            Layout::Column& column = layout.columns[i];
            const std::string ticker = i < header[1].size() ? header[1][i] : std::string();
            if (i == 0 || counts[LowerCase(column.name)] < 2 || ticker.empty()) continue;
            column.name += ' ' + ticker;
        }
        // The line below may be the one that names the dates.
        for (std::size_t line = 1; line < header.size(); ++line) {
            const std::string_view name = StandardName(header[line][0]);
            if (name == "date" || name == "time") layout.columns[0] = {header[line][0], header[line][0], Role::Value};
        }
    }

    static std::string PlainTitle(const std::string& title) {
        std::string name = title.substr(0, title.find_first_of("\r\n"));
        if (name.starts_with('<') && name.ends_with('>')) name = name.substr(1, name.size() - 2);
        return std::string(WithoutBlanks(name));
    }

    void UseGivenNames() {
        if (settings.names.size() != ColumnCount())
            Fail("--names has {} names, and the lines have {} columns", settings.names.size(), ColumnCount());
        layout.namesAreGiven = true;
        for (std::size_t i = 0; i < settings.names.size(); ++i) {
            const std::string original =
                layout.hasHeader && i < header.front().size() ? header.front()[i] : std::string();
            layout.columns.push_back(
                {settings.names[i], original, settings.names[i].empty() ? Role::Other : Role::Value});
        }
    }

    // Files without a header that are known by the shape of their lines.
    void NameKnownShape() {
        const std::size_t count = ColumnCount();
        const auto cell = [&](std::size_t column) {
            return rows.front().size() > column ? std::string_view(rows.front()[column]) : "";
        };
        if (count == KlineNames.size() && UnixUnitsOf(cell(0)) && UnixUnitsOf(cell(6))) {
            for (const std::string_view name : KlineNames)
                layout.columns.push_back({std::string(name), "", Role::Value});
            return CheckBars(1);
        }
        const std::size_t prices = LooksLikeTime(cell(0)) && IsClock(cell(1)) && count >= 6 && !ArePrices(1) ? 2 : 1;
        if (LooksLikeTime(cell(0)) && count >= prices + 4 && count <= prices + BarNames.size()) {
            layout.columns.push_back({"date", "", Role::Value});
            if (prices == 2) layout.columns.push_back({"time", "", Role::Value});
            const auto& names = UnixUnitsOf(cell(0)) ? TradeNames : BarNames;
            for (std::size_t i = 0; i + prices < count; ++i)
                layout.columns.push_back({std::string(names[i]), "", Role::Value});
            return CheckBars(prices);
        }
        Fail("the file has no header line, and its columns are not known; --names date,open,high,low,close names them");
    }

    std::optional<double> Price(const Cells& cells, std::size_t column) const {
        if (column >= cells.size()) return std::nullopt;
        const auto value = ReadNumber(cells[column], {settings.decimal.value_or('.'), true});
        return value ? value : ReadNumber(cells[column], {',', true});
    }

    // Whether columns from `first` on can be open, high, low and close.
    bool ArePrices(std::size_t first) const {
        for (const Cells& cells : rows) {
            if (cells.empty()) continue;
            const auto open = Price(cells, first), high = Price(cells, first + 1), low = Price(cells, first + 2),
                       close = Price(cells, first + 3);
            if (!open || !high || !low || !close) return false;
            if (*high < *low || *open > *high || *open < *low || *close > *high || *close < *low) return false;
        }
        return true;
    }

    void CheckBars(std::size_t first) const {
        if (!ArePrices(first))
            Fail("the file has no header line, and columns {} to {} are not open, high, low and close; --names names "
                 "them",
                 first + 1, first + 4);
    }

    // Cells of a column that are not gaps.
    std::vector<std::string_view> CellsIn(std::size_t column) const {
        std::vector<std::string_view> cells;
        for (const Cells& row : rows) {
            if (column < row.size() && !IsGapText(row[column])) cells.push_back(row[column]);
        }
        return cells;
    }

    bool AllOf(std::size_t column, bool (*test)(std::string_view)) const {
        const auto cells = CellsIn(column);
        return !cells.empty() &&
               std::ranges::count_if(cells, test) * 10 >= static_cast<std::ptrdiff_t>(cells.size()) * 8;
    }

    void FindTimes() {
        std::vector<Layout::Column>& columns = layout.columns;
        const auto titleOf = [&](std::size_t i) {
            const std::string_view name = StandardName(columns[i].name);
            return name == "date" || name == "time" ? name : StandardName(columns[i].original);
        };
        std::vector<std::size_t> dates, clocks, titled;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::string_view title = columns[i].role == Role::Value ? titleOf(i) : std::string_view();
            if (title != "date" && title != "time") continue;
            titled.push_back(i);
            const bool areDates = settings.times ? !CellsIn(i).empty() : AllOf(i, LooksLikeTime);
            if (title == "time" && AllOf(i, IsClock))
                clocks.push_back(i);
            else if (areDates)
                dates.push_back(i);
        }
        // Without a title that tells it is the first column, where data frames have their index.
        if (titled.empty() && !columns.empty() && columns[0].role == Role::Value && AllOf(0, LooksLikeTime))
            dates.push_back(0);
        // Texts come before numbers of seconds, which stand beside them in some files.
        const auto isText = [&](std::size_t i) { return !CellsIn(i).empty() && !UnixUnitsOf(CellsIn(i).front()); };
        const auto text = std::ranges::find_if(dates, isText);
        if (text != dates.end())
            layout.timeColumn = *text;
        else if (!dates.empty())
            layout.timeColumn = dates.front();
        else if (!titled.empty())
            layout.timeColumn = titled.front();
        else
            FailWithoutTimes();
        Layout::Column& time = columns[layout.timeColumn];
        if (!clocks.empty() && clocks.front() != layout.timeColumn && !dates.empty()) {
            layout.clockColumn = clocks.front();
            columns[*layout.clockColumn].role = Role::Clock;
            layout.dropsClock = AllOf(*layout.clockColumn, [](std::string_view cell) {
                return cell.find_first_not_of("0:") == std::string_view::npos;
            });
        }
        time.role = Role::Time;
        if (time.name.empty()) time.name = "date";
        if (settings.times) {
            layout.times = *settings.times;
            layout.timesAreGiven = true;
        } else if (const auto cells = CellsIn(layout.timeColumn); !cells.empty() && UnixUnitsOf(cells.front())) {
            layout.times = {TimeFormat::Kind::Unix, {}, *UnixUnitsOf(cells.front()), false, {}};
            for (const std::string_view cell : cells) {
                if (UnixUnitsOf(cell) != layout.times.unitsASecond) layout.times = {};
            }
        } else if (!cells.empty() && !LooksLikeTime(cells.front()) && !layout.clockColumn) {
            layout.times = ShortYearFormatOf(cells).value_or(TimeFormat{});
        }
        if (layout.times.kind != TimeFormat::Kind::Unix) return;
        layout.times.onlyDays = CellsIn(layout.timeColumn).size() > 1;  // a single one tells nothing
        for (const std::string_view cell : CellsIn(layout.timeColumn)) {
            const auto normal = NormalTime(layout.times, cell, {});
            layout.times.onlyDays = layout.times.onlyDays && normal && normal->size() == 10;
        }
    }

    [[noreturn]] void FailWithoutTimes() const {
        constexpr std::size_t MostShown = 160;  // characters
        std::vector<std::string> titles;
        std::size_t length = 0;
        for (const Layout::Column& column : layout.columns) {
            titles.push_back(Quoted(column.name));
            length += titles.back().size();
            if (length < MostShown) continue;
            titles.back() = "...";
            break;
        }
        Fail("no column has times: the columns are {}; --names names them, one of them date or time",
             fmt::join(titles, ", "));
    }

    // Columns of texts, and those without a name, are left out unless somebody asks for them.
    void FindTexts() {
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            Layout::Column& column = layout.columns[i];
            if (column.role != Role::Value) continue;
            if (column.name.empty()) {
                column.role = Role::Other;
                continue;
            }
            const auto cells = CellsIn(i);
            const auto isNumber = [&](std::string_view cell) { return ReadNumber(cell, layout.numbers).has_value(); };
            if (IsPrice(column.name) || cells.empty() || std::ranges::any_of(cells, isNumber)) continue;
            column.example = cells.front();
        }
    }

    void FindNumbers() {
        CheckTitles();
        if (settings.decimal) {
            layout.numbers = {*settings.decimal, true};
            return;
        }
        std::string point, comma, unclear;
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            if (layout.columns[i].role != Role::Value) continue;
            for (const std::string_view cell : CellsIn(i)) {
                const DecimalEvidence evidence = EvidenceOf(cell);
                if (evidence == DecimalEvidence::Point && point.empty()) point = cell;
                if (evidence == DecimalEvidence::Comma && comma.empty()) comma = cell;
                if (evidence == DecimalEvidence::Unclear && unclear.empty()) unclear = cell;
            }
        }
        if (!point.empty() && !comma.empty())
            Fail("{} has a decimal point and {} a decimal comma; --decimal says which one it is", Quoted(point),
                 Quoted(comma));
        if (point.empty() && comma.empty() && !unclear.empty())
            Fail("{} can be a number of thousands or one with decimals; --decimal says which", Quoted(unclear));
        layout.numbers = {comma.empty() ? '.' : ',', !point.empty() || !comma.empty()};
    }

    void CheckTitles() const {
        const std::vector<Layout::Column>& columns = layout.columns;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (columns[i].role != Role::Value) continue;
            for (std::size_t other = 0; other < i; ++other) {
                if (columns[other].role == Role::Value && !columns[i].name.empty() &&
                    EqualIgnoringCase(columns[other].name, columns[i].name))
                    Fail("a second column {}; --names gives names of their own", Quoted(columns[i].name));
            }
        }
    }

    const std::vector<std::string_view>& lines;
    const LayoutSettings& settings;
    Layout layout;
    std::vector<Cells> header;
    std::vector<Cells> rows;  // of data; without cells where their quotes are wrong
};

}  // namespace

std::string DelimiterText(char delimiter) {
    for (const DelimiterWord& known : DelimiterWords) {
        if (known.delimiter == delimiter) return std::string(known.word);
    }
    return Quoted({&delimiter, 1});
}

std::optional<char> DelimiterOf(std::string_view text) {
    for (const DelimiterWord& known : DelimiterWords) {
        if (known.word == text) return known.delimiter;
    }
    if (text == "\\t") return '\t';
    const bool isDelimiter =
        text.size() == 1 && static_cast<unsigned char>(text[0]) < 0x80 && text != "\"" && text != "\n";
    return isDelimiter ? std::optional(text[0]) : std::nullopt;
}

Layout FindLayout(const std::vector<std::string_view>& lines, const LayoutSettings& settings) {
    return Finder(lines, settings).Find();
}

std::string Layout::Text() const {
    std::vector<std::string> words;
    if (delimiter != ',') words.push_back("the delimiter " + DelimiterText(delimiter));
    if (numbers.decimal == ',') words.push_back("decimal commas");
    if (!hasHeader) words.push_back("no header");
    if (headerLines > 1) words.push_back(fmt::format("{} lines ahead of the data", headerLines));
    if (times.kind != TimeFormat::Kind::Text && !timesAreGiven) words.push_back("times as " + TextOf(times));
    if (clockColumn)
        words.push_back(fmt::format("times from {} and {}", columns[timeColumn].name, columns[*clockColumn].name));
    std::vector<std::string> names;
    for (const Column& column : columns) {
        if (namesAreGiven) break;
        const bool isRenamed =
            hasHeader && !column.name.empty() && SimplifiedTitle(column.original) != LowerCase(column.name);
        if (isRenamed && column.role != Role::Other)
            words.push_back(fmt::format("{} from {}", column.name, Quoted(column.original)));
        if (!hasHeader && names.size() < 7 && !column.name.empty()) names.push_back(column.name);
    }
    if (names.size() == 7 && columns.size() > 7) names.back() = "...";
    if (!names.empty()) words.push_back(fmt::format("the columns {}", fmt::join(names, ", ")));
    return fmt::format("{}", fmt::join(words, ", "));
}

std::optional<TradeColumns> FindTrades(const Layout& layout) {
    const auto find = [&](std::initializer_list<std::string_view> titles) {
        const auto isOne = [&](const Layout::Column& column) {
            const std::string title = SimplifiedTitle(column.original.empty() ? column.name : column.original);
            return column.role != Layout::Role::Time && std::ranges::find(titles, title) != titles.end();
        };
        const auto found = std::ranges::find_if(layout.columns, isOne);
        return found == layout.columns.end() ? std::nullopt
                                             : std::optional(static_cast<std::size_t>(found - layout.columns.begin()));
    };
    const bool hasBars = std::ranges::any_of(layout.columns, [](const Layout::Column& column) {
        return column.name == "open" || column.name == "high" || column.name == "low";
    });
    const auto price = find({"price"}), size = find({"size", "qty", "quantity", "amount"});
    if (hasBars || !price || !size) return std::nullopt;
    return TradeColumns{*price, *size, find({"id", "trade_id", "tradeid", "trade id", "agg_trade_id"})};
}

}  // namespace sarvane::study
