#include "graph/operator_node.h"

#include <algorithm>

namespace sarvane::study {
namespace {

bool AreInARow(const std::vector<Place>& places) {
    const auto isGap = [](Place a, Place b) { return b != a + 1; };
    return !places.empty() && std::ranges::adjacent_find(places, isGap) == places.end();
}

}  // namespace

OperatorNode::OperatorNode(ComPtr<IZelmorOp> created, bool hasSnapshots, std::vector<Place> inputs,
                           std::size_t outputCount, Place to)
    : op(std::move(created)), sources(std::move(inputs)), in(sources.size(), UndefinedValue),
      inCount(static_cast<int>(sources.size())), readsInPlace(hasSnapshots && AreInARow(sources)),
      firstSource(readsInPlace ? sources.front() : NoPlace), outCount(static_cast<int>(outputCount)), output(to),
      keepsSnapshots(hasSnapshots) {
    op->QueryInterface(IID_IZelmorOp2, barOp.Slot());
}

void OperatorNode::SetPriceStep(double step) {
    const double values[] = {step, step};
    if (barOp) barOp->SetPriceStep(2, values);
}

HRESULT OperatorNode::Reset(const RunStart& start) {
    for (double& value : in) value = UndefinedValue;  // no seeds
    steppedSinceSave = false;
    indexMask = start.isLonger ? 0 : -1;
    return barOp ? barOp->ResetBar(start.holdsInputs ? 1 : 0, start.lastBar, inCount, in.data())
                 : op->Reset(inCount, in.data());
}

// Each call is the last one of its path, so that no path has to save registers.
HRESULT OperatorNode::Step(double* values, int bar) {
    return readsInPlace ? StepOn(values + firstSource, values, bar) : StepOnCopy(values, bar);
}

// Restoring an operator without snapshots looks at the last inputs, so these are copied.
HRESULT OperatorNode::StepOnCopy(double* values, int bar) {
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = values[sources[i]];
    return StepOn(in.data(), values, bar);
}

inline HRESULT OperatorNode::StepOn(const double* inputs, double* values, int bar) {
    steppedSinceSave = true;
    return barOp ? barOp->CalculateBar(bar & indexMask, inCount, inputs, outCount, values + output)
                 : op->Calculate(inCount, inputs, outCount, values + output);
}

HRESULT OperatorNode::Save(short slot) {
    steppedSinceSave = false;
    return op->SaveState(slot);
}

// An operator that can only take its last bar back has nothing to take back if no bar came since, or if that bar was
// missing, which it skips: it would take back the bar before.
HRESULT OperatorNode::Restore(short slot) {
    if (!keepsSnapshots && (!steppedSinceSave || in.empty() || IsUndefined(in.front()))) return S_OK;
    steppedSinceSave = false;
    return op->RestoreState(slot);
}

}  // namespace sarvane::study
