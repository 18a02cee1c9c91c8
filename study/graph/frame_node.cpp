#include "graph/frame_node.h"

#include <algorithm>
#include <utility>

namespace sarvane::study {

FrameNode::FrameNode(FrameBar bars, FrameView what, std::unique_ptr<Graph> graph, std::size_t columnCount,
                     std::vector<Place> results, Place to)
    : frame(std::move(bars)), view(what), inner(std::move(graph)), width(columnCount), sources(std::move(results)),
      output(to) {
    if (view == FrameView::Closed) shown.assign(sources.size(), UndefinedValue);
}

HRESULT FrameNode::Reset(const RunStart& start) {
    stands = Standing::AtHome;
    record = closed = nullptr;
    forming = {};
    std::ranges::fill(shown, UndefinedValue);
    home = 0;
    const HRESULT status = inner->Reset({0, start.holdsInputs, true});
    bar = inner->Columns();
    return status;
}

// A tick of a bar inside of the longer one comes most often, and is kept short.
HRESULT FrameNode::Step(double* values, int) {
    if (stands != Standing::Restored || !frame.IsAhead(values, record->end)) [[unlikely]]
        return StepOther(values);
    stands = Standing::Ticked;
    frame.Add(values, record->bar.data(), bar);
    return S_OK;
}

[[gnu::noinline]] HRESULT FrameNode::StepOther(double* values) {
    const Record* const since = stands == Standing::Restored ? record : nullptr;
    int closes = 0;
    TakeRecord();
    const HRESULT taken = frame.Take(
        forming, values, bar, [&] { return ++closes == 1 && since && since == closed ? CloseAgain() : Close(); });
    if (FAILED(taken)) return taken;
    if (view == FrameView::Closed) {
        std::ranges::copy(shown, values + output);
        return SkipsInner;
    }
    if (!forming.hasBar) {
        std::fill_n(values + output, sources.size(), UndefinedValue);
        return SkipsInner;
    }
    return StartForming(closes == 1 ? since : nullptr);
}

// Gets the inner graph ready to take in the forming bar. The state ahead of that bar lies above all slots that the host
// has saved: a save may give up those above it.
HRESULT FrameNode::StartForming(const Record* closedSince) {
    if (home == 0) {
        home = static_cast<short>(records.size() + 1);
        closed = nullptr;
        if (const HRESULT status = inner->SaveNodes(home); status != S_OK)
            return FAILED(status) ? status : E_UNEXPECTED;
        closed = closedSince;
        closedHome = home;
    }
    const HRESULT status = GoHome();
    if (status != S_OK) return FAILED(status) ? status : E_UNEXPECTED;
    stands = Standing::Ahead;
    return S_OK;
}

HRESULT FrameNode::GoHome() {
    return std::exchange(stands, Standing::AtHome) == Standing::AtHome ? S_OK : inner->RestoreNodes(home);
}

// The forming bar is as it was when the inner graph took it in, if it did.
HRESULT FrameNode::Close() {
    if (std::exchange(stands, Standing::AtHome) == Standing::AtHome) {
        if (const HRESULT status = inner->StepNodes(); FAILED(status)) return status;
    }
    home = 0;
    for (std::size_t i = 0; i < shown.size(); ++i) shown[i] = inner->Values()[sources[i]];
    return S_OK;
}

HRESULT FrameNode::CloseAgain() {
    home = closedHome;
    const HRESULT status = inner->RestoreNodes(home);
    return status == S_OK || FAILED(status) ? status : E_UNEXPECTED;
}

HRESULT FrameNode::Save(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    while (records.size() <= place) {
        auto made = std::make_unique<Record>();
        made->slot = static_cast<short>(records.size() + 1);
        made->bar.resize(width, UndefinedValue);
        made->shown.resize(shown.size(), UndefinedValue);
        records.push_back(std::move(made));  // a whole one, or none if memory runs out
    }
    TakeRecord();
    closed = nullptr;
    if (const HRESULT status = GoHome(); status != S_OK) return status;
    if (home != slot) {
        home = 0;  // until the save is whole
        HRESULT status = inner->SaveNodes(slot);
        if (status == S_OK)
            status = inner->RestoreNodes(slot);  // the ticks to come find the state shared with the slot
        if (status != S_OK) return status;
        home = slot;
    }
    Record& saved = *records[place];
    saved.forming = forming;
    saved.end = frame.StretchEnd(view == FrameView::Forming ? forming : FrameBar::State());
    std::copy_n(bar, width, saved.bar.begin());
    std::ranges::copy(shown, saved.shown.begin());
    return S_OK;
}

HRESULT FrameNode::Restore(short slot) {
    record = records[static_cast<std::size_t>(slot) - 1].get();
    stands = Standing::Restored;
    return S_OK;
}

void FrameNode::TakeRecord() {
    if (stands != Standing::Restored && stands != Standing::Ticked) return;
    forming = record->forming;
    home = record->slot;
    std::ranges::copy(record->shown, shown.begin());
    if (std::exchange(stands, stands == Standing::Ticked ? Standing::Ahead : Standing::AtHome) == Standing::Restored)
        std::ranges::copy(record->bar, bar);
}

}  // namespace sarvane::study
