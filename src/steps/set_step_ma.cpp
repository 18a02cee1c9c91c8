#include "steps/set_step_ma.h"

#include "frame/numbers.h"

#include <functional>
#include <limits>

namespace sarvane {
namespace {

// Bars until an average of n bars has settled: 4 * n, but at least 200.
int SettlingBars(int n) {
    constexpr int Largest = std::numeric_limits<int>::max();
    if (n < 50) return 200;
    return n > Largest / 4 ? Largest : 4 * n;
}

}  // namespace

int CSetStepMA::Configure(int newKind, double newLength) {
    if (IsUndefined(newLength)) return 0;
    kind = newKind;
    length = newLength;
    count = TruncateToInt(newLength);
    return 1;
}

int CSetStepMA::Reset() {
    StepMARecord& live = records.Live();
    live.last = live.value = UndefinedValue;
    live.sum = 0.0;
    live.window.Clear();
    live.extreme.Forget();
    return 1;
}

double CSetStepMA::Step(double value) {
    StepMARecord& live = records.Live();
    if (IsUndefined(value)) value = live.last;
    if (IsUndefined(value)) return UndefinedValue;
    // A window of one input needs no record, so a missing input that comes later has nothing to repeat.
    if (kind != StepExp && count <= 1) return count == 1 ? value : UndefinedValue;

    live.window.Push(value);
    if (live.window.Size() > (kind == StepExp ? 1 : count)) {
        const bool usesSum = kind != StepExp && (kind != StepSmo || IsUndefined(live.value));
        if (usesSum) live.sum -= live.window[0];
        live.window.PopFront();
    }
    // The kind can change between two bars, and a snapshot may be of another kind.
    if (live.window.Size() != count || live.extremeKind != kind) live.extreme.Forget();
    const double result = Result(live, value);
    live.last = value;
    return result;
}

// The result for a window that `value` was just appended to. The window is full with `count` inputs, but an average is
// divided by `length`, which need not be a whole number. It is at least 2 here: shorter windows need no record.
double CSetStepMA::Result(StepMARecord& live, double value) const {
    const bool full = live.window.Size() == count;
    switch (kind) {
    case StepSim: live.sum += value; return full ? live.sum / length : UndefinedValue;
    case StepSmo:
        if (!IsUndefined(live.value)) return live.value = (value - live.value) / length + live.value;
        live.sum += value;
        return full ? live.value = live.sum / length : UndefinedValue;
    case StepExp: {
        const double ratio = length > 1.0 ? 2.0 / (length + 1.0) : length;
        const double before = IsUndefined(live.value) ? value : live.value;
        return live.value = (value - before) * ratio + before;
    }
    case StepLowest: return full ? Extreme(live, std::less<>()) : UndefinedValue;
    case StepHighest: return full ? Extreme(live, std::greater<>()) : UndefinedValue;
    case StepSum: live.sum += value; return full ? live.sum : UndefinedValue;
    default: return UndefinedValue;
    }
}

template <class Beyond>
double CSetStepMA::Extreme(StepMARecord& live, Beyond isBeyond) const {
    live.extremeKind = kind;
    const auto hasOrder = [](double input) { return input == input; };
    return live.window.Newest(live.extreme.Follow(live.window, isBeyond, hasOrder));
}

int CSetStepMA::GetLookback() const {
    switch (kind) {
    case StepSmo: return SettlingBars(count);
    case StepExp: return SettlingBars(TruncateToInt(length > 1.0 ? length : 2.0 / length - 1.0));
    default: return count;
    }
}

int CSetStepMA::Save(short slot) {
    records.Save(slot);
    return 1;
}

int CSetStepMA::Restore(short slot) { return records.Restore(slot) == S_OK; }

}  // namespace sarvane
