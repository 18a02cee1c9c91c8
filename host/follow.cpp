#include "follow.h"

#include "bars/bar_maker.h"
#include "bars/byte_source.h"
#include "bars/column_names.h"
#include "bars/trade_filter.h"
#include "console.h"
#include "failure.h"
#include "growing_file.h"
#include "live.h"

#include <fmt/ranges.h>
#include <memory>
#include <optional>
#include <set>

namespace sarvane::study {
namespace {

std::string Counted(std::size_t count, std::string_view one, std::string_view more) {
    return fmt::format("{} {}", count, count == 1 ? one : more);
}

std::string DifferenceText(const Live::Difference& difference) {
    std::vector<std::string> parts;
    const auto add = [&](std::size_t count, std::string_view one, std::string_view more) {
        if (count > 0) parts.push_back(Counted(count, one, more));
    };
    add(difference.ticks, "tick", "ticks");
    add(difference.corrections, "correction", "corrections");
    add(difference.newBars, "new bar", "new bars");
    add(difference.goneBars, "bar is gone", "bars are gone");
    if (difference.goneBars > 0) parts.back() += (difference.goneBars > 1 ? ", first " : ": ") + difference.firstGone;
    return parts.empty() ? "no bar is another one" : fmt::format("{}", fmt::join(parts, ", "));
}

// A run of `live`. The content that a file has at first, or once it is written anew, is gathered before any of it is
// taken. What comes behind that, and all from a pipe, is taken line by line.
class Following {
public:
    using MakeLive = std::function<std::unique_ptr<Live>(const BarHeader&, Live::Show, TimeReader)>;

    Following(const FollowSettings& settings, WantedColumns wantedBy, FollowOutput& wantedOutput, MakeLive makeLive)
        : layout(settings.layout), to(settings.to), wanted(WantedWith(to, std::move(wantedBy))),
          source(settings.file, settings.follow, Tell), output(wantedOutput), make(makeLive),
          alerts(settings.alerts, source.Name(),
                 [this](std::string_view date, const std::string& condition) { output.Alert(date, condition); }) {
        Begin();
    }
    ~Following() { output.Release(); }
    Following(const Following&) = delete;
    Following& operator=(const Following&) = delete;

    void Run();

private:
    void Begin();
    void Settle(bool evenWithoutData);
    void TakeLines();
    bool TakeLine();
    void TakeRow();
    void Take(const BarRow& row);
    void TakeBar(const BarRow& row);
    void TellTrades();
    void TakeContent();
    void TakeContentOver();
    Live::Difference TakeOver(BarFile series);
    BarFile ContentBars();
    void MakeBars();
    void Start(TimeReader times);
    void TellOnce(const std::string& notice);
    void LeaveOut(const std::string& fault);

