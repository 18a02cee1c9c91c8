#pragma once

#include "frame/operator_contract.h"

#include <boost/circular_buffer.hpp>
#include <unordered_map>

namespace sarvane {

// The last values that came with one key.
struct TimeAvgBucket {
    boost::circular_buffer<double> values;  // of fixed capacity: a new value replaces the oldest
    double sum = 0.0;                       // of `values`
};

// Means of the last values, key by key. It remembers which key came last, so that its value can be taken back.
class TimeAvgCalc {
public:
    static constexpr int DefaultWindow = 10;  // values

    // Drops all values; windows made from now on hold `windowLength` of them, and with 0 there never is a mean.
    void Restart(int windowLength);
    // The mean of the key's values once its window is full, else UndefinedValue.
    double Add(int key, double value);
    // Takes the value of the last `Add` back, once. What that value pushed out of a full window stays lost.
    void Undo();

private:
    TimeAvgBucket& BucketOf(int key);

    int lastKey = UndefinedParam;  // UndefinedParam when there is nothing to take back
    std::unordered_map<int, TimeAvgBucket> buckets;
    int capacity = DefaultWindow;  // of a new bucket
};

// TimeAvg( curve, key, period, lookback) is the mean of the last `period` values that came with the same key, such as
// an hour of the day. A missing value is skipped; a missing key is a key like any other. There are no snapshots.
class CTimeAvgOp : public CDefZelmorOp {
public:
    static constexpr bool HasSnapshotZero = true;

    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override {
        return TextOut(formula, FormatText("TimeAvg( %%s, %d, %d)", period, lookback));
    }
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override { return Answer(argument, input); }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 1); }
    STDMETHODIMP GetOutputName(short, TextSlot* name, TextSlot*) override { return TextOut(name, u"curve1"); }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override {
        return TextOut(text, NthInt(parameter, {period, lookback}));
    }
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, lookback); }
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SaveState(short) noexcept override { return S_OK; }
    // Any slot stands for the state before the last update.
    STDMETHODIMP RestoreState(short slot) override;

private:
    int period = TimeAvgCalc::DefaultWindow;
    int lookback = 1000;  // reported only
    TimeAvgCalc calc;
};

}  // namespace sarvane
