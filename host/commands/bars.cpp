#include "commands/commands.h"
#include "commands/options.h"
#include "console.h"
#include "failure.h"
#include "output_file.h"
#include "path.h"

#include <cmath>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace sarvane::study {
namespace {

struct BarsOptions {
    std::string file = {};
    ReadSettings reading = {};
    bool json = false;
    TableOptions table = {};
};

// Bars with something that prices don't do, of one kind.
struct Suspicion {
    std::string what;
    std::size_t count = 0;
    std::string first = {};  // its time

    void Note(std::string_view date) {
        if (count++ == 0) first = date;
    }
};

bool IsNumber(double value) { return !IsUndefined(value) && std::isfinite(value); }

std::vector<Suspicion> FindSuspicious(const BarFile& bars) {
    Suspicion upsideDown{"high below low"}, outside{"open or close outside of high and low"},
        jumps{"close more than 50 % from the one before"}, zeros{"price of zero or below"};
    const auto columnOf = [&](const char* name) { return bars.FindColumn(name); };
    const std::optional<std::size_t> open = columnOf("open"), high = columnOf("high"), low = columnOf("low"),
                                     close = columnOf("close");
    double before = UndefinedValue;
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) {
        const auto price = [&](std::optional<std::size_t> column) {
            return column ? bars.Value(*column, bar) : UndefinedValue;
        };
        const double o = price(open), h = price(high), l = price(low), c = price(close);
        const auto isOutside = [&](double x) {
            return IsNumber(x) && ((IsNumber(h) && x > h) || (IsNumber(l) && x < l));
        };
        if (IsNumber(h) && IsNumber(l) && h < l)
            upsideDown.Note(bars.Date(bar));
        else if (isOutside(o) || isOutside(c))
            outside.Note(bars.Date(bar));
        for (const double x : {o, h, l, c}) {
            if (!IsNumber(x) || x > 0.0) continue;
            zeros.Note(bars.Date(bar));
            break;
        }
        if (IsNumber(c) && IsNumber(before) && before > 0.0 && std::abs(c - before) > 0.5 * before)
            jumps.Note(bars.Date(bar));
        if (IsNumber(c)) before = c;
    }
    std::vector<Suspicion> found;
    for (const Suspicion& kind : {upsideDown, outside, jumps, zeros}) {
        if (kind.count > 0) found.push_back(kind);
    }
    return found;
}

std::string_view RoleText(Layout::Role role) {
    switch (role) {
    case Layout::Role::Time: return "time";
    case Layout::Role::Clock: return "time of day";
    case Layout::Role::Value: return "number";
    case Layout::Role::Other: return "left out";
    }
    return {};
}

std::string_view DirectionText(const FileReading& reading) {
    if (!reading.bars.HasTimes()) return "as it stands";
    return reading.newestFirst ? "newest first" : "oldest first";
}

nlohmann::ordered_json BarsJson(const FileReading& reading) {
    const BarFile& bars = reading.bars;
    const Layout& layout = reading.layout;
    const std::size_t count = bars.BarCount();
    nlohmann::ordered_json json = {{"file", bars.Name()},
                                   {reading.areTrades ? "trades" : "bars", count},
                                   {"first", count > 0 ? nlohmann::json(bars.IsoDate(0)) : nlohmann::json()},
                                   {"last", count > 0 ? nlohmann::json(bars.IsoDate(count - 1)) : nlohmann::json()},
                                   {"direction", DirectionText(reading)},
                                   {"delimiter", std::string(1, layout.delimiter)},
                                   {"decimal", std::string(1, layout.numbers.decimal)},
                                   {"encoding", NameOf(reading.encoding)},
                                   {"compressed", reading.isCompressed},
                                   {"header", layout.hasHeader},
                                   {"times", TextOf(layout.times)},
                                   {"repeated", reading.repeats},
                                   {"leftOut", reading.leftOut}};
    json["columns"] = nlohmann::json::array();
    for (const Layout::Column& column : layout.columns) {
        nlohmann::ordered_json entry = {
            {"name", column.name}, {"title", column.original}, {"role", RoleText(column.role)}};
        const auto place = column.role == Layout::Role::Value ? bars.FindColumn(column.name) : std::nullopt;
        if (place) {
            std::size_t gaps = 0;
            for (std::size_t bar = 0; bar < count; ++bar) gaps += IsUndefined(bars.Value(*place, bar));
            entry["gaps"] = gaps;
        }
        if (!column.example.empty()) {
            entry["role"] = "text";
            entry["example"] = column.example;
        }
        json["columns"].push_back(std::move(entry));
    }
    json["suspicious"] = nlohmann::json::array();
    for (const Suspicion& kind : FindSuspicious(bars))
        json["suspicious"].push_back({{"what", kind.what}, {"bars", kind.count}, {"first", kind.first}});
    return json;
}

