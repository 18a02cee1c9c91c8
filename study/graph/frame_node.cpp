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

// Each longer bar is the last one when it comes.
HRESULT FrameNode::Reset(const RunStart& start) {
    forming = {};
    std::ranges::fill(shown, UndefinedValue);
    restored = nullptr;
    home = 0;
    isAhead = false;
    return inner->Reset({0, start.holdsInputs});
}

HRESULT FrameNode::Step(double* values, int) {
    double* const bar = inner->Columns();
    if (restored && frame.StaysInStretch(restored->forming, values) && view == FrameView::Forming) {
        const Record& before = *std::exchange(restored, nullptr);
        forming = before.forming;
        frame.Add(values, before.bar.data(), bar);
    } else {
        TakeRecord();
        const HRESULT taken = frame.Take(forming, values, bar, [this] { return Close(); });
        if (FAILED(taken)) return taken;
    }
    double* const results = values + output;
    if (view == FrameView::Closed) {
        std::ranges::copy(shown, results);
        return S_OK;
    }
    if (!forming.hasBar) {
        std::fill_n(results, sources.size(), UndefinedValue);
        return S_OK;
    }
    const HRESULT status = StepForming();
    const double* const from = inner->Values();
    for (std::size_t i = 0; i < sources.size(); ++i) results[i] = from[sources[i]];
    return status;
}

// The forming bar is as it was when the inner graph took it in, if it did.
HRESULT FrameNode::Close() {
    home = 0;
    if (!std::exchange(isAhead, false)) {
        if (const HRESULT status = inner->StepNodes(); FAILED(status)) return status;
    }
    for (std::size_t i = 0; i < shown.size(); ++i) shown[i] = inner->Values()[sources[i]];
    return S_OK;
}

// The state ahead of the forming bar lies above all slots that the host has saved: a save may give up those above it.
HRESULT FrameNode::StepForming() {
    HRESULT status = S_OK;
    if (home == 0) {
        home = static_cast<short>(records.size() + 1);
        status = inner->SaveNodes(home);
    } else if (isAhead) {
        status = inner->RestoreNodes(home);
    }
    if (status != S_OK) return status;
    isAhead = true;
    return inner->StepNodes();
}

HRESULT FrameNode::Save(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    while (records.size() <= place) {
        records.push_back(std::make_unique<Record>());
        records.back()->bar.resize(width, UndefinedValue);
        records.back()->shown.resize(shown.size(), UndefinedValue);
    }
    TakeRecord();
    HRESULT status = isAhead ? inner->RestoreNodes(home) : S_OK;
    if (status == S_OK && home != slot) status = inner->SaveNodes(slot);
    if (status != S_OK) return status;
    isAhead = false;
    home = slot;
    Record& record = *records[place];
    record.forming = forming;
    std::copy_n(inner->Columns(), width, record.bar.begin());
    std::ranges::copy(shown, record.shown.begin());
    return S_OK;
}

HRESULT FrameNode::Restore(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    if (place >= records.size()) return S_FALSE;
    restored = records[place].get();
    home = slot;
    isAhead = false;
    return inner->RestoreNodes(slot);
}

void FrameNode::TakeRecord() {
    if (!restored) return;
    const Record& record = *std::exchange(restored, nullptr);
    forming = record.forming;
    std::ranges::copy(record.bar, inner->Columns());
    std::ranges::copy(record.shown, shown.begin());
}

}  // namespace sarvane::study
