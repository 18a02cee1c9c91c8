#include "steps/set_step_ma.h"

#include "frame/numbers.h"

#include <algorithm>
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

template <class Beyond>
[[gnu::noinline]] double SearchedExtreme(StepMARecord& live, Beyond isBeyond) {
    return live.window.Newest(live.extreme.SearchAgain(live.window, isBeyond));
}

}  // namespace

int CSetStepMA::Configure(int newKind, double newLength) {
    if (IsUndefined(newLength)) return 0;
    kind = newKind;
    length = newLength;
    count = TruncateToInt(newLength);
    ratio = length > 1.0 ? 2.0 / (length + 1.0) : length;
    return 1;
}

int CSetStepMA::Reset() {
    StepMARecord& live = records.Live();
    live.last = live.value = UndefinedValue;
    live.sum = 0.0;
    live.window.Reconfigure(std::clamp(count, 16, 1024) + 14LL);  // longer ones grow from there
    live.extreme.Forget();
    return 1;
}

// Compound operators spend most of a bar here. Each call is the last one of its path, so that no path has to save
// registers.
double CSetStepMA::Step(double value) {
    StepMARecord& live = records.Live();
    if (IsUndefined(value)) value = live.last;
    if (IsUndefined(value)) return UndefinedValue;
    // A window of one input needs no record, so a missing input that comes later has nothing to repeat.
    if (count <= 1 && kind != StepExp) return count == 1 ? value : UndefinedValue;
    if (!live.window.PushIfSimple(value)) [[unlikely]]
        return AfterLargePush(live, value);
    return AfterPush(live, value);
}

[[gnu::cold, gnu::noinline]] double CSetStepMA::AfterLargePush(StepMARecord& live, double value) {
    live.window.Push(value);
    return AfterPush(live, value);
}

// The result for a window that `value` was just appended to. The window is full with `count` inputs, but an average is
// divided by `length`, which need not be a whole number. It is at least 2 here: shorter windows need no record.
inline double CSetStepMA::AfterPush(StepMARecord& live, double value) {
    HistoryRing& window = live.window;
    int size = window.Size();
    live.last = value;
    if (kind == StepExp) {
        if (size > 1) window.DropOldest();
        live.extreme.Forget();
        const double before = IsUndefined(live.value) ? value : live.value;
        return live.value = (value - before) * ratio + before;
    }

    double sum = live.sum;
    if (size > count) {
        if (kind != StepSmo || IsUndefined(live.value)) sum -= window[0];
        window.DropOldest();
        --size;
    }
    const bool full = size == count;
    if (kind == StepLowest || kind == StepHighest) {
        live.sum = sum;
        // The kind can change between two bars, and a snapshot may be of another kind.
        if (!full || live.extremeKind != kind) live.extreme.Forget();
        if (!full) return UndefinedValue;
        return kind == StepLowest ? Extreme(live, std::less<>()) : Extreme(live, std::greater<>());
    }
    live.extreme.Forget();
    if (kind == StepSmo && !IsUndefined(live.value)) return live.value = (value - live.value) / length + live.value;
    if (kind == StepSim || kind == StepSmo || kind == StepSum) sum += value;
    live.sum = sum;
    if (!full) return UndefinedValue;
    switch (kind) {
    case StepSim: return sum / length;
    case StepSmo: return live.value = sum / length;
    case StepSum: return sum;
    default: return UndefinedValue;
    }
}

template <class Beyond>
double CSetStepMA::Extreme(StepMARecord& live, Beyond isBeyond) const {
    live.extremeKind = kind;
    const auto hasOrder = [](double input) { return input == input; };
    if (!live.extreme.FollowIfKept(live.window, isBeyond, hasOrder)) return SearchedExtreme(live, isBeyond);
    return live.window.Newest(live.extreme.BarsAgo());
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

}  // namespace sarvane
