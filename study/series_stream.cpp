#include "series_stream.h"

#include <bit>
#include <cmath>
#include <limits>

namespace sarvane::study {
namespace {

constexpr std::string_view Mark = "SarvaneSeries\r\n\x1A";  // a transfer as text would change it
constexpr std::uint64_t Version = 1;

// The 64-bit hash of Fowler, Noll and Vo, variant 1a, over the bytes of `text`.
std::uint64_t Hash(std::string_view text, std::uint64_t hash = 0xCBF29CE484222325) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

class Writer {
public:
    void Number(std::uint64_t number) {
        for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
    }
    void Double(double value) { Number(std::bit_cast<std::uint64_t>(value)); }
    void Text(std::string_view text) {
        Number(text.size());
        bytes += text;
    }

    std::string bytes;
};

// Reads what a writer wrote. Once something is missing all that follows is 0 or empty.
class Reader {
public:
    explicit Reader(std::string_view bytes) : rest(bytes) {}

    std::uint64_t Number() {
        const std::string_view eight = Taken(8);
        std::uint64_t number = 0;
        for (std::size_t i = eight.size(); i-- > 0;) number = number << 8 | static_cast<unsigned char>(eight[i]);
        return number;
    }
    double Double() { return std::bit_cast<double>(Number()); }
    std::string Text() { return std::string(Taken(Number())); }
    // A count of items of which each takes `least` bytes at least.
    std::size_t Count(std::size_t least) {
        const std::uint64_t count = Number();
        if (count <= rest.size() / least) return static_cast<std::size_t>(count);
        isWhole = false;
        rest = {};
        return 0;
    }
    template <class Read>
    auto Optional(Read read) {
        const bool has = Number() != 0;
        const auto value = read();
        return has ? std::optional(value) : std::nullopt;
    }
    bool IsWhole() const { return isWhole; }
    bool IsAtEnd() const { return isWhole && rest.empty(); }

private:
    std::string_view Taken(std::uint64_t size) {
        isWhole &= size <= rest.size();
        const std::string_view taken = isWhole ? rest.substr(0, static_cast<std::size_t>(size)) : std::string_view();
        rest.remove_prefix(isWhole ? taken.size() : rest.size());
        return taken;
    }

    std::string_view rest;
    bool isWhole = true;
};

// Of the results of all bars.
std::uint64_t ResultHash(const Series& series) {
    Writer writer;
    std::uint64_t hash = Hash({});
    for (std::size_t bar = 0; bar < series.BarCount(); ++bar) {
        writer.bytes.clear();
        for (const double result : series.Results(bar)) {
            writer.Double(std::isnan(result) ? std::numeric_limits<double>::quiet_NaN() : result);
        }
        hash = Hash(writer.bytes, hash);
    }
    return hash;
}

Problem Unreadable(std::string message) { return {.message = "this is no stored series: " + std::move(message)}; }

}  // namespace

std::string WrittenSeries(const Series& series) {
    const Compilation& compiled = series.Compiled();
    const SeriesSettings& settings = series.Settings();
    Writer writer;
    writer.bytes = Mark;
    writer.Number(Version);
    writer.Number(compiled.columns.size());
    for (const std::string& column : compiled.columns) writer.Text(column);
    writer.Number(compiled.texts.size());
    for (const CompiledText& text : compiled.texts) {
        const OperatorSettings& operators = text.settings.operators;
        writer.Text(text.text);
        writer.Number(static_cast<std::uint64_t>(operators.history));
        writer.Number(operators.digits.has_value());
        writer.Number(static_cast<std::uint64_t>(operators.digits.value_or(0)));
        writer.Number(text.settings.allOutputs);
    }
    writer.Number(settings.snapshotDistance);
    writer.Number(settings.mostSnapshots);
    writer.Number(settings.holdsInputs);
    writer.Number(settings.priceStep.has_value());
    writer.Double(settings.priceStep.value_or(0.0));
    writer.Number(series.BarCount());
    for (std::size_t bar = 0; bar < series.BarCount(); ++bar) {
        writer.Number(static_cast<std::uint64_t>(series.Time(bar)));
        for (const double value : series.Values(bar)) writer.Double(value);
    }
    writer.Number(ResultHash(series));
    writer.Number(Hash(writer.bytes));
    return std::move(writer.bytes);
}

Outcome<std::unique_ptr<Series>> ReadSeries(const std::shared_ptr<const StudyLibrary>& library,
                                            std::string_view bytes) {
    constexpr std::size_t HashSize = 8;
    if (!bytes.starts_with(Mark)) return Unreadable("it begins otherwise");
    if (bytes.size() < Mark.size() + 2 * HashSize) return Unreadable("its end is missing");
    Reader reader(bytes.substr(Mark.size(), bytes.size() - Mark.size() - HashSize));
    if (const std::uint64_t version = reader.Number(); version != Version) {
        return Unreadable("it has format " + std::to_string(version) + ", and this library reads format 1");
    }
    if (Hash(bytes.substr(0, bytes.size() - HashSize)) != Reader(bytes.substr(bytes.size() - HashSize)).Number()) {
        return Unreadable("it is damaged, or its end is missing");
    }

    std::vector<std::string> columns(reader.Count(HashSize));
    for (std::string& column : columns) column = reader.Text();
    Compiler compiler(library, columns);
    for (std::size_t left = reader.Count(5 * HashSize); left > 0; --left) {
        const std::string text = reader.Text();
        CompileSettings settings;
        settings.operators.history = static_cast<int>(reader.Number());
        settings.operators.digits = reader.Optional([&] { return static_cast<int>(reader.Number()); });
        settings.allOutputs = reader.Number() != 0;
        if (auto problem = compiler.Add(text, settings)) return *problem;
    }
    SeriesSettings settings;
    settings.snapshotDistance = static_cast<std::size_t>(reader.Number());
    settings.mostSnapshots = static_cast<std::size_t>(reader.Number());
    settings.holdsInputs = reader.Number() != 0;
    settings.priceStep = reader.Optional([&] { return reader.Double(); });
    if (!reader.IsWhole()) return Unreadable("its settings are cut off");
    auto series = std::make_unique<Series>(compiler.Finish(), settings);

    const std::vector<std::size_t> used = series->Compiled().UsedColumns();
    std::vector<std::int64_t> times(reader.Count((1 + used.size()) * HashSize));
    std::vector<double> rows(times.size() * columns.size(), UndefinedValue);
    for (std::size_t bar = 0; bar < times.size(); ++bar) {
        times[bar] = static_cast<std::int64_t>(reader.Number());
        for (const std::size_t column : used) rows[bar * columns.size() + column] = reader.Double();
    }
    const std::uint64_t results = reader.Number();
    if (!reader.IsAtEnd()) return Unreadable("its bars don't fit its expressions");
    const HRESULT status = series->Rewrite(0, times, rows);
    if (status == E_OUTOFMEMORY) return OutOfMemory();
    if (FAILED(status)) return Unreadable("its bars can't be calculated");
    if (ResultHash(*series) != results) {
        return Problem{.message = "the stored series had other results: it was written with other definitions of its "
                                  "studies, or by another version of the library"};
    }
    return series;
}

}  // namespace sarvane::study
