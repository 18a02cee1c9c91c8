#include "averages/time_avg_op.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace sarvane {
namespace {

enum Argument : short { Curve, Key, Period, Lookback };

constexpr int LongestWindow = 0x1FFFFFFF;  // in values; as bytes it just fits into 32 bits

}  // namespace

void TimeAvgCalc::Restart(int windowLength) {
    lastKey = UndefinedParam;
    buckets.clear();
    capacity = windowLength;
}

double TimeAvgCalc::Add(int key, double value) {
    lastKey = key;
    auto& [values, sum] = BucketOf(key);
    if (values.capacity() == 0) return UndefinedValue;  // such a buffer is full(), but has no front()
    sum += value - (values.full() ? values.front() : 0.0);
    values.push_back(value);
    return values.full() ? sum / static_cast<double>(values.size()) : UndefinedValue;
}

void TimeAvgCalc::Undo() {
    const auto found = IsUnset(lastKey) ? buckets.end() : buckets.find(lastKey);
    lastKey = UndefinedParam;
    if (found == buckets.end() || found->second.values.empty()) return;
    auto& [values, sum] = found->second;
    sum -= values.back();
    values.pop_back();
}

// The bucket of a key; a new one if there is none yet. If its buffer cannot be made, this throws and adds no bucket.
TimeAvgBucket& TimeAvgCalc::BucketOf(int key) {
    const auto found = buckets.find(key);
    if (found != buckets.end()) return found->second;
    if (capacity > LongestWindow) throw std::length_error("a window is too long");
    boost::circular_buffer<double> values(static_cast<std::size_t>(capacity));
    return buckets.emplace(key, TimeAvgBucket{std::move(values)}).first->second;
}

STDMETHODIMP CTimeAvgOp::SetParameter(short index, const char16_t* value, TextSlot* error) {
    const int number = std::max(TextToInt(value), 0);
    switch (index) {
    case Period:
        period = number;
        if (period == 0) {  // an error, which leaves the buckets as they are until `Reset`
            TextOut(error, u"Period of TimeAvg operator shall be positive integer number.");
            return E_FAIL;
        }
        calc.Restart(period);
        break;
    case Argument::Lookback: lookback = number; break;
    }
    return S_OK;
}

STDMETHODIMP CTimeAvgOp::Reset(int, const double*) {
    calc.Restart(period);
    return S_OK;
}

STDMETHODIMP CTimeAvgOp::Calculate(int, const double* in, int, double* out) {
    out[0] = IsUndefined(in[Curve]) ? UndefinedValue : calc.Add(TruncateToInt(in[Key]), in[Curve]);
    return S_OK;
}

STDMETHODIMP CTimeAvgOp::RestoreState(short) {
    calc.Undo();
    return S_OK;
}

}  // namespace sarvane
