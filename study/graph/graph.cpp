#include "graph/graph.h"

#include <algorithm>
#include <bit>

namespace sarvane::study {

Place Graph::AddConstant(double value) {
    MakeRoom(values);
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
    isStopped = true;
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Reset(start); FAILED(status)) return status;
    }
    isStopped = false;
    return S_OK;
}

HRESULT Graph::Step(const double* row, int bar) {
    if (isStopped) return E_OUTOFMEMORY;
    isStopped = true;
    std::copy_n(row, columns, values.begin());
    double* const place = values.data();
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Step(place, bar); FAILED(status)) return status;
    }
    isStopped = false;
    return S_OK;
}

HRESULT Graph::Save(short slot) {
    if (slot < 0) return S_FALSE;
    if (isStopped) return E_OUTOFMEMORY;
    if (slot == 0) return S_OK;
    const auto place = static_cast<std::size_t>(slot);
    if (isSaved.size() <= place) isSaved.resize(place + 1, false);
    isSaved[place] = false;
    if (dropsHigherSlots) isSaved.resize(place + 1);
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Save(slot); status != S_OK) return status;
    }
    isSaved[place] = true;
    return S_OK;
}

HRESULT Graph::Restore(short slot) {
    const bool exists =
        slot >= 0 && static_cast<std::size_t>(slot) < isSaved.size() && isSaved[static_cast<std::size_t>(slot)];
    if (!exists) return S_FALSE;
    if (slot == 0) return isStopped ? static_cast<HRESULT>(E_OUTOFMEMORY) : static_cast<HRESULT>(S_OK);
    isStopped = true;
    HRESULT worst = S_OK;
    for (const auto& node : nodes) {
        if (const HRESULT status = node->Restore(slot); status != S_OK && !FAILED(worst)) worst = status;
    }
    isStopped = worst != S_OK;
    return worst;
}

void Graph::SetPriceStep(double step) {
    for (const auto& node : nodes) node->SetPriceStep(step);
}

}  // namespace sarvane::study
