#pragma once

#include "frame/extreme_place.h"
#include "frame/history_ring.h"
#include "frame/state_store.h"
#include "sarvane/values.h"

namespace sarvane {

// What a CSetStepMA computes. Where an operator has a parameter for the kind of an average, 0 to 2 mean the same.
enum StepKind : int {
    StepSim,      // simple average of the last inputs
    StepSmo,      // smoothed average, which starts as the simple average of the first inputs
    StepExp,      // exponential average, which starts as the first input
    StepLowest,   // lowest of the last inputs
    StepHighest,  // highest of the last inputs
    StepSum,      // sum of the last inputs
};

struct StepMARecord {
    double last = UndefinedValue;   // last input that was used
    double sum = 0.0;               // running sum of `window`
    double value = UndefinedValue;  // current average of StepSmo and StepExp
    HistoryRing window{30};         // inputs, oldest first
    ExtremePlace extreme;           // in `window`, of the kind that follows
    int extremeKind = -1;           // StepLowest or StepHighest
};

// A running average, extreme or sum of one value a bar. Compound operators are built from these: they hold them by
// value and step them on every bar. A step keeps its own snapshots, in slots that its operator numbers.
class CSetStepMA {
public:
    CSetStepMA() = default;
    CSetStepMA(StepKind stepKind, double stepLength) { Configure(stepKind, stepLength); }
    virtual ~CSetStepMA() = default;

    // `length` is a number of inputs; for StepExp, 1.0 or below is a smoothing ratio. Running state and snapshots stay
    // as they are. Returns 1, or 0 for an undefined length, which changes nothing.
    int Configure(int kind, double length);
    // Starts a new run; snapshots stay. Returns 1.
    int Reset();
    // Takes this bar's input and returns the result, UndefinedValue until enough inputs have come. A missing input
    // repeats the last one.
    double Step(double value);
    // Bars of history before the result means something.
    int GetLookback() const;
    // Copies the running state into a slot. Returns 1.
    int Save(short slot);
    // Copies a slot into the running state. Returns 1, or 0 for a slot above all that were saved.
    int Restore(short slot) { return records.Restore(slot) == S_OK; }

private:
    double AfterPush(StepMARecord& live, double value);
    double AfterLargePush(StepMARecord& live, double value);
    template <class Beyond>
    double Extreme(StepMARecord& live, Beyond isBeyond) const;

    int kind = -1;  // a StepKind; until it is configured the length is 1.0, where a step returns its input
    double length = 1.0;
    int count = 1;       // `length` truncated: the size of the window
    double ratio = 1.0;  // of StepExp: the part of the way towards an input
    StateStore<StepMARecord> records;
};

}  // namespace sarvane