// From the same description, so that both tell the same.
std::string BarsText(const FileReading& reading) {
    const nlohmann::ordered_json json = BarsJson(reading);
    const Layout& layout = reading.layout;
    const auto text = [&](const char* key) {
        return json[key].is_string() ? json[key].get<std::string>() : std::string("-");
    };
    std::string lines = fmt::format("{:<10}  {} from {} to {}, {}\n", reading.areTrades ? "trades" : "bars",
                                    reading.bars.BarCount(), text("first"), text("last"), text("direction"));
    lines += fmt::format("layout      delimiter {}, decimal {}, {}, {}{}\n", DelimiterText(layout.delimiter),
                         layout.numbers.decimal == ',' ? "comma" : "point",
                         !layout.hasHeader         ? std::string("no header")
                         : layout.headerLines == 1 ? std::string("1 header line")
                                                   : fmt::format("{} lines ahead of the data", layout.headerLines),
                         text("encoding"), reading.isCompressed ? ", compressed" : "");
    lines += fmt::format("times       {}\n", text("times"));
    lines += fmt::format("repeated    {} lines with the time of a bar before\n", reading.repeats);
    if (reading.leftOut > 0) lines += fmt::format("left out    {} lines\n", reading.leftOut);
    std::size_t width = 4, titleWidth = 5;
    for (const auto& column : json["columns"]) {
        width = std::max(width, column["name"].get<std::string>().size());
        titleWidth = std::max(titleWidth, column["title"].get<std::string>().size());
    }
    lines += fmt::format("\n{:<{}}  {:<{}}  role\n", "name", width, "title", titleWidth);
    for (const auto& column : json["columns"]) {
        std::string role = column["role"].get<std::string>();
        if (column.contains("example"))
            role += ", such as " + Quoted(column["example"].get<std::string>());
        else if (column.value("gaps", std::size_t{0}) > 0)
            role += fmt::format(", {} gaps", column["gaps"].get<std::size_t>());
        lines += fmt::format("{:<{}}  {:<{}}  {}\n", column["name"].get<std::string>(), width,
                             column["title"].get<std::string>(), titleWidth, role);
    }
    if (json["suspicious"].empty()) return lines + "\nno suspicious bars\n";
    lines += "\nsuspicious bars\n";
    for (const auto& kind : json["suspicious"])
        lines += fmt::format("{:>8}  {}, the first on {}\n", kind["bars"].get<std::size_t>(),
                             kind["what"].get<std::string>(), kind["first"].get<std::string>());
    return lines;
}

// Writes the bars of another frame.
void WriteBars(const BarsOptions& options) {
    ReadSettings settings = options.reading;
    settings.tell = Tell;
    if (options.file != "-") RefuseAsStandardOutput(PathOf(options.file));
    const BarFile bars(PathOf(options.file), settings);
    std::vector<double> values(bars.Columns().size());
    std::vector<Result> columns(values.size());
    for (std::size_t column = 0; column < values.size(); ++column) {
        columns[column].title = bars.Columns()[column];
        columns[column].value = &values[column];
    }
    std::vector<std::filesystem::path> read;
    if (options.file != "-") read.push_back(PathOf(options.file));
    TableOutput table(options.table, read, TableOutput::Kind::Bars);
    table.Begin(bars, columns);
    for (std::size_t bar = 0; bar < bars.BarCount() && table.IsWanted(); ++bar) {
        for (std::size_t column = 0; column < values.size(); ++column) values[column] = bars.Value(column, bar);
        table.WriteBar(bars.Date(bar), columns);
    }
    table.Finish();
}

void ShowBars(const BarsOptions& options) {
    if (options.reading.to.frame && !options.json) return WriteBars(options);
    ReadSettings settings = options.reading;
    settings.tell = [](const std::string&) {};  // what it would tell is shown
    settings.showsTrades = true;
    const FileReading reading = ReadBarFile(PathOf(options.file), settings);
    Print(options.json ? JsonText(BarsJson(reading)) : BarsText(reading));
}

}  // namespace

void AddBars(CLI::App& app, const std::string&) {
    CLI::App& command = *app.add_subcommand(
        "bars", "how a file of bars was understood and what is suspicious in it; with --to, its bars in another frame");
    const auto options = std::make_shared<BarsOptions>();
    command.add_option("bars", options->file, "a file of bars, '-' for standard input")->type_name("FILE")->required();
    command.add_flag("--json", options->json, "for programs");
    AddReading(command, options->reading);
    AddTable(command, options->table);
    for (const char* const name : {"-o", "--format", "--na", "--precision"})
        command.get_option(name)->needs(command.get_option("--to"));
    command.callback([options] { ShowBars(*options); });
}

}  // namespace sarvane::study
