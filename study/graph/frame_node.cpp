#include "graph/frame_node.h"

#include <algorithm>
#include <utility>

namespace sarvane::study {

FrameNode::FrameNode(FrameBar bars, FrameView what, std::unique_ptr<Graph> graph, std::vector<Place> read,
                     std::vector<Place> results, Place to)
    : frame(std::move(bars)), view(what), inner(std::move(graph)), columns(std::move(read)),
      sources(std::move(results)), output(to) {
    if (view == FrameView::Closed) shown.assign(sources.size(), UndefinedValue);
}

// Each longer bar is the last one when it comes.
HRESULT FrameNode::Reset(const RunStart& start) {
    forming = {};
    std::ranges::fill(shown, UndefinedValue);
    home = 0;
    isAhead = false;
    return inner->Reset({0, start.holdsInputs});
}

HRESULT FrameNode::Step(double* values, int) {
    const HRESULT taken = frame.Take(forming, values, inner->Columns(), [this] { return Close(); });
    if (FAILED(taken)) return taken;
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
        if (const HRESULT status = inner->Step(0); FAILED(status)) return status;
    }
    for (std::size_t i = 0; i < shown.size(); ++i) shown[i] = inner->Values()[sources[i]];
    return S_OK;
}

// The state ahead of the forming bar lies above all slots that the host has saved: a save may give up those above it.
HRESULT FrameNode::StepForming() {
    HRESULT status = S_OK;
    if (home == 0) {
        home = static_cast<short>(savedForming.size() + 1);
        status = inner->Save(home);
    } else if (isAhead) {
        status = inner->Restore(home);
    }
    if (status != S_OK) return status;
    isAhead = true;
    return inner->Step(0);
}

HRESULT FrameNode::Save(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    if (savedForming.size() <= place) {
        savedValues.resize((place + 1) * RecordSize(), UndefinedValue);
        savedForming.resize(place + 1);
    }
    HRESULT status = isAhead ? inner->Restore(home) : S_OK;
    if (status == S_OK && home != slot) status = inner->Save(slot);
    if (status != S_OK) return status;
    isAhead = false;
    home = slot;
    savedForming[place] = forming;
    double* to = savedValues.data() + place * RecordSize();
    for (const Place column : columns) *to++ = inner->Columns()[column];
    for (const double result : shown) *to++ = result;
    return S_OK;
}

HRESULT FrameNode::Restore(short slot) {
    const auto place = static_cast<std::size_t>(slot) - 1;
    if (place >= savedForming.size()) return S_FALSE;
    home = slot;
    isAhead = false;
    forming = savedForming[place];
    const double* from = savedValues.data() + place * RecordSize();
    double* const bar = inner->Columns();
    for (const Place column : columns) bar[column] = *from++;
    for (double& result : shown) result = *from++;
    return inner->Restore(slot);
}

}  // namespace sarvane::study
