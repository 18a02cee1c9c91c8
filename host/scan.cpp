#include "scan.h"

#include "path.h"
#include "progress.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <fmt/format.h>
#include <map>
#include <numeric>
#include <thread>

namespace sarvane::study {
namespace {

// What one file gives.
struct FileResult {
    ScanRow row;
    bool isWanted = false;
    double sortValue = UndefinedValue;
    std::string fault;
    std::vector<std::string> notices;
    std::vector<std::string> warnings;
    std::vector<ResultColumn> columns;
};

// The name that a symbol's file has: what stands ahead of the first point.
std::string SymbolOf(const std::filesystem::path& file) {
    if (file == "-") return "standard input";
    const std::string name = TextOf(file.filename());
    std::string symbol = name;
    for (const std::string_view ending : {".gz", ".zst", ".csv", ".tsv", ".txt"}) {
        if (symbol.ends_with(ending)) symbol.resize(symbol.size() - ending.size());
    }
    return symbol.empty() ? name : symbol;
}

FileResult ScanFile(const Library& library, const ScanSettings& settings, const std::filesystem::path& file) {
    FileResult result;
    result.row.symbol = SymbolOf(file);
    ReadSettings reading = settings.reading;
    reading.tell = [&](const std::string& notice) { result.notices.push_back(notice); };
    std::vector<std::string> all = settings.expressions;
    for (const std::string& hidden : {settings.where, settings.sortBy}) {
        if (!hidden.empty()) all.push_back(hidden);
    }
    reading.wanted = [&](const std::vector<std::string>& titles, const std::vector<bool>&) {
        return WantedBy(library, titles, all, settings.run.operators);
    };
    const BarFile bars(file, reading);
    Study study(library, bars, settings.run);
    for (const std::string& expression : settings.expressions) study.Add(expression);
    const std::size_t shown = study.Results().size();
    const auto addHidden = [&](const std::string& expression) {
        if (!expression.empty()) study.Add(expression);
        return study.Results().size() - 1;
    };
    const std::size_t where = addHidden(settings.where), sortBy = addHidden(settings.sortBy);
    result.warnings = study.Warnings();
    study.Reset();
    for (std::size_t bar = 0; bar < bars.BarCount(); ++bar) study.Step(bar);
    result.row.date = bars.BarCount() > 0 ? std::string(bars.Date(bars.BarCount() - 1)) : std::string();
    const auto valueOf = [&](std::size_t place) {
        return bars.BarCount() > 0 ? *study.Results()[place].value : UndefinedValue;
    };
    for (std::size_t i = 0; i < shown; ++i) {
        result.row.values.push_back(valueOf(i));
        result.columns.push_back(study.Results()[i]);
    }
    const auto isTrue = [](double value) { return !IsUndefined(value) && !std::isnan(value) && value != 0.0; };
    result.isWanted = settings.where.empty() || isTrue(valueOf(where));
    if (!settings.sortBy.empty()) result.sortValue = valueOf(sortBy);
    return result;
}

}  // namespace

ScanResult Scan(const Library& library, const ScanSettings& settings) {
    const std::size_t count = settings.files.size();
    std::vector<FileResult> results(count);
    std::atomic<std::size_t> next = 0, done = 0;
    std::atomic<bool> isOutOfMemory = false;
    const auto work = [&] {
        for (std::size_t i; !isOutOfMemory && (i = next++) < count; ++done) {
            try {
                results[i] = ScanFile(library, settings, settings.files[i]);
            } catch (const std::bad_alloc&) {
                isOutOfMemory = true;
            } catch (const std::exception& fault) {
                results[i] = {};
                results[i].fault = fault.what();
            }
        }
    };
    Progress progress("scanning", static_cast<double>(count));
    {
        std::vector<std::jthread> workers;
        for (std::size_t i = 0; i < std::min(settings.threads, count); ++i) workers.emplace_back(work);
        while (done < count && !isOutOfMemory) {
            progress.Look(static_cast<double>(done));
            std::this_thread::sleep_for(std::chrono::milliseconds(done + 50 < count ? 20 : 1));
        }
    }
    progress.Hide();
    if (isOutOfMemory) throw std::bad_alloc();

    ScanResult scan;
    std::vector<std::size_t> order;
    std::map<std::string, std::vector<std::size_t>> faults;  // files by fault
    const auto addOnce = [](std::vector<std::string>& lines, const std::string& line) {
        if (std::ranges::find(lines, line) == lines.end()) lines.push_back(line);
    };
    for (std::size_t i = 0; i < count; ++i) {
        FileResult& result = results[i];
        if (!result.fault.empty()) faults[result.fault].push_back(i);
        if (!result.fault.empty()) continue;
        if (scan.columns.empty()) scan.columns = result.columns;
        scan.notices.insert(scan.notices.end(), result.notices.begin(), result.notices.end());
        for (const std::string& warning : result.warnings) addOnce(scan.warnings, warning);
        if (result.isWanted) order.push_back(i);
    }
    std::vector<std::pair<std::size_t, std::string>> lines;  // by first file
    for (const auto& [fault, files] : faults) {
        const std::string name = TextOf(settings.files[files.front()]);
        const bool isNamed = fault.starts_with(name);
        scan.badFiles += files.size();
        lines.emplace_back(files.front(), isNamed ? fault
                                          : files.size() == 1
                                              ? fmt::format("{}: {}", name, fault)
                                              : fmt::format("{} (in {} files, first {})", fault, files.size(), name));
    }
    std::ranges::sort(lines);
    for (auto& [file, line] : lines) scan.faults.push_back(std::move(line));
    const auto comesBefore = [&](std::size_t a, std::size_t b) {
        const double left = results[a].sortValue, right = results[b].sortValue;
        const auto isGap = [](double value) { return IsUndefined(value) || std::isnan(value); };
        if (isGap(left) || isGap(right)) return !isGap(left) && isGap(right);
        return settings.ascending ? left < right : left > right;
    };
    if (!settings.sortBy.empty()) std::ranges::stable_sort(order, comesBefore);
    for (const std::size_t i : order) scan.rows.push_back(std::move(results[i].row));
    return scan;
}

}  // namespace sarvane::study
