#pragma once

#include "frame/description.h"
#include "frame/history_ring.h"
#include "frame/numbers.h"

#include <cmath>

namespace sarvane {

// The values of a window that a deviation is formed from, and the order in which they are summed up.
class DeviationSample {
public:
    // The whole window, oldest value first: for a constant period.
    static DeviationSample Whole(const HistoryRing& window) { return {window, window.Size(), false}; }
    // The newest `period` values, newest first: for a period that is read from a curve. None if the window has fewer.
    static DeviationSample Newest(const HistoryRing& window, double period) {
        const int wanted = TruncateToInt(period);
        return {window, wanted >= 1 && wanted <= window.Size() ? wanted : 0, true};
    }

    // These are undefined for a sample without values.
    double Mean() const {
        return Average([](double value) { return value; });
    }
    double MeanDistance(double level) const {
        return Average([level](double value) { return std::abs(level - value); });
    }
    // Root of the mean squared distance from `level`. The divisor is the number of values, or with `useNMinus1` one
    // less, except for a single value.
    double RootMeanSquare(double level, bool useNMinus1) const {
        if (count == 0) return UndefinedValue;
        const double squares = Sum([level](double value) { return (level - value) * (level - value); });
        return std::sqrt(squares / (useNMinus1 && count > 1 ? count - 1 : count));
    }

private:
    DeviationSample(const HistoryRing& values, int number, bool backwards)
        : window(values), count(number), newestFirst(backwards) {}

    template <class Term>
    double Sum(Term term) const {
        double sum = 0.0;
        const auto add = [&](double value) { sum += term(value); };
        newestFirst ? window.NewestFirst(count, add) : window.OldestFirst(count, add);
        return sum;
    }
    template <class Term>
    double Average(Term term) const {
        return count > 0 ? Sum(term) / count : UndefinedValue;
    }

    const HistoryRing& window;
    int count;
    bool newestFirst;
};

// The argument that chooses the divisor of a sum of squares. Any text but "0" turns it on, "N" included.
inline constexpr ArgumentDescription NMinus1Switch =
    Takes::Switch("useNMinus1", "divide by one less than the number of values, except for a single value").Default("0");

// How formulas show the choice of the divisor.
constexpr const char* DivisorText(bool useNMinus1) { return useNMinus1 ? "N-1" : "N"; }

}  // namespace sarvane
