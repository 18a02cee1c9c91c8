#include "live.h"

#include "console.h"
#include "failure.h"
#include "growing_file.h"
#include "platform/system.h"
#include "table.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <fmt/ranges.h>
#include <optional>

namespace sarvane::study {
namespace {

using Clock = std::chrono::steady_clock;

// Texts of dates compare as dates where a year of four digits comes first. Of others this is not known.
bool IsEarlier(std::string_view date, std::string_view than) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return date.size() == than.size() && date.size() > 4 && !isDigit(date[4]) && !isDigit(than[4]) &&
           std::ranges::all_of(date.substr(0, 4), isDigit) && date < than;
}

std::uint64_t NanosecondsSince(Clock::time_point start) {
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(Clock::now() - start).count());
}

}  // namespace

// A duration counts by its highest bit and the three bits behind that.
void Durations::Add(std::uint64_t nanoseconds) {
    const std::uint64_t value = std::max<std::uint64_t>(nanoseconds, 8);
    const auto shift = static_cast<std::size_t>(std::bit_width(value)) - 4;
    ++counts[shift * 8 + ((value >> shift) & 7)];
    ++total;
}

double Durations::Quantile(double share) const {
    const double wanted = share * static_cast<double>(total);
    double seen = 0.0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        seen += static_cast<double>(counts[i]);
        if (counts[i] > 0 && seen >= wanted) return std::ldexp(static_cast<double>(8 + i % 8), static_cast<int>(i / 8));
    }
    return 0.0;
}

Live::Live(const Library& library, const BarHeader& header, const std::vector<std::string>& expressions,
           bool allOutputs, RunSettings settings, std::size_t snapshotDistance, Show whenChanged, std::size_t slots)
    : bars(header), show(std::move(whenChanged)), distance(snapshotDistance), mostKept(slots) {
    settings.live = true;
    study.emplace(library, bars, settings);
    for (const std::string& expression : expressions) study->Add(expression, allOutputs);
    if (!study->WithoutSnapshots().empty()) distance = 0;
    study->Reset();
}

void Live::Take(const BarRow& row) {
    if (row.date.empty()) Fail("a line without a {}", bars.DateTitle());
    const std::size_t count = bars.BarCount();
    if (const auto known = barOfDate.find(row.date); known != barOfDate.end()) {
        known->second + 1 == count ? Tick(row) : Correct(known->second, row);
        return;
    }
    if (count > 0 && IsEarlier(row.date, bars.Date(count - 1)))
        Fail("{} lies before the last bar, {}, and is none of the bars so far", row.date, bars.Date(count - 1));
    Open(row);
}

void Live::Open(const BarRow& row) {
    const std::size_t bar = bars.BarCount();
    bars.Append(row);
    barOfDate.emplace(row.date, bar);
    const auto start = Clock::now();
    SaveBefore(bar);
    study->Step(bar);
    updates.Add(NanosecondsSince(start));
    ShowIfChanged(bar);
}

void Live::Tick(const BarRow& row) {
    const std::size_t last = bars.BarCount() - 1;
    bars.Replace(last, row.values);
    const auto start = Clock::now();
    study->Restore(TopSlot());
    study->Step(last);
    updates.Add(NanosecondsSince(start));
    ++ticks;
    ShowIfChanged(last);
}

void Live::Correct(std::size_t bar, const BarRow& row) {
    bars.Replace(bar, row.values);
    ++corrections;
    const std::size_t slot = distance > 0 ? std::min(bar / distance, kept) : 0;
    if (slot > 0) {
        study->Restore(static_cast<short>(slot));
        kept = slot - 1;  // saved once more on the way
    } else {
        study->Reset();
        kept = 0;
    }
    for (std::size_t next = slot * distance; next < bars.BarCount(); ++next) {
        SaveBefore(next);
        study->Step(next);
        if (next >= bar) ShowIfChanged(next);
    }
}

