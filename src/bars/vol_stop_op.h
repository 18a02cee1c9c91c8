#pragma once

#include "frame/bar_inputs.h"
#include "frame/history_ring.h"
#include "frame/state_store.h"

namespace sarvane {

// Of the long stop all extremes are the highest, of the short stop the lowest.
struct Stop {
    bool on = false;                   // set by the first bar
    double extreme = UndefinedValue;   // of the lagged price since the stop is on
    double level = UndefinedValue;     // of this bar
    double tightest = UndefinedValue;  // extreme of `level` since the stop is on
};

struct VolStopRecord {
    BarPrices previous = NoPrices;        // last bar that was used
    double closeBefore = UndefinedValue;  // close of the last bar that was averaged
    double sum = 0.0;                     // of the ranges that the next average starts from
    double average = UndefinedValue;      // running value of the smoothed and the exponential average
    HistoryRing ranges;                   // of bars, as far as averages need them
    HistoryRing volatilities;             // averaged and multiplied ranges, kept for the lag
    HistoryRing prices;                   // prices that the stops hang from, kept for the lag
    Stop longStop;
    Stop shortStop;
    bool longActive = true;  // else the short stop is the active one
    bool started = false;    // the first bar has been seen
};

// VolStop( bar, multiplier, period, signal, useTrueRange, noRatchet, fromExtreme, average, testClose, lag, priceKind [,
// roundToStep, touchCounts]) hangs a long stop below a price and a short stop above it, `multiplier` times the average
// range away. A bar that breaks one stop switches to the other, and a bar with a signal switches both on.
class CVolStopOp : public CDefZelmorOp2 {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override;
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 5); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, input < 4 ? 0 : 3);
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, OpenHighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 3); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"curve1", u"curve2", u"curve3"}, u"curve4"));
    }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetOutputRange(int, int, uint* first, uint* last) override {
        return AnswerRange(first, last, lag != 0);
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 11); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot* error) override;
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override { return Answer(bars, depth); }
    STDMETHODIMP SaveState(short slot) override { return states.SaveExactly(slot); }
    STDMETHODIMP RestoreState(short slot) override { return states.Restore(slot); }
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* first) override;
    STDMETHODIMP CalculateBar(int bar, int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP SetPriceStep(int count, const double* values) override;

private:
    enum AverageKind { Simple, Smoothed, Exponential };

    bool CanFormStops() const;
    void StepStops(VolStopRecord& live, const BarPrices& bar, bool signal, double* out) const;
    double Volatility(VolStopRecord& live, const BarPrices& bar) const;
    void AddToSimple(VolStopRecord& live, double range) const;
    void AddToSmoothed(VolStopRecord& live, double range) const;
    void AddToExponential(VolStopRecord& live, double range) const;
    void Emit(VolStopRecord& live, double volatility) const;
    double ChosenPrice(const BarPrices& bar, double closeBefore) const;
    double TakeLagged(HistoryRing& ring) const;
    void HangStops(VolStopRecord& live, double price, double volatility) const;
    bool Reaches(double upper, double lower) const;

    int depth = DefaultHistoryDepth;
    double multiplier = 1.0;
    int period = 3;
    int useTrueRange = 0;
    int noRatchet = 0;
    bool ratchet = false;  // stops only tighten; not before `noRatchet` is handed over as 0
    int fromExtreme = 0;
    AverageKind averageKind = Simple;
    int testClose = 0;
    int lag = 1;  // bars by which volatility and price are delayed
    int priceKind = 5;
    bool roundToStep = false;
    bool touchCounts = true;
    double priceStep = 1.0;
    StateStore<VolStopRecord> states;
};

}  // namespace sarvane
