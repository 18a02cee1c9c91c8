#pragma once

#include "frame/sliding_array.h"
#include "frame/state_store.h"
#include "sarvane/values.h"

namespace sarvane {

// What a CSetStepMA gives. Parameters of operators use the first three.
enum StepKind : int {
    StepSim,      // simple average of the last inputs
    StepSmo,      // smoothed average, which starts as the simple average of the first inputs
    StepExp,      // exponential average, which starts as the first input
    StepLowest,   // lowest of the last inputs
    StepHighest,  // highest of the last inputs
    StepSum,      // sum of the last inputs
};

struct StepMARecord {
    double last = UndefinedValue;   // last input that was taken in
    double sum = 0.0;               // running sum of `window`
    double value = UndefinedValue;  // current average of StepSmo and StepExp
    SlidingArray<double> window;    // inputs, oldest first
};

// One-value running smoother that compound operators are built from: it takes one value a bar and gives one. It has
// slots of its own, so that an operator's snapshots reach it.
class CSetStepMA {
public:
    CSetStepMA() = default;
    CSetStepMA(StepKind stepKind, double stepLength) { Configure(stepKind, stepLength); }
    virtual ~CSetStepMA() = default;

    // `length` counts inputs; for StepExp a length of 1.0 or below is a smoothing ratio. An undefined length changes
    // nothing and gives 0, else the result is 1. The running state stays.
    int Configure(int kind, double length);
    int Reset();
    // UndefinedValue until enough inputs have come. A missing input repeats the last one.
    double Step(double value);
    // Bars of history that the step asks for.
    int GetLookback() const;
    int Save(short slot);
    // 0 for an unknown slot.
    int Restore(short slot);

private:
    double Result(StepMARecord& live, double value) const;

    int kind = -1;  // never configured: at the default length every kind passes its input through
    double length = 1.0;
    int count = 1;  // `length` truncated: inputs that the window holds
    StateStore<StepMARecord> records;
};

}  // namespace sarvane