    LayoutSettings layout;
    FrameSettings to;
    WantedColumns wanted;
    GrowingFile source;
    bool hasBegun = false;  // to read it
    FollowOutput& output;
    MakeLive make;
    Alerts alerts;
    std::optional<RowReader> reader;
    std::optional<RowCollector> content;  // while it is gathered
    TradeFilter filter;
    std::optional<TimeReader> rowTimes;  // of the rows that bars of a frame are made of
    std::unique_ptr<BarMaker> maker;     // of these bars; null without a frame
    bool isForeign = false;              // the content can't go on the bars so far
    std::unique_ptr<Live> live;
    std::size_t leftOut = 0;
    bool gapsAreTold = false;
    std::set<std::string> told;
};

void Following::Run() {
    bool isEnd = false;
    while (!isEnd && !Interrupted()) {
        const auto [state, text] = source.Read();
        if (Interrupted()) break;
        isEnd = state == GrowingFile::State::End;
        if (state == GrowingFile::State::StartsOver) Begin();
        if (!hasBegun && LooksCompressed(text))
            Fail("{}: compressed files can't be followed; unpack it into a pipe: zcat FILE | study live - EXPRESSION",
                 source.Name());
        hasBegun = hasBegun || !text.empty();
        if (!isForeign) reader->Add(text);
        if (isEnd) reader->End();
        // What a pipe has given so far is all that there may be for a long time.
        Settle(state == GrowingFile::State::CaughtUp);
        TakeLines();
        if (isEnd || state == GrowingFile::State::CaughtUp) TakeContent();
        output.Flush();
        if (!output.IsWanted()) return;
    }
    if (!live && Interrupted()) return;
    if (!live) Fail("{}: the file is empty", source.Name());
    output.Finish();
    output.Release();
    std::string report = live->Finish();
    if (leftOut > 0) report += fmt::format("left out   {} lines\n", leftOut);
    PrintError(report);
}

void Following::Begin() {
    reader.emplace(source.Name(), layout, wanted);
    isForeign = false;
    hasBegun = false;
    filter = {};
    if (source.IsRegular()) content.emplace(source.Name(), ReadSettings{false, true, true, Tell, layout, {}});
}

void Following::Settle(bool evenWithoutData) {
    if (isForeign || (content && !evenWithoutData)) return;
    try {
        reader->Settle(evenWithoutData);
    } catch (const Failure& failure) {
        if (!live) throw;
        isForeign = true;
        LeaveOut(failure.what());
    }
}

void Following::TakeLines() {
    while (!isForeign && !Interrupted() && TakeLine()) {
    }
}

// False if there is no further one.
bool Following::TakeLine() {
    try {
        if (!reader->Next()) return false;
    } catch (const Failure& failure) {
        if (!reader->HasHeader() && !live) throw;
        isForeign = !reader->HasHeader();
        content && !isForeign ? content->Refuse(failure.what(), reader->Line()) : LeaveOut(failure.what());
        return true;
    }
    const bool areTrades = reader->Header().isTrades;
    if (areTrades && !filter.IsNew(reader->Row())) {
        TellTrades();
        return true;
    }
    if (content && areTrades) content->ExpectTrades();
    content ? content->Take(reader->Row(), reader->Line()) : TakeRow();
    return true;
}

void Following::TakeRow() {
    if (!live) Start(TimeReader(layout.times ? layout.times->order : DateOrder::Unknown));
    const BarRow& row = reader->Row();
    try {
        Take(row);
    } catch (const Failure& failure) {
        return LeaveOut(fmt::format("{}:{}:1: {}", source.Name(), reader->Line(), failure.what()));
    }
    alerts.Look(*live);
    for (const std::string& notice : live->TakeNotices()) TellOnce(fmt::format("{}: {}", source.Name(), notice));
    if (gapsAreTold) return;
    GapCount gaps;
    gaps.Count(row.values);
    const std::string text = gaps.Text(reader->Header().titles);
    gapsAreTold = !text.empty();
    if (gapsAreTold)
        Tell(fmt::format("{}:{}: cells without a number, which are gaps: {}; later ones are not told", source.Name(),
                         reader->Line(), text));
}

// Without a frame a row is a bar. With one it changes bars: mostly the last one, or it begins another. A late trade changes
// an older bar, and where further bars depend on it they are compared as a whole.
void Following::Take(const BarRow& row) {
    if (!maker) return TakeBar(row);
    if (rowTimes->WasMisled(row.date))
        Fail("{} tells another order of day and month than was thought; --time-format says it", Quoted(row.date));
    const BarTime time = rowTimes->Read(row.date);
    if (!rowTimes->HasTimes()) Fail("{} is no time, which bars of a frame need", Quoted(row.date));
    const BarRange changed = maker->Take(row, time);
    const std::size_t known = live->Bars().BarCount();
    const bool isAtEnd = changed.first + 1 >= known && maker->BarCount() >= known;
    const bool isOne = changed.end == changed.first + 1 && maker->BarCount() == known;
    if (!isAtEnd && !isOne) {
        TakeOver(maker->File());
        return;
    }
    for (std::size_t bar = changed.first; bar < changed.end; ++bar) TakeBar(maker->Row(bar));
}

// Duplicates in a stream are told as they come.
void Following::TellTrades() {
    if (content) return;
    Tell(fmt::format("{}:{}: {}", source.Name(), reader->Line(), filter.Notice()));
}

void Following::TakeBar(const BarRow& row) {
    const auto lock = output.Lock();
    const std::size_t count = live->Bars().BarCount();
    std::vector<double> before;
    const std::size_t bar = live->Take(row, &before);
    output.TakeRow(bar, bar == count ? nullptr : &before);
}

// There is none as long as its header has not come.
void Following::TakeContent() {
    if (isForeign || !reader->HasHeader()) return;
    if (!content) {
        if (!live) Start(TimeReader(layout.times ? layout.times->order : DateOrder::Unknown));
        return;
    }
    content->Finish();
    leftOut += content->LeftOut();
    for (const std::string& notice : content->Notices()) TellOnce(notice);
    if (const std::string notice = filter.Notice(); !notice.empty()) Tell(fmt::format("{}: {}", source.Name(), notice));
    if (const std::string gaps = content->GapNotice(reader->Header()); !gapsAreTold && !gaps.empty()) {
        Tell(gaps);
        gapsAreTold = true;
    }
    if (live) {
        TakeContentOver();
    } else {
        Start(content->Times());
        if (to.frame) {
            const BarFile bars = ContentBars();
            for (std::size_t bar = 0; bar < bars.BarCount() && !Interrupted(); ++bar) TakeBar(bars.Row(bar));
        } else {
            for (std::size_t i = 0; i < content->RowCount() && !Interrupted(); ++i) TakeBar(content->Row(i));
        }
        alerts.Start(*live);
    }
    content.reset();
}

Live::Difference Following::TakeOver(BarFile series) {
    const auto lock = output.Lock();
    const Live::Difference difference = live->TakeOver(std::move(series));
    if (difference.firstBar) output.TakeBarsFrom(*difference.firstBar);
    return difference;
}

void Following::TakeContentOver() {
    const BarHeader& header = reader->Header();
    const std::string event = fmt::format("{}: the file {}", source.Name(), source.Reason());
    if (header.titles == live->Bars().Columns()) {
        Tell(event + ": " + DifferenceText(TakeOver(ContentBars())));
        alerts.Look(*live);
        return;
    }
    try {
        Start(content->Times());
    } catch (const Failure& failure) {
        isForeign = true;
        return Tell(fmt::format("{} and has other columns: {}; its lines are left out", event, failure.what()));
    }
    Tell(event + " and has other columns: all bars are new");
    TakeOver(ContentBars());
    alerts.Start(*live);
}

// The bars of the gathered content. Rows that come later go on with those that made them.
BarFile Following::ContentBars() {
    if (!to.frame) return BarFile(reader->Header(), std::move(*content));
    MakeBars();
    for (std::size_t i = 0; i < content->RowCount(); ++i) maker->Take(content->Row(i), content->Time(i));
    return maker->File();
}

void Following::MakeBars() {
    maker = std::make_unique<BarMaker>(reader->Header(), to, true);
    rowTimes = content ? content->Times() : TimeReader(layout.times ? layout.times->order : DateOrder::Unknown);
}

void Following::Start(TimeReader times) {
    const bool isFirst = !live;
    RefuseTrades(reader->Header(), to);
    if (to.frame) {
        MakeBars();
        times = TimeReader();
    }
    if (const std::string text = reader->PresentLayout().Text(); !text.empty())
        TellOnce(fmt::format("{}: read with {}", source.Name(), text));
    auto made = make(
        maker ? maker->Header() : reader->Header(), [this](std::size_t bar) { output.ShowBar(*live, bar); },
        std::move(times));
    const auto lock = output.Lock();
    live = std::move(made);
    output.Start(*live);
    for (const std::string& keyword : live->Compiled().graph.WithoutSnapshots()) {
        if (!isFirst) break;
        Tell(keyword +
             " keeps no snapshots, it only takes its last bar back: after ticks on a full window its values can "
             "differ from a run over finished bars, and corrections start at the first bar");
    }
}

void Following::TellOnce(const std::string& notice) {
    if (told.insert(notice).second) Tell(notice);
}

void Following::LeaveOut(const std::string& fault) {
    Tell(fault + "; left out");
    ++leftOut;
}

}  // namespace

void FollowTable::ShowBar(const Live& live, std::size_t bar) {
    if (!hasHeading) table.Begin(live.Bars(), live.Results());
    hasHeading = true;
    table.WriteBar(live.Bars().Date(bar), live.Results());
}

void RunLive(const Library& library, const FollowSettings& settings, FollowOutput& output,
             std::span<const std::string_view> besides) {
    const auto make = [&](const BarHeader& header, Live::Show show, TimeReader times) {
        return std::make_unique<Live>(library, header, settings.expressions, settings.allOutputs, settings.run,
                                      settings.snapshotDistance, std::move(show), SeriesSettings().mostSnapshots,
                                      std::move(times), settings.alerts.conditions);
    };
    const auto wanted = [&](const std::vector<std::string>& titles, const std::vector<bool>& hasNumbers) {
        std::vector<std::string> all = settings.expressions;
        all.insert(all.end(), settings.alerts.conditions.begin(), settings.alerts.conditions.end());
        return WithColumns(besides, titles, hasNumbers, WantedBy(library, titles, all, settings.run.operators));
    };
    Following(settings, wanted, output, make).Run();
}

}  // namespace sarvane::study