// Only the top slot follows the bars. A running state that shared its history with a snapshot that stays would carry
// all bars since then along, so it goes over to the top slot.
void Live::SaveBefore(std::size_t bar) {
    if (distance == 0 || bar == 0 || bar % distance != 0) return study->Save(TopSlot());
    if (kept == mostKept) return MakeRoom(bar);
    study->Save(TopSlot());
    ++kept;
    study->Save(TopSlot());
    study->Restore(TopSlot());
}

// All slots are used up: half as many do, twice as far from each other.
void Live::MakeRoom(std::size_t bar) {
    distance *= 2;
    kept = 0;
    study->Reset();
    for (std::size_t next = 0; next < bar; ++next) {
        SaveBefore(next);
        study->Step(next);
    }
    SaveBefore(bar);
}

void Live::ShowIfChanged(std::size_t bar) {
    const auto& results = study->Results();
    const std::size_t begin = bar * results.size();
    bool changed = begin == shown.size();
    if (changed) shown.resize(begin + results.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        double& last = shown[begin + i];
        changed |= std::bit_cast<std::uint64_t>(last) != std::bit_cast<std::uint64_t>(*results[i].value);
        last = *results[i].value;
    }
    if (changed) show(bar);
}

std::string Live::Finish() {
    std::string report = fmt::format("bars       {} (ticks: {}, corrections: {})\n"
                                     "depth      {}, lookback {} bars\n"
                                     "update     median {:.2f} us, 99th percentile {:.2f} us\n",
                                     bars.BarCount(), ticks, corrections, study->Depth(), study->Lookback(),
                                     updates.Quantile(0.5) / 1e3, updates.Quantile(0.99) / 1e3);
    const std::int64_t before = AllocatedBytes();
    study.reset();
    const std::int64_t freed = std::max<std::int64_t>(before - AllocatedBytes(), 0);
    if (distance > 0)
        report += fmt::format("snapshots  {}, every {} bars, {:.1f} kB with the running state\n", kept, distance,
                              static_cast<double>(freed) / 1e3);
    return report;
}

void RunLive(const Library& library, const std::string& file, const std::vector<std::string>& expressions,
             bool allOutputs, const RunSettings& settings, std::size_t distance, bool follow) {
    GrowingFile source(file, follow);
    RowReader reader(source.Name());
    std::optional<Live> live;
    std::optional<ScreenTable> table;
    std::size_t skipped = 0;
    const auto show = [&](std::size_t bar) {
        if (!table) table.emplace(live->Bars(), live->Expressions());
        table->WriteBar(live->Bars().Date(bar), live->Expressions());
    };
    const auto skip = [&](const std::string& fault) {
        Tell(fault + "; left out");
        ++skipped;
    };
    const auto start = [&] {
        live.emplace(library, reader.Header(), expressions, allOutputs, settings, distance, show);
        for (const std::string& keyword : live->Expressions().WithoutSnapshots()) {
            Tell(keyword +
                 " keeps no snapshots, it only takes its last bar back: after ticks on a full window its values can "
                 "differ from a run over finished bars, and corrections start at the first bar");
        }
    };
    const auto takeNext = [&] {
        try {
            if (!reader.Next()) return false;
        } catch (const Failure& failure) {
            if (!reader.HasHeader()) throw;
            skip(failure.what());
            return true;
        }
        if (!live) start();
        try {
            live->Take(reader.Row());
        } catch (const Failure& failure) {
            skip(fmt::format("{}:{}: {}", source.Name(), reader.Line(), failure.what()));
        }
        return true;
    };
    while (true) {
        const std::string_view text = source.Read();
        if (text.empty() && !Interrupted()) reader.End();
        reader.Add(text);
        while (!Interrupted() && takeNext()) {
        }
        if (reader.HasHeader() && !live) start();
        FlushOutput();
        if (OutputReaderIsGone()) return;
        if (text.empty() || Interrupted()) break;
    }
    if (!live && Interrupted()) return;
    if (!live) Fail("{}: the file is empty", source.Name());
    std::string report = live->Finish();
    if (skipped > 0) report += fmt::format("left out   {} lines\n", skipped);
    PrintError(report);
}

}  // namespace sarvane::study
