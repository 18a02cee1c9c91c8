#pragma once

#include "frame/bar_inputs.h"
#include "frame/described.h"
#include "frame/history_ring.h"
#include "steps/value_kinds.h"

namespace sarvane {

// One of the two stops. A stop that is off starts over on the next bar.
struct Stop {
    bool on = false;
    double extreme = UndefinedValue;   // highest (long stop) or lowest (short stop) price since the stop is on
    double level = UndefinedValue;     // where the stop lies on this bar
    double tightest = UndefinedValue;  // highest (long stop) or lowest (short stop) level since the stop is on
};

struct VolStopRecord {
    BarPrices previous = NoPrices;        // last bar that was used
    double closeBefore = UndefinedValue;  // close of the last bar whose range was averaged
    double sum = 0.0;                 // of the last ranges, for the simple average and the start of the smoothed one
    double average = UndefinedValue;  // running value of the smoothed and the exponential average
    HistoryRing ranges{30};           // of the last bars, oldest first
    HistoryRing volatilities{30};     // averaged and multiplied ranges that wait for the lag to pass
    HistoryRing prices{30};           // prices to hang the stops from that wait for the lag to pass
    Stop longStop;
    Stop shortStop;
    bool longActive = true;  // whether the long stop or the short one is the active stop
    bool started = false;    // the first bar has come and has set which stops are on
};

// VolStop( bar, multiplier, period, signal, useTrueRange, noRatchet, fromExtreme, average, testClose, lag, priceKind [,
// roundToStep, touchCounts]) hangs a long stop below a price and a short stop above it:
//
//     volatility = multiplier * (average range of the last `period` bars)
//     long stop = price - volatility
//     short stop = price + volatility
//
// Both price and volatility are those of `lag` bars before. A bar that breaks one stop switches it off and the other
// one on; a bar with a signal switches both on. A stop that was switched on is hung anew.
//
// Source: the volatility system of J. W. Wilder, New Concepts in Technical Trading Systems (1978), of which this is a
// general form.
class CVolStopOp : public Described<CVolStopOp, CDefZelmorOp2> {
    friend Described;
    static constexpr WordDescription Averages[] = {
        {"Sim", "simple average"}, {"Smo", "smoothed average"}, {"Exp", "exponential average"}};
    static constexpr Description About = {
        .sentence = "a stop below and a stop above price, at a multiple of the average range, that take turns",
        .arguments = {Takes::Bar("bar", "prices", OhlcFields),
                      Takes::Number("multiplier", "distance of a stop from price, in average ranges").Default("1"),
                      Takes::Count("period", "bars that the range is averaged over").From(1).Default("3"),
                      Takes::Curve("signal", "switches both stops on where it is neither 0 nor missing"),
                      Takes::Switch("useTrueRange", "ranges reach to the close before").Default("0"),
                      Takes::Switch("noRatchet",
                                    "stops may loosen again, as they also do if this is left out; 0: they only tighten")
                          .Optional(),
                      Takes::Switch("fromExtreme",
                                    "stops hang from the extreme price since they are on instead of the present one")
                          .Default("0"),
                      Takes::Word("average", "how ranges are averaged", Averages).Default("Sim"),
                      Takes::Switch("testClose", "only the close can break a stop").Default("0"),
                      Takes::Count("lag", "bars by which price and average range are delayed").From(0).Default("1"),
                      Takes::Word("priceKind", "price that the stops hang from", PriceKindWords).Default("5"),
                      Takes::Switch("roundToStep", "stops are rounded away from price, to the price step").Default("0"),
                      Takes::Switch("touchCounts", "a price that equals a stop breaks it").Default("1")},
        .outputs = {{u"curve1", UnitKind::Curve, "short stop, above price", DrawnAs::Step},
                    {u"curve2", UnitKind::Curve, "long stop, below price", DrawnAs::Step},
                    {u"curve3", UnitKind::Curve,
                     "active stop: the long one until it is broken, then the short one, and so on", DrawnAs::Step}},
    };
    FormattedText Formula() const {
        return FormatText("VolStop( %%s, %20.10f, %d, %%s, %d, %d, %d, %s, %d, %d, %d)", multiplier, period,
                          useTrueRange, noRatchet, fromExtreme, AverageName(), testClose, lag, priceKind);
    }
    static int ArgumentOf(short input) { return input < 4 ? 0 : 3; }
    FormattedText Parameter(short n) const {
        return Nth(n, FormatText("%20.10f", multiplier), period, useTrueRange, noRatchet, fromExtreme, AverageName(),
                   testClose, lag, priceKind, roundToStep, touchCounts);
    }
    static std::u16string_view OutputName(short n) { return OutputNameOr(n, u"curve4"); }
    int Lookback() const { return depth; }

public:
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetOutputRange(int, int, uint* first, uint* last) override {
        return AnswerRange(first, last, lag != 0);
    }
    STDMETHODIMP SaveState(short slot) override { return states.SaveExactly(slot); }
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* seed) override;
    STDMETHODIMP CalculateBar(int bar, int inputCount, const double* in, int outputCount, double* out) override;
    STDMETHODIMP SetPriceStep(int count, const double* values) override;

private:
    enum AverageKind { Simple, Smoothed, Exponential };  // in the order of `Averages`

    const char* AverageName() const { return Averages[averageKind].text; }
    bool CanFormStops() const;
    void StepStops(VolStopRecord& live, const BarPrices& bar, bool signal, double* out) const;
    double Volatility(VolStopRecord& live, const BarPrices& bar) const;
    void AddToSimple(VolStopRecord& live, double range) const;
    void AddToSmoothed(VolStopRecord& live, double range) const;
    void AddToExponential(VolStopRecord& live, double range) const;
    void Emit(VolStopRecord& live, double volatility) const;
    double ChosenPrice(const BarPrices& bar, double closeBefore) const;
    double PopDelayed(HistoryRing& ring) const;
    template <class Side>
    void Hang(Stop& stop, double price, double volatility) const;
    double LevelInUse(const Stop& stop) const { return ratchet ? stop.tightest : stop.level; }
    bool Breaks(double upper, double lower) const;

    int depth = DefaultHistoryDepth;
    double multiplier = 1.0;
    int period = 3;
    int useTrueRange = 0;
    int noRatchet = 0;
    bool ratchet = false;  // stops only tighten: true once a host hands over a noRatchet of 0, not by its default
    int fromExtreme = 0;
    AverageKind averageKind = Simple;
    int testClose = 0;
    int lag = 1;
    int priceKind = 5;
    bool roundToStep = false;
    bool touchCounts = true;
    double priceStep = 1.0;
    StateStore<VolStopRecord> states;
};

}  // namespace sarvane
