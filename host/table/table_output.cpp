#include "table/table_output.h"

#include "console.h"
#include "path.h"
#include "platform/system.h"

#include <fmt/format.h>

namespace sarvane::study {
namespace {

// What the ending of the name says; comma-separated values without such an ending.
TableFormat FormatOf(const std::string& name) {
    if (name.ends_with(".tsv")) return TableFormat::Tsv;
    if (name.ends_with(".json")) return TableFormat::Json;
    if (name.ends_with(".ndjson") || name.ends_with(".jsonl")) return TableFormat::Ndjson;
    return TableFormat::Csv;
}

}  // namespace

TableOutput::TableOutput(const TableOptions& options, const std::vector<std::filesystem::path>& others, Kind kind) {
    const bool growing = kind == Kind::GrowingBars;
    TableSettings settings = {.missing = options.missing, .precision = options.precision, .atOnce = growing};
    const bool toFile = !options.file.empty() && options.file != "-";
    if (toFile) {
        file = std::make_unique<OutputFile>(PathOf(options.file), others,
                                            growing ? OutputFile::Kind::Growing : OutputFile::Kind::Replaced);
        settings.format = options.format.value_or(FormatOf(options.file));
        sinks.push_back(
            {settings, [this](std::string_view lines) { file->Write(lines); }, options.file, true, nullptr});
        if (file->IsStandardOutput()) return;
    }
    const TableFormat usual = options.file == "-" ? TableFormat::Csv : TableFormat::Screen;
    settings.format = toFile ? TableFormat::Screen : options.format.value_or(usual);
    settings.width = TerminalWidth();
    settings.colour = kind != Kind::Separate && ShowsColours();
    const auto print = settings.format != TableFormat::Screen ? PrintData : PrintShown;
    sinks.push_back({settings, print, "standard output", false, nullptr});
}

void TableOutput::Begin(const BarFile& bars, std::span<const Result> results) {
    for (Sink& sink : sinks) {
        if (sink.table && sink.settings.format != TableFormat::Screen) continue;
        sink.table = MakeTable(sink.settings, sink.write, bars, results);
    }
}

void TableOutput::WriteBar(std::string_view date, std::span<const Result> results) {
    for (const Sink& sink : sinks) sink.table->WriteBar(date, results);
}

void TableOutput::Flush() {
    if (file) file->Flush();
    FlushOutput();
}

void TableOutput::Finish() {
    for (const Sink& sink : sinks) {
        if (!sink.table) continue;
        const std::string end = sink.table->Finish();
        if (!sink.isFile) {
            PrintLast(end);
            continue;
        }
        file->Write(end);  // and closed ahead of standard output, which may fail
        file->Close();
    }
    for (const Sink& sink : sinks) {
        if (sink.table && sink.table->NotFinite() > 0)
            Tell(fmt::format("{}: values that are infinite or no number, written as gaps: {}", sink.name,
                             sink.table->NotFinite()));
    }
}

bool TableOutput::IsWanted() const { return file || !OutputReaderIsGone(); }

}  // namespace sarvane::study
