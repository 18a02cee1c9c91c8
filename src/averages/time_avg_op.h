#pragma once

#include "frame/described.h"

#include <boost/circular_buffer.hpp>
#include <unordered_map>

namespace sarvane {

// The last values that came with one key.
struct TimeAvgBucket {
    boost::circular_buffer<double> values;  // of fixed capacity: a new value replaces the oldest
    double sum = 0.0;                       // of `values`
};

// The mean of the last values for each key. The value that came last can be taken back.
class TimeAvgCalc {
public:
    static constexpr int DefaultWindow = 10;  // values

    // Removes all values. From now on a mean is that of the last `windowLength` values; with 0 there never is one.
    void Restart(int windowLength);
    // Adds a value to a key and returns the mean of the key's last values, UndefinedValue until its window is full.
    double Add(int key, double value);
    // Removes the value of the last `Add`, once. A value that it had pushed out of a full window does not come back.
    void Undo();

private:
    TimeAvgBucket& BucketOf(int key);

    int lastKey = UndefinedParam;  // of the last `Add`; UndefinedParam if there is nothing to take back
    std::unordered_map<int, TimeAvgBucket> buckets;
    int capacity = DefaultWindow;  // of a new bucket
};

// TimeAvg( curve, key, period, lookback) is the mean of the last `period` values that came with the same key, such as
// an hour of the day. A missing value is skipped; a missing key is a key like any other. There are no snapshots:
// `RestoreState` only takes back the last value.
class CTimeAvgOp : public Described<CTimeAvgOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "mean of the last `period` values that came with the same key",
        .arguments = {Takes::Curve("curve", "what is averaged"),
                      Takes::Curve("key", "whole number that says which values belong together, such as the hour"),
                      Takes::Count("period", "values of one key in its mean").From(1).Default("10"),
                      Takes::Count("lookback", "bars of history to ask for; no part of the calculation")
                          .From(0)
                          .Default("1000")},
        .outputs = {{u"curve1", UnitKind::Curve, "the mean for the key of this bar", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("TimeAvg( %%s, %d, %d)", period, lookback); }
    FormattedText Parameter(short n) const { return Nth(n, period, lookback); }
    int Lookback() const { return lookback; }

public:
    static constexpr bool HasSnapshotZero = true;

    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;
    // Does nothing, with status 0: the last value can be taken back without it.
    STDMETHODIMP SaveState(short) noexcept override { return S_OK; }
    // Takes back the last value, whatever the slot.
    STDMETHODIMP RestoreState(short slot) override;

private:
    int period = TimeAvgCalc::DefaultWindow;
    int lookback = 1000;
    TimeAvgCalc calc;
};

}  // namespace sarvane
