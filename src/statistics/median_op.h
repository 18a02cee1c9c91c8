#pragma once

#include "frame/described.h"
#include "statistics/percentile_processor.h"

#include <deque>

namespace sarvane {

// Median( curve, windowSize, percent1, percent2, percent3, interpolate [, curve2]) gives up to three percentiles of the
// last `windowSize` values. Without further arguments it gives the median, and the other two outputs are undefined.
// With a second curve each bar adds two values to the window, first that of `curve`.
class CMedianOp : public Described<CMedianOp>, private PercentileProcessor {
    friend Described;
    static constexpr WordDescription BetweenValues[] = {{"0", "the nearer of two values is taken"},
                                                        {"1", "two values are blended"}};
    static constexpr Description About = {
        .sentence = "up to three percentiles of the last `windowSize` values, at first the median alone",
        .arguments =
            {Takes::Curve("curve", "whose values fill the window"),
             Takes::Count("windowSize", "values in the window").From(1).Default("13"),
             Takes::Number("percent1", "first percentile: 0 is the lowest value, 100 the highest, 50 the median")
                 .From(0)
                 .To(100)
                 .Default("50"),
             Takes::Number("percent2", "second percentile; without it curve2 has no values").From(0).To(100).Optional(),
             Takes::Number("percent3", "third percentile; without it curve3 has no values").From(0).To(100).Optional(),
             Takes::Word("interpolate", "what a percentile between two values is", BetweenValues).Default("1"),
             Takes::Curve("curve2", "its values go into the same window, behind those of the first curve").Optional()},
        .outputs = {{u"curve1", UnitKind::Curve, "the first percentile", DrawnAs::Line},
                    {u"curve2", UnitKind::Curve, "the second percentile", DrawnAs::Line},
                    {u"curve3", UnitKind::Curve, "the third percentile", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return FormatText("Median( %%s, %d, %f, %f, %f, %d)", Window(), GetPercentile(0), GetPercentile(1),
                          GetPercentile(2), GetInterpolate());
    }
    int InputCount() const { return inputCount; }
    static int ArgumentOf(short input) { return input == 0 ? 0 : 6; }
    FormattedText Parameter(short n) const {
        return Nth(n, Window(), GetPercentile(0), GetPercentile(1), GetPercentile(2), GetInterpolate());
    }
    int Lookback() const { return Window(); }

public:
    static constexpr bool HasSnapshotZero = true;

    CMedianOp();
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;
    STDMETHODIMP SaveState(short slot) override;
    STDMETHODIMP RestoreState(short slot) override;
    virtual ~CMedianOp() = default;  // the last entry of the method table

private:
    int Window() const { return static_cast<int>(GetWindowSize()); }

    int inputCount = 1;
    // Element n is slot n. Other than in a StateStore element 0 is a snapshot, too, and a save drops all slots above
    // its own.
    std::deque<PercentileSnapshot> snapshots;
};

}  // namespace sarvane
