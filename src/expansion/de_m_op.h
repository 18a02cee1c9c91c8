#pragma once

#include "frame/described.h"
#include "frame/history_ring.h"
#include "steps/set_step_ma.h"
#include "steps/set_step_values.h"
#include "steps/value_kinds.h"

namespace sarvane {

struct DeMRecord {
    BarPrices previous = NoPrices;  // of the last bar that was used
    HistoryRing closes;             // filled only in mode 2
    HistoryRing highs;              // results of the high step, filled only in the other modes
    HistoryRing lows;               // results of the low step, likewise
};

// DemOp( bar, highKind, highLag, lowKind, lowLag, smoothLength, mode) is the upward share of the recent movement:
//
//     up = how far the high lies above the high `highLag` bars back, 0 if it doesn't
//     down = how far the low lies below the low `lowLag` bars back, 0 if it doesn't
//     percent = 100 * (mean of up) / (mean of up + down)       over `smoothLength` bars
//
// The kinds choose other values of a bar in place of high and low. In mode 2 high and low are compared with the closes
// that many bars back and with the bar's own close. Without a smoothLength an input is declared in its place, but never
// read.
//
// Source: T. R. DeMark, The New Science of Technical Analysis (1994).
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
    auto Steps() { return std::tie(values, upAverage, totalAverage); }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP Reset(int count, const double* seed) override;
    STDMETHODIMP Calculate(int inputCount, const double* in, int outputCount, double* out) override;

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
    CSetStepValues<2> values;  // that stand for the high and the low of a bar
    CSetStepMA upAverage, totalAverage;
    StateStore<DeMRecord> states;
};

}  // namespace sarvane
