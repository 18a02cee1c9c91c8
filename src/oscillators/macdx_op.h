#pragma once

#include "frame/described.h"

namespace sarvane {

struct MACDXState {
    double previous = UndefinedValue;  // last input that was used
    double fastAverage = UndefinedValue;
    double slowAverage = UndefinedValue;
    double signalLine = UndefinedValue;  // exponential average of fastAverage - slowAverage
};

// MACDX(curve,fast,slow,signal) gives the price at which Gerald Appel's MACD would meet its signal line. The MACD is
// the difference of a fast and a slow exponential average, the signal line the exponential average of that difference.
// Each parameter is a smoothing ratio; a number above 1.0 is a length in bars, and stored as the ratio that it stands
// for. With two equal ratios there is no output.
class CMACDXOp : public Described<CMACDXOp> {
    friend Described;
    static constexpr Description About = {
        .sentence = "price at which the difference of two exponential averages would meet its signal line",
        .arguments = {Takes::Curve("curve", "price that is averaged"),
                      Takes::Number("fast", "smoothing ratio of the fast average; above 1 its length").Default("0"),
                      Takes::Number("slow", "smoothing ratio of the slow average; above 1 its length").Default("0"),
                      Takes::Number("signal", "smoothing ratio of the signal line; above 1 its length").Default("0")},
        .outputs = {{u"curve1", UnitKind::Curve, "the price", DrawnAs::Line}},
    };
    FormattedText Formula() const { return FormatText("MACDX(%%s,%f,%f,%f)", fastRatio, slowRatio, signalRatio); }
    FormattedText Parameter(short n) const { return Nth(n, fastRatio, slowRatio, signalRatio); }
    int Lookback() const { return depth; }
    static int ArgumentOf(short) { return 0; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) noexcept override;

private:
    double CrossingPrice(MACDXState& live, double value) const;

    int depth = DefaultHistoryDepth;
    double fastRatio = 0.0;
    double slowRatio = 0.0;
    double signalRatio = 0.0;
    StateStore<MACDXState> states;
};

}  // namespace sarvane
