#include "steps/set_step_values.h"

#include "frame/numbers.h"

#include <functional>

namespace sarvane {
namespace {

double Open(const BarPrices& bar) { return bar[OpenPrice]; }
double High(const BarPrices& bar) { return bar[HighPrice]; }
double Low(const BarPrices& bar) { return bar[LowPrice]; }
double Close(const BarPrices& bar) { return bar[ClosePrice]; }
double Middle(const BarPrices& bar) { return (bar[LowPrice] + bar[HighPrice]) * 0.5; }
double Typical(const BarPrices& bar) { return (bar[LowPrice] + bar[HighPrice] + bar[ClosePrice]) / 3.0; }
double Mean(const BarPrices& bar) { return (bar[HighPrice] + bar[OpenPrice] + bar[LowPrice] + bar[ClosePrice]) * 0.25; }
double Range(const BarPrices& bar) { return bar[HighPrice] - bar[LowPrice]; }
double HighByLow(const BarPrices& bar) { return bar[HighPrice] / bar[LowPrice]; }
double LowByHigh(const BarPrices& bar) { return bar[LowPrice] / bar[HighPrice]; }
double Nothing(const BarPrices&) { return UndefinedValue; }

// Such as the highest close of the window.
struct WindowExtreme {
    BarPrice price;
    ExtremeSide side;
};
constexpr WindowExtreme LowestOpen{OpenPrice, Lowest}, HighestOpen{OpenPrice, Highest};
constexpr WindowExtreme LowestHigh{HighPrice, Lowest}, HighestHigh{HighPrice, Highest};
constexpr WindowExtreme LowestLow{LowPrice, Lowest}, HighestLow{LowPrice, Highest};
constexpr WindowExtreme LowestClose{ClosePrice, Lowest}, HighestClose{ClosePrice, Highest};

// A kind is a formula of the bar's prices or, without a formula, a choice of two extremes of the window.
struct ValueKind {
    double (*formula)(const BarPrices&) = nullptr;
    bool ofTrueBar = false;           // the formula takes the true high and low, which also count the close before
    WindowExtreme first{}, second{};  // for a direction other than 0, and for 0
};
using Formula = decltype(ValueKind::formula);

constexpr ValueKind Plain(Formula formula) { return {formula}; }
constexpr ValueKind True(Formula formula) { return {formula, true}; }
constexpr ValueKind Either(WindowExtreme first, WindowExtreme second) { return {nullptr, false, first, second}; }
constexpr ValueKind Always(WindowExtreme extreme) { return Either(extreme, extreme); }

constexpr ValueKind Kinds[] = {
    Plain(Open),                        // 0
    Plain(High),                        // 1
    True(High),                         // 2
    Plain(Low),                         // 3
    True(Low),                          // 4
    Plain(Close),                       // 5
    Plain(Middle),                      // 6
    Plain(Typical),                     // 7
    Plain(Mean),                        // 8
    Plain(Range),                       // 9
    True(Range),                        // 10
    Plain(HighByLow),                   // 11
    Plain(LowByHigh),                   // 12
    True(HighByLow),                    // 13
    True(LowByHigh),                    // 14
    Plain(Nothing),                     // 15
    Always(HighestHigh),                // 16
    Always(LowestLow),                  // 17
    Always(LowestHigh),                 // 18
    Always(HighestLow),                 // 19
    Either(HighestHigh, LowestLow),     // 20
    Either(LowestHigh, HighestLow),     // 21
    Either(LowestLow, HighestHigh),     // 22
    Either(HighestLow, LowestHigh),     // 23
    Always(HighestOpen),                // 24
    Always(LowestClose),                // 25
    Always(LowestOpen),                 // 26
    Always(HighestClose),               // 27
    Either(HighestOpen, LowestClose),   // 28
    Either(LowestOpen, HighestClose),   // 29
    Either(LowestClose, HighestOpen),   // 30
    Either(HighestClose, LowestOpen),   // 31
    Either(HighestOpen, LowestOpen),    // 32
    Either(LowestOpen, HighestOpen),    // 33
    Either(LowestClose, HighestClose),  // 34
    Either(HighestClose, LowestClose),  // 35
    True(Middle),                       // 36
    True(Typical),                      // 37
    True(Mean),                         // 38
};
constexpr int KindCount = std::size(Kinds);

// The price `back` bars before the newest bar, UndefinedValue if there is none.
double PriceAt(const StepBars& bars, BarPrice price, int back) {
    return back < bars.Size() ? bars.Newest(back)[price] : UndefinedValue;
}

template <class Beyond>
double SearchedExtreme(const StepBars& bars, BarPrice price, int period, Beyond isBeyond) {
    double extreme = bars.Newest(period - 1)[price];
    bars.OldestFirst(
        period, [&](const BarPrices& bar) { extreme = isBeyond(bar[price], extreme) ? bar[price] : extreme; },
        bars.Size() - period);
    return extreme;
}

// The extreme of the last `period` prices, or of all while there are fewer: the highest if `isBeyond` means above, the
// lowest if it means below. `before` is the extreme one bar ago. The window is searched only if the price that has just
// left it may have been that extreme.
template <class Beyond>
double UpdatedExtreme(const StepBars& bars, BarPrice price, int period, double before, Beyond isBeyond) {
    const double newest = bars.Newest()[price];
    if (period < 2) return newest;
    const double extreme = IsUndefined(before) || isBeyond(newest, before) ? newest : before;
    const double left = PriceAt(bars, price, period);
    if (IsUndefined(left)) return extreme;
    const bool search = left == extreme || isBeyond(left, extreme);
    return search ? SearchedExtreme(bars, price, period, isBeyond) : extreme;
}

// The window of a value on one bar. Each extreme is worked out at most once.
class ValueWindow {
public:
    ValueWindow(const StepBars& stepBars, int stepPeriod, StepExtremes& stepExtremes)
        : bars(stepBars), period(stepPeriod), extremes(stepExtremes) {}

