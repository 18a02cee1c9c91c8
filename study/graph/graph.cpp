#include "graph/graph.h"

#include <algorithm>
#include <bit>

namespace sarvane::study {

Place Graph::AddConstant(double value) {
    const auto [known, isNew] = constants.try_emplace(std::bit_cast<std::uint64_t>(value), values.size());
    if (isNew) values.push_back(value);
    return known->second;
}

void Graph::NoteSlots(const std::string& keyword, bool keepsSnapshots, bool dropsHigher) {
    dropsHigherSlots |= dropsHigher;
    const bool isKnown = std::ranges::find(withoutSnapshots, keyword) != withoutSnapshots.end();
    if (!keepsSnapshots && !isKnown) withoutSnapshots.push_back(keyword);
}

HRESULT Graph::Reset(const RunStart& start) {
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Reset(start); FAILED(status)) return status;
    }
    return S_OK;
}

HRESULT Graph::Step(const double* row, int bar) {
    std::copy_n(row, columns, values.begin());
    double* const place = values.data();
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Step(place, bar); FAILED(status)) return status;
    }
    return S_OK;
}

HRESULT Graph::Save(short slot) {
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Save(slot); status != S_OK) return status;
    }
    return S_OK;
}

// Every node is asked, also behind one that lacks the slot: they hold the same slots.
HRESULT Graph::Restore(short slot) {
    HRESULT worst = S_OK;
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Restore(slot); status != S_OK && !FAILED(worst)) worst = status;
    }
    return worst;
}

void Graph::SetPriceStep(double step) {
    for (const auto& node : nodes) node->SetPriceStep(step);
}

}  // namespace sarvane::study
