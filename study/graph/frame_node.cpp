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
    restored = sameStretch = nullptr;
    home = 0;
    stands = Inner::AtHome;
    return inner->Reset({0, start.holdsInputs});
}

// A tick of a bar inside of the longer one comes most often, and is kept short.
HRESULT FrameNode::Step(double* values, int) {
    const Record* const before = restored;
    if (!before || !frame.StaysInStretch(before->forming, values)) [[unlikely]]
        return StepOther(values);
    frame.Add(values, before->bar.data(), inner->Columns());
    restored = nullptr;
    sameStretch = before;
    stands = Inner::Ahead;
    const HRESULT status = inner->StepNodesFrom(home);
    double* result = values + output;
    for (const Place source : sources) *result++ = inner->Values()[source];
    return status;
}

[[gnu::noinline]] HRESULT FrameNode::StepOther(double* values) {
    TakeRecord();
    const HRESULT taken = frame.Take(forming, values, inner->Columns(), [this] { return Close(); });
    if (FAILED(taken)) return taken;
    double* result = values + output;
    if (view == FrameView::Closed) {
        std::ranges::copy(shown, result);
        return S_OK;
    }
    if (!forming.hasBar) {
        std::fill_n(result, sources.size(), UndefinedValue);
        return S_OK;
    }
    const HRESULT status = StepForming();
    for (const Place source : sources) *result++ = inner->Values()[source];
    return status;
}

HRESULT FrameNode::GoHome() {
    return std::exchange(stands, Inner::AtHome) == Inner::AtHome ? S_OK : inner->RestoreNodes(home);
}

// The forming bar is as it was when the inner graph took it in, if it did.
HRESULT FrameNode::Close() {
    if (stands != Inner::Ahead) {
        HRESULT status = GoHome();
        if (status == S_OK) status = inner->StepNodes();
        if (status != S_OK) return SUCCEEDED(status) ? E_UNEXPECTED : status;
    }
    stands = Inner::AtHome;
    home = 0;
    for (std::size_t i = 0; i < shown.size(); ++i) shown[i] = inner->Values()[sources[i]];
    return S_OK;
}

// The state ahead of the forming bar lies above all slots that the host has saved: a save may give up those above it.
HRESULT FrameNode::StepForming() {
    if (home == 0) {
        home = static_cast<short>(records.size() + 1);
        if (const HRESULT status = inner->SaveNodes(home); status != S_OK) return status;
    }
    if (const HRESULT status = GoHome(); status != S_OK) return status;
    stands = Inner::Ahead;
    return inner->StepNodes();
}

HRESULT FrameNode::Save(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    while (records.size() <= place) {
        auto record = std::make_unique<Record>();  // a whole one, or none if memory runs out
        record->bar.resize(width, UndefinedValue);
        record->shown.resize(shown.size(), UndefinedValue);
        records.push_back(std::move(record));
    }
    TakeRecord();
    HRESULT status = GoHome();
    if (status == S_OK && home != slot) status = inner->SaveNodes(slot);
    if (status != S_OK) return status;
    home = slot;
    Record& record = *records[place];
    record.forming = forming;
    std::copy_n(inner->Columns(), width, record.bar.begin());
    std::ranges::copy(shown, record.shown.begin());
    return S_OK;
}

// The inner graph of a forming bar goes back when it is needed: mostly it takes in a bar at once.
HRESULT FrameNode::Restore(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    if (place >= records.size()) return S_FALSE;
    restored = records[place].get();
    home = slot;
    stands = Inner::Away;
    return view == FrameView::Forming ? S_OK : RestoreClosed();
}

[[gnu::noinline]] HRESULT FrameNode::RestoreClosed() {
    TakeRecord();
    return GoHome();
}

void FrameNode::TakeRecord() {
    if (const Record* const record = std::exchange(sameStretch, nullptr)) forming = record->forming;
    if (!restored) return;
    const Record& record = *std::exchange(restored, nullptr);
    forming = record.forming;
    std::ranges::copy(record.bar, inner->Columns());
    std::ranges::copy(record.shown, shown.begin());
}

}  // namespace sarvane::study
