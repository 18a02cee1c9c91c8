#include "statistics/median_op.h"

namespace sarvane {
namespace {

enum Argument : short { Curve, WindowSize, Percent1, Percent2, Percent3, Interpolate, Curve2 };

}  // namespace

// Percentiles are numbered in the order in which they are added, so each has the number of its output.
CMedianOp::CMedianOp() {
    SetMinCount(1);
    SetWindowSize(13);
    AddPercentile(0.5);
    AddPercentile(UndefinedValue);
    AddPercentile(UndefinedValue);
}

STDMETHODIMP CMedianOp::SetParameter(short index, const char16_t* value, TextSlot*) {
    switch (index) {
    case HistoryDepthIndex: inputCount = 1; break;
    case WindowSize: {
        const int number = TextToInt(value);
        if (number < 1) return E_INVALIDARG;
        // The order matters after a window of 1: there the least count of 1 is a full window, so that SetWindowSize
        // keeps the new window without results until it is full.
        SetMinCount(1);
        SetWindowSize(static_cast<uint>(number));
        break;
    }
    case Percent1:
    case Percent2:
    case Percent3: {
        const double percent = TextToDouble(value);
        if (percent >= 0.0 && percent <= 100.0) SetPercentile(index - Percent1, percent / 100.0);
        break;
    }
    case Interpolate: SetInterpolate(TextToInt(value) == 1); break;
    case Curve2: inputCount = 2; break;
    }
    return S_OK;
}

// Other operators have a name for every number.
STDMETHODIMP CMedianOp::GetOutputName(short output, TextSlot* name, TextSlot* error) {
    return output < 0 || output > LastOutput() ? E_INVALIDARG : Described::GetOutputName(output, name, error);
}

STDMETHODIMP CMedianOp::Reset(int, const double*) {
    PercentileProcessor::Reset();
    return S_OK;
}

// A value that is not finite does not enter the window: the outputs then repeat.
STDMETHODIMP CMedianOp::Calculate(int, const double* in, int, double* out) {
    for (int input = 0; input < inputCount; ++input) AddValue(in[input]);
    for (int output = 0; output < 3; ++output) out[output] = GetResult(output);
    return S_OK;
}

STDMETHODIMP CMedianOp::SaveState(short slot) {
    if (slot < 0) return E_INVALIDARG;
    const auto element = static_cast<std::size_t>(slot);
    snapshots.resize(element + 1);
    snapshots[element] = GetSnapshot();
    return S_OK;
}

STDMETHODIMP CMedianOp::RestoreState(short slot) {
    if (slot < 0 || static_cast<std::size_t>(slot) >= snapshots.size()) return E_INVALIDARG;
    RestoreSnapshot(snapshots[static_cast<std::size_t>(slot)]);
    return S_OK;
}

}  // namespace sarvane