    double Extreme(WindowExtreme wanted) {
        const auto [price, side] = wanted;
        double& extreme = extremes[side][price];
        if (!isCurrent[side][price]) {
            extreme = side == Highest ? UpdatedExtreme(bars, price, period, extreme, std::greater<>())
                                      : UpdatedExtreme(bars, price, period, extreme, std::less<>());
            isCurrent[side][price] = true;
        }
        return extreme;
    }
    // Merges the last `period` bars into one, or as many as there are. Its open is that of the oldest bar, once there
    // are `period` bars, and that of the newest until then.
    BarPrices Merged(const BarPrices& bar) {
        const double open = PriceAt(bars, OpenPrice, period - 1);
        return {IsUndefined(open) ? bar[OpenPrice] : open, Extreme(HighestHigh), Extreme(LowestLow), bar[ClosePrice]};
    }

private:
    const StepBars& bars;
    int period;
    StepExtremes& extremes;
    std::array<std::array<bool, 4>, 2> isCurrent{};  // by side and price: `extremes` is up to date for this bar
};

}  // namespace

void StepValue::Configure(int newKind, int newDirection, int period) {
    kind = newKind;
    direction = newDirection;
    const bool isSimple = period == 1 && kind >= 0 && kind < KindCount && !Kinds[kind].ofTrueBar;
    simple = isSimple ? Kinds[kind].formula : nullptr;
}

double StepValue::OfWindow(const BarPrices& bar, const StepBars& bars, int period, StepExtremes& extremes) const {
    ValueWindow window(bars, period, extremes);
    // Kept up to date for any kind, since the kind can change between two bars.
    BarPrices merged = period > 1 ? window.Merged(bar) : bar;
    if (kind < 0 || kind >= KindCount) return UndefinedValue;
    const ValueKind& wanted = Kinds[kind];
    if (!wanted.formula) return window.Extreme(direction != 0 ? wanted.first : wanted.second);
    if (wanted.ofTrueBar) {
        const double priorClose = PriceAt(bars, ClosePrice, period);
        const double close = IsUndefined(priorClose) ? bar[ClosePrice] : priorClose;
        merged[HighPrice] = Greater(merged[HighPrice], close);
        merged[LowPrice] = Lesser(merged[LowPrice], close);
    }
    return wanted.formula(merged);
}

}  // namespace sarvane
