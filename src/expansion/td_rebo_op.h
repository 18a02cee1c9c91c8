#pragma once

#include "expansion/set_step_value.h"
#include "frame/history_ring.h"
#include "frame/inner_steps.h"

namespace sarvane {

// The values of a bar that both levels are made of: the ends of two ranges, and what the ranges are added to.
enum ReboValue : std::size_t { UpHigh, UpLow, DownHigh, DownLow, UpBase, DownBase, ReboValueCount };

struct TDReboRecord {
    int lastBar = 0;                // index of the run's last bar
    BarPrices previous = NoPrices;  // of the last bar that was used
    std::array<HistoryRing, ReboValueCount> rings;
};

// TDRebo( bar, showHistory, ratio, baseKind, rangeLength, rangeMethod, upHighKind, upHighLag, upLowKind, upLowLag,
// downHighKind, downHighLag, downLowKind, downLowLag, baseLag, basePeriod) projects an upper level, a base plus `ratio`
// times an earlier range, and a lower level, a base minus `ratio` times another one. A range runs over `rangeLength`
// bars, the newest of them its lag ago. Without `showHistory` the levels stand only on the bar that lies the shortest
// lag before the run's last one, and on the next.
class CTDReboOp : public CDefZelmorOp2 {
public:
    STDMETHODIMP GetFormula(TextSlot* formula, TextSlot*) override;
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) override;
    STDMETHODIMP GetInputCount(ushort* count, TextSlot*) override { return Answer(count, 4); }
    STDMETHODIMP GetInputCurve(short input, ushort* argument, TextSlot*) override {
        return Answer(argument, ArgumentBehindBar(input));
    }
    STDMETHODIMP GetInputBarType(short input, TextSlot* barType, TextSlot*) override {
        return TextOut(barType, OpenHighLowClose(input));
    }
    STDMETHODIMP GetOutputCount(ushort* count, TextSlot*) override { return Answer(count, 2); }
    STDMETHODIMP GetOutputName(short output, TextSlot* name, TextSlot*) override {
        return TextOut(name, NthText(output, {u"high"}, u"low"));
    }
    STDMETHODIMP GetOutputUnits(short, ushort* kind, ushort* second, ushort* third, TextSlot*) override {
        return AnswerUnits(kind, second, third, UnitKind::Curve);
    }
    STDMETHODIMP GetOutputRange(int, int, uint* first, uint* last) override {
        return AnswerRange(first, last, static_cast<uint>(ShortestLag()));
    }
    STDMETHODIMP GetParameterCount(ushort* count, TextSlot*) override { return Answer(count, 15); }
    STDMETHODIMP GetParameterText(short parameter, TextSlot* text, TextSlot*) override;
    STDMETHODIMP GetLookback(uint* bars, TextSlot*) override {
        return Answer(bars, std::max({2, LongestLookback(steps), rangeLength, std::ranges::max(lags)}) + 2LL);
    }
    STDMETHODIMP SaveState(short slot) override { return SaveAll(slot, states, steps); }
    STDMETHODIMP RestoreState(short slot) override { return RestoreAll(slot, states, steps); }
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* first) override;
    STDMETHODIMP CalculateBar(int bar, int inCount, const double* in, int outCount, double* out) override;
    STDMETHODIMP GetBarStyle(uint* style) override { return Answer(style, 2); }

private:
    struct Levels {
        double upper = UndefinedValue;
        double lower = UndefinedValue;
    };

    int ShortestLag() const { return std::ranges::min(lags); }
    long long KeptOf(std::size_t value) const;
    Levels TakeIn(TDReboRecord& live, const BarPrices& prices);
    bool IsReady(const TDReboRecord& live) const;
    Levels LevelsOf(const TDReboRecord& live) const;
    bool Shows(int bar, int lastBar) const;

    int depth = DefaultHistoryDepth;
    int showHistory = 0;
    double ratio = 0.618;
    int rangeLength = 1;
    int rangeMethod = 1;
    int basePeriod = 1;
    // By ReboValue; both bases have the same parameters.
    std::array<int, ReboValueCount> kinds = {HighValue, LowValue, HighValue, LowValue, CloseValue, CloseValue};
    std::array<int, ReboValueCount> lags = {1, 1, 1, 1, 1, 1};
    std::array<CSetStepValue, ReboValueCount> steps;
    StateStore<TDReboRecord> states;
};

}  // namespace sarvane
