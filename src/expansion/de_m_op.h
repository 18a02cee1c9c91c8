#pragma once

#include "expansion/set_step_value.h"
#include "frame/described.h"
#include "frame/history_ring.h"
#include "frame/value_kinds.h"
#include "oscillators/set_step_ma.h"

namespace sarvane {

struct DeMRecord {
    BarPrices previous = NoPrices;  // of the last bar that was used
    HistoryRing closes;             // kept only for the comparison against closes
    HistoryRing highs;              // values of the high step, kept only for the plain comparison
    HistoryRing lows;               // of the low step
};

// DemOp( bar, highKind, highLag, lowKind, lowLag, smoothLength, mode) is the upward share, in percent, of the movement
// averaged over the last `smoothLength` bars. A bar moves up by what its high lies above the one `highLag` bars back,
// and down by what its low lies below the one `lowLag` bars back; the kinds choose the values that stand for both. In
// mode 2 both are compared with the closes that many bars back and with the bar's own close.
class CDeMOp : public Described<CDeMOp> {
    friend Described;
    static constexpr WordDescription Modes[] = {
        {"1", "high with an earlier high, low with an earlier low"},
        {"2", "high and low with an earlier close and with the bar's own close"},
    };
    static constexpr Description About = {
        .sentence = "upward share of the recent movement, in percent",
        .arguments = {Takes::Bar("bar", "prices", OhlcFields),
                      Takes::Word("highKind", "value that stands for the high of a bar", ValueKindWords).Default("1"),
                      Takes::Count("highLag", "bars back to what the high is compared with").From(0).Default("1"),
                      Takes::Word("lowKind", "value that stands for the low of a bar", ValueKindWords).Default("3"),
                      Takes::Count("lowLag", "bars back to what the low is compared with").From(0).Default("1"),
                      Takes::Count("smoothLength", "bars that the movement is averaged over").From(1).Default("4"),
                      Takes::Word("mode", "what is compared", Modes).Default("1")},
        .outputs = {{u"percent", UnitKind::Number, "upward share of the movement, from 0 to 100", DrawnAs::Line}},
    };
    FormattedText Formula() const {
        return FormatText("DemOp( %%s, %d, %d, %d, %d, %d, %d)", highKind, highLag, lowKind, lowLag, smoothLength,
                          mode);
    }
    int BoundInputs() const { return IsUnset(smoothLength); }
    FormattedText Parameter(short n) const { return Nth(n, highKind, highLag, lowKind, lowLag, smoothLength, mode); }
    long long Lookback() const;
    auto Steps() { return std::tie(highStep, lowStep, upAverage, totalAverage); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) override;

private:
    struct Movement {
        double up = 0.0;
        double down = 0.0;
    };

    double UpShare(DeMRecord& live, const BarPrices& bar);
    Movement AgainstCloses(HistoryRing& closes, double high, double low, double close) const;
    Movement AgainstValues(HistoryRing& highs, HistoryRing& lows, double high, double low) const;

    int depth = DefaultHistoryDepth;
    int highKind = HighValue;
    int highLag = 1;
    int lowKind = LowValue;
    int lowLag = 1;
    int smoothLength = 4;
    int mode = 1;
    CSetStepValue highStep, lowStep;
    CSetStepMA upAverage, totalAverage;
    StateStore<DeMRecord> states;
};

}  // namespace sarvane
