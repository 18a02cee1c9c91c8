#pragma once

#include "frame/described.h"

namespace sarvane {

struct KalmanState {
    double processNoise = 0.0;          // q
    double measurementNoise = 0.0;      // r
    double variance = 0.0;              // p, the variance of `estimate`
    double estimate = 0.0;              // the level behind the measurements
    double lastInput = UndefinedValue;  // last input that was not missing; while there is none, there is no estimate
};

// KalmanFilter( curve, processNoise, measurementNoise, initialVariance) is a one-dimensional Kalman filter (R. E.
// Kalman, "A New Approach to Linear Filtering and Prediction Problems", 1960). It takes each value as a noisy
// measurement of a level that drifts at random, and gives its estimate of the level and the variance of that estimate.
// `Reset` copies the parameters into the record; a change after that takes effect at the next `Reset`.
class CKalmanFilterOp : public Described<CKalmanFilterOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "Kalman filter: estimate of the level behind a noisy curve",
        .arguments =
            {Takes::Curve("curve", "noisy measurements of the level"),
             Takes::Number("processNoise", "variance by which the level itself changes from bar to bar").Default("0"),
             Takes::Number("measurementNoise", "variance of the noise in each value of the curve").Default("0"),
             Takes::Number("initialVariance", "variance of the first estimate").Default("0")},
        .outputs = {{u"curve1", UnitKind::Curve, "estimate of the level", DrawnAs::Line},
                    {u"curve2", UnitKind::Curve, "variance of the estimate", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return FormatText("KalmanFilter( %%s, %f, %f, %f)", processNoise, measurementNoise, initialVariance);
    }
    FormattedText Parameter(short n) const { return Nth(n, processNoise, measurementNoise, initialVariance); }
    int Lookback() const { return depth; }
    static int ArgumentOf(short) { return 0; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) noexcept override;

private:
    int depth = DefaultHistoryDepth;
    double processNoise = 0.0;
    double measurementNoise = 0.0;
    double initialVariance = 0.0;
    StateStore<KalmanState> states;
};

}  // namespace sarvane
