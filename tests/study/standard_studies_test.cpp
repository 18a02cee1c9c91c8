// Each standard study against a calculation of its own: plain loops over arrays, written from the published definition,
// that share nothing with the library. NaN stands for a missing value here.

#include "bars/bar_file.h"
#include "language/documentation.h"
#include "language/parser.h"
#include "study.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace sarvane::study {
namespace {

using Series = std::vector<double>;
using Columns = std::vector<Series>;  // one for each output

constexpr double None = std::numeric_limits<double>::quiet_NaN();
Series O, H, L, C, V;  // the shipped data
std::size_t N = 0;

template <class Rule>
Series Each(Rule rule) {
    Series out(N);
    for (std::size_t i = 0; i < N; ++i) out[i] = rule(i);
    return out;
}
double Back(const Series& x, std::size_t i, std::size_t bars = 1) { return i >= bars ? x[i - bars] : None; }
Series Shifted(const Series& x, std::size_t bars = 1) {
    return Each([&](std::size_t i) { return Back(x, i, bars); });
}

Series operator+(const Series& a, const Series& b) {
    return Each([&](std::size_t i) { return a[i] + b[i]; });
}
Series operator-(const Series& a, const Series& b) {
    return Each([&](std::size_t i) { return a[i] - b[i]; });
}
Series operator*(const Series& a, const Series& b) {
    return Each([&](std::size_t i) { return a[i] * b[i]; });
}
Series operator/(const Series& a, const Series& b) {
    return Each([&](std::size_t i) { return a[i] / b[i]; });
}
Series operator*(double a, const Series& b) {
    return Each([&](std::size_t i) { return a * b[i]; });
}

// A rule over each window of n values; no value while the window is not full of values.
template <class Rule>
Series Over(const Series& x, std::size_t n, Rule rule) {
    return Each([&](std::size_t i) {
        if (i + 1 < n) return None;
        for (std::size_t k = 0; k < n; ++k) {
            if (std::isnan(x[i - k])) return None;
        }
        return rule(&x[i + 1 - n], n);
    });
}
double SumOf(const double* x, std::size_t n) {
    long double sum = 0;
    for (std::size_t k = 0; k < n; ++k) sum += x[k];
    return static_cast<double>(sum);
}
Series Sum(const Series& x, std::size_t n) { return Over(x, n, SumOf); }
Series Mean(const Series& x, std::size_t n) { return 1.0 / static_cast<double>(n) * Sum(x, n); }
Series Top(const Series& x, std::size_t n) {
    return Over(x, n, [](const double* w, std::size_t k) { return *std::max_element(w, w + k); });
}
Series Bottom(const Series& x, std::size_t n) {
    return Over(x, n, [](const double* w, std::size_t k) { return *std::min_element(w, w + k); });
}
Series Weighted(const Series& x, std::size_t n) {
    return Over(x, n, [](const double* w, std::size_t k) {
        double sum = 0, weights = 0;
        for (std::size_t i = 0; i < k; ++i) {
            sum += static_cast<double>(i + 1) * w[i];
            weights += static_cast<double>(i + 1);
        }
        return sum / weights;
    });
}
Series Deviation(const Series& x, std::size_t n, std::size_t less = 0) {
    return Over(x, n, [&](const double* w, std::size_t k) {
        const double mean = SumOf(w, k) / static_cast<double>(k);
        double squares = 0;
        for (std::size_t i = 0; i < k; ++i) squares += (w[i] - mean) * (w[i] - mean);
        return std::sqrt(squares / static_cast<double>(k - less));
    });
}
// a of the newest value and 1 - a of what there was.
Series Smoothed(const Series& x, double a) {
    double average = None;
    return Each([&](std::size_t i) {
        if (!std::isnan(x[i])) average = std::isnan(average) ? x[i] : a * x[i] + (1 - a) * average;
        return average;
    });
}
Series Ema(const Series& x, int n) { return Smoothed(x, 2.0 / (n + 1)); }
Series Wilder(const Series& x, std::size_t n) {
    double average = None;
    const Series first = Mean(x, n);
    const double size = static_cast<double>(n);
    return Each(
        [&](std::size_t i) { return average = std::isnan(average) ? first[i] : (average * (size - 1) + x[i]) / size; });
}

Series Change(const Series& x) { return x - Shifted(x); }
Series Rises(const Series& x) {
    return Each([&](std::size_t i) { return std::isnan(x[i]) ? None : x[i] > 0 ? x[i] : 0; });
}
Series Size(const Series& x) {
    return Each([&](std::size_t i) { return std::abs(x[i]); });
}
Series Root(const Series& x) {
    return Each([&](std::size_t i) { return std::sqrt(x[i]); });
}
Series Log(const Series& x) {
    return Each([&](std::size_t i) { return std::log(x[i]); });
}
Series Rate(const Series& x, std::size_t n) { return 100.0 * ((x - Shifted(x, n)) / Shifted(x, n)); }
Series Typical() { return 1.0 / 3 * (H + L + C); }
Series Middle() { return 0.5 * (H + L); }
Series MiddleOf(std::size_t n) { return 0.5 * (Top(H, n) + Bottom(L, n)); }
Series Place(const Series& x, std::size_t n) { return (x - Bottom(x, n)) / (Top(x, n) - Bottom(x, n)); }
// The first bar has a true range only if `first` says so.
Series TrueRange(bool first) {
    return Each([&](std::size_t i) {
        if (i == 0) return first ? H[0] - L[0] : None;
        return std::max({H[i] - L[i], std::abs(H[i] - C[i - 1]), std::abs(L[i] - C[i - 1])});
    });
}
Series Strength(const Series& x, std::size_t n) {
    const Series up = Wilder(Rises(Change(x)), n), down = Wilder(Rises(-1.0 * Change(x)), n);
    return Each([&](std::size_t i) { return 100 - 100 / (1 + up[i] / down[i]); });
}
Series Running(const Series& x, std::size_t from) {
    long double sum = 0;
    return Each([&](std::size_t i) { return i < from ? None : static_cast<double>(sum += x[i]); });
}
Series MoneyFlow() {
    return Each([&](std::size_t i) { return V[i] * ((C[i] - L[i]) - (H[i] - C[i])) / (H[i] - L[i]); });
}
Series VolumeIndex(double sign) {
    double index = 1000;
    return Each([&](std::size_t i) {
        if (i == 0) return None;
        if (sign * (V[i] - V[i - 1]) > 0) index *= C[i] / C[i - 1];
        return index;
    });
}
// Bars since the extreme of the last n + 1 bars, the oldest of equal ones.
Series Since(const Series& x, std::size_t n) {
    return Over(x, n + 1, [](const double* w, std::size_t k) {
        return static_cast<double>(w + k - 1 - std::max_element(w, w + k));
    });
}
Series Correlated(const Series& x, const Series& y, std::size_t n) {
    return Each([&](std::size_t i) {
        if (i + 1 < n || std::isnan(x[i + 1 - n]) || std::isnan(y[i + 1 - n])) return None;
        const double size = static_cast<double>(n), mx = SumOf(&x[i + 1 - n], n) / size,
                     my = SumOf(&y[i + 1 - n], n) / size;
        double xy = 0, xx = 0, yy = 0;
        for (std::size_t k = i + 1 - n; k <= i; ++k) {
            xy += (x[k] - mx) * (y[k] - my);
            xx += (x[k] - mx) * (x[k] - mx);
            yy += (y[k] - my) * (y[k] - my);
        }
        return xy / std::sqrt(xx * yy);
    });
}
Series T3Of(const Series& x, int n, double v) {
    const auto generalized = [&](const Series& y) { return (1 + v) * Ema(y, n) - v * Ema(Ema(y, n), n); };
    return generalized(generalized(generalized(x)));
}

Columns Lines(const Series& x, std::size_t n) {
    Series ends(N, None), slopes(N, None);
    for (std::size_t i = n - 1; i < N; ++i) {
        const double size = static_cast<double>(n), center = (size - 1) / 2, mean = SumOf(&x[i + 1 - n], n) / size;
        double rise = 0, run = 0;
        for (std::size_t k = 0; k < n; ++k) {
            const double t = static_cast<double>(k) - center;
            rise += t * (x[i + 1 - n + k] - mean);
            run += t * t;
        }
        slopes[i] = rise / run;
        ends[i] = mean + slopes[i] * center;
    }
    return {ends, slopes};
}

Series Adaptive(const Series& x, std::size_t n) {
    double average = None;
    return Each([&](std::size_t i) {
        if (i < n) return None;
        double way = 0;
        for (std::size_t k = i + 1 - n; k <= i; ++k) way += std::abs(x[k] - x[k - 1]);
        const double factor = std::abs(x[i] - x[i - n]) / way * (2.0 / 3 - 2.0 / 31) + 2.0 / 31;
        return average = std::isnan(average) ? x[i] : average + factor * factor * (x[i] - average);
    });
}

Columns Directional(std::size_t n) {
    Series up(N, None), down(N, None);
    for (std::size_t i = 1; i < N; ++i) {
        const double rise = H[i] - H[i - 1], fall = L[i - 1] - L[i];
        up[i] = rise > fall && rise > 0 ? rise : 0;
        down[i] = fall > rise && fall > 0 ? fall : 0;
    }
    const Series range = Wilder(TrueRange(false), n), plus = 100.0 * (Wilder(up, n) / range),
                 minus = 100.0 * (Wilder(down, n) / range), index = 100.0 * (Size(plus - minus) / (plus + minus));
    return {Wilder(index, n), plus, minus, index};
}

Columns TrailingStop(std::size_t n, double k) {
    const Series range = Wilder(TrueRange(true), n);
    Series line(N, None), side(N, None);
    double upper = None, lower = None, trend = 1;
    for (std::size_t i = n - 1; i < N; ++i) {
        const double above = (H[i] + L[i]) / 2 + k * range[i], below = (H[i] + L[i]) / 2 - k * range[i];
        if (std::isnan(upper) || above < upper || C[i - 1] > upper) upper = above;
        if (std::isnan(lower) || below > lower || C[i - 1] < lower) lower = below;
        if (trend > 0 && C[i] < lower) {
            trend = -1;
        } else if (trend < 0 && C[i] > upper) {
            trend = 1;
        }
        line[i] = trend > 0 ? lower : upper;
        side[i] = trend;
    }
    return {line, side};
}

Columns Averaged() {
    Series open(N), high(N), low(N), close(N);
    for (std::size_t i = 0; i < N; ++i) {
        close[i] = (O[i] + H[i] + L[i] + C[i]) / 4;
        open[i] = i == 0 ? (O[0] + C[0]) / 2 : (open[i - 1] + close[i - 1]) / 2;
        high[i] = std::max({H[i], open[i], close[i]});
        low[i] = std::min({L[i], open[i], close[i]});
    }
    return {open, high, low, close};
}

Columns Fisher(std::size_t n) {
    const Series place = Place(Middle(), n);
    Series out(N, None);
    double position = 0, last = 0;
    for (std::size_t i = n - 1; i < N; ++i) {
        position = std::clamp(0.33 * 2 * (place[i] - 0.5) + 0.67 * position, -0.999, 0.999);
        out[i] = last = 0.5 * std::log((1 + position) / (1 - position)) + 0.5 * last;
    }
    return {out, Shifted(out)};
}

struct Check {
    const char* use;
    Columns (*rendition)();
    double tolerance = 1e-11;  // relative, or absolute below 1: what different orders of operations leave
};

const Check Checks[] = {
    {"SMA(Close)", [] { return Columns{Mean(C, 20)}; }},
    {"EMA(Close)", [] { return Columns{Ema(C, 20)}; }},
    {"WMA(Close)", [] { return Columns{Weighted(C, 20)}; }},
    {"RMA(Close)", [] { return Columns{Wilder(C, 14)}; }},
    {"DEMA(Close)", [] { return Columns{2.0 * Ema(C, 20) - Ema(Ema(C, 20), 20)}; }},
    {"TEMA(Close)",
     [] {
         const Series one = Ema(C, 20), two = Ema(one, 20);
         return Columns{3.0 * one - 3.0 * two + Ema(two, 20)};
     }},
    {"HMA(Close, 21)", [] { return Columns{Weighted(2.0 * Weighted(C, 10) - Weighted(C, 21), 4)}; }},
    {"KAMA(Close)", [] { return Columns{Adaptive(C, 10)}; }},
    {"T3(Close)", [] { return Columns{T3Of(C, 5, 0.7)}; }},
    {"TMA(Close, 9)", [] { return Columns{Mean(Mean(C, 5), 5)}; }},
    {"VWMA(Open)", [] { return Columns{Sum(O * V, 20) / Sum(V, 20)}; }},
    {"LinearRegression(Close)", [] { return Lines(C, 14); }, 1e-10},  // the slope is a small difference
    {"TypicalPrice", [] { return Columns{Typical()}; }},
    {"MedianPrice", [] { return Columns{Middle()}; }},
    {"WeightedClose", [] { return Columns{0.25 * (H + L + 2.0 * C)}; }},
    {"HeikinAshi", Averaged},
    {"Highest(Close)", [] { return Columns{Top(C, 20)}; }},
    {"Lowest(Close)", [] { return Columns{Bottom(C, 20)}; }},
    {"RSI(Close)", [] { return Columns{Strength(C, 14)}; }},
    {"Stochastic",
     [] {
         const Series raw = 100.0 * ((C - Bottom(L, 14)) / (Top(H, 14) - Bottom(L, 14)));
         return Columns{Mean(raw, 3), Mean(Mean(raw, 3), 3)};
     }},
    {"StochRSI(Close)",
     [] {
         const Series k = Mean(100.0 * Place(Strength(C, 14), 14), 3);
         return Columns{k, Mean(k, 3)};
     }},
    {"WilliamsR", [] { return Columns{-100.0 * ((Top(H, 14) - C) / (Top(H, 14) - Bottom(L, 14)))}; }},
    {"CCI",
     [] {
         const auto size = [](const double* w, std::size_t n) {
             const double mean = SumOf(w, n) / static_cast<double>(n);
             double sum = 0;
             for (std::size_t k = 0; k < n; ++k) sum += std::abs(w[k] - mean);
             return sum / static_cast<double>(n);
         };
         return Columns{(Typical() - Mean(Typical(), 20)) / (0.015 * Over(Typical(), 20, size))};
     },
     1e-9},  // a small difference of the average, whose sum runs on from bar to bar, in parts of a small deviation
    {"ROC(Close)", [] { return Columns{Rate(C, 12)}; }},
    {"Momentum(Close)", [] { return Columns{C - Shifted(C, 10)}; }},
    {"MACD(Close)",
     [] {
         const Series macd = Ema(C, 12) - Ema(C, 26), signal = Ema(macd, 9);
         return Columns{macd, signal, macd - signal};
     }},
    {"PPO(Close)",
     [] {
         const Series ppo = 100.0 * ((Ema(C, 12) - Ema(C, 26)) / Ema(C, 26)), signal = Ema(ppo, 9);
         return Columns{ppo, signal, ppo - signal};
     }},
    {"TSI(Close)", [] { return Columns{100.0 * (Ema(Ema(Change(C), 25), 13) / Ema(Ema(Size(Change(C)), 25), 13))}; }},
    {"SMI",
     [] {
         const Series half = 0.5 * (Top(H, 13) - Bottom(L, 13));
         return Columns{100.0 * (Ema(Ema(C - MiddleOf(13), 25), 2) / Ema(Ema(half, 25), 2))};
     }},
    {"UltimateOscillator",
     [] {
         const Series pressure = Each([](std::size_t i) { return i ? C[i] - std::min(L[i], C[i - 1]) : None; });
         const auto share = [&](std::size_t n) { return Sum(pressure, n) / Sum(TrueRange(false), n); };
         return Columns{100.0 / 7 * (4.0 * share(7) + 2.0 * share(14) + share(28))};
     }},
    {"AwesomeOscillator", [] { return Columns{Mean(Middle(), 5) - Mean(Middle(), 34)}; }},
    {"DPO(Close)", [] { return Columns{Shifted(C, 11) - Mean(C, 20)}; }},
    {"CMO(Close)",
     [] {
         const Series up = Sum(Rises(Change(C)), 14), down = Sum(Rises(-1.0 * Change(C)), 14);
         return Columns{100.0 * ((up - down) / (up + down))};
     }},
    {"Coppock(Close)", [] { return Columns{Weighted(Rate(C, 14) + Rate(C, 11), 10)}; }},
    {"KST(Close)",
     [] {
         const Series kst = Mean(Rate(C, 10), 10) + 2.0 * Mean(Rate(C, 15), 10) + 3.0 * Mean(Rate(C, 20), 10) +
                            4.0 * Mean(Rate(C, 30), 15);
         return Columns{kst, Mean(kst, 9)};
     }},
    {"FisherTransform", [] { return Fisher(10); }},
    {"ElderRay",
     [] {
         return Columns{H - Ema(C, 13), L - Ema(C, 13)};
     }},
    {"QStick", [] { return Columns{Mean(C - O, 8)}; }},
    {"BalanceOfPower", [] { return Columns{Mean((C - O) / (H - L), 14)}; }},
    {"ADX", [] { return Directional(14); }},
    {"Aroon",
     [] {
         const Series up = Each([since = Since(H, 25)](std::size_t i) { return 4 * (25 - since[i]); }),
                      down = Each([since = Since(-1.0 * L, 25)](std::size_t i) { return 4 * (25 - since[i]); });
         return Columns{up, down, up - down};
     }},
    {"Supertrend", [] { return TrailingStop(10, 3); }},
    {"Ichimoku",
     [] {
         return Columns{MiddleOf(9), MiddleOf(26), Shifted(0.5 * (MiddleOf(9) + MiddleOf(26)), 26),
                        Shifted(MiddleOf(52), 26), C};
     }},
    {"Vortex",
     [] {
         const Series range = Sum(TrueRange(false), 14);
         return Columns{Sum(Size(H - Shifted(L)), 14) / range, Sum(Size(L - Shifted(H)), 14) / range};
     }},
    {"TR", [] { return Columns{TrueRange(true)}; }},
    {"ATR", [] { return Columns{Wilder(TrueRange(true), 14)}; }},
    {"StdDev(Close, sample = 1)", [] { return Columns{Deviation(C, 20, 1)}; }},
    {"Bollinger(Close)",
     [] {
         const Series middle = Mean(C, 20), upper = middle + 2.0 * Deviation(C, 20),
                      lower = middle - 2.0 * Deviation(C, 20);
         return Columns{middle, upper, lower, (upper - lower) / middle, (C - lower) / (upper - lower)};
     }},
    {"Keltner",
     [] {
         const Series distance = 2.0 * Wilder(TrueRange(true), 10);
         return Columns{Ema(C, 20), Ema(C, 20) + distance, Ema(C, 20) - distance};
     }},
    {"Donchian",
     [] {
         return Columns{MiddleOf(20), Top(H, 20), Bottom(L, 20)};
     }},
    {"ZScore(Close)", [] { return Columns{(C - Mean(C, 20)) / Deviation(C, 20)}; }},
    {"Choppiness",
     [] { return Columns{100.0 / std::log(14) * Log(Sum(TrueRange(true), 14) / (Top(H, 14) - Bottom(L, 14)))}; }},
    {"MassIndex", [] { return Columns{Sum(Ema(H - L, 9) / Ema(Ema(H - L, 9), 9), 25)}; }},
    {"HistoricalVolatility(Close)",
     [] { return Columns{100 * std::sqrt(252.0) * Deviation(Log(C / Shifted(C)), 20, 1)}; }},
    {"UlcerIndex(Close)",
     [] {
         const Series fall = 100.0 * ((C - Top(C, 14)) / Top(C, 14));
         return Columns{Root(Mean(fall * fall, 14))};
     }},
    {"ChandelierExit",
     [] {
         const Series distance = 3.0 * Wilder(TrueRange(true), 22);
         return Columns{Top(H, 22) - distance, Bottom(L, 22) + distance};
     }},
    {"OBV",
     [] {
         return Columns{Running(
             Each([](std::size_t i) { return i == 0 || C[i] == C[i - 1] ? 0
                                             : C[i] > C[i - 1]          ? V[i]
                                                                        : -V[i]; }), 1)};
     }},
    {"MoneyFlow", [] { return Columns{MoneyFlow()}; }},
    {"AccumulationDistribution", [] { return Columns{Running(MoneyFlow(), 0)}; }},
    {"ChaikinMoneyFlow", [] { return Columns{Sum(MoneyFlow(), 20) / Sum(V, 20)}; }},
    {"ChaikinOscillator",
     [] {
         const Series line = Running(MoneyFlow(), 0);
         return Columns{Ema(line, 3) - Ema(line, 10)};
     },
     1e-8},  // a small difference of two averages near 1e11, each rounded to 15 digits
    {"MFI",
     [] {
         const Series change = Change(Typical()), flow = Typical() * V;
         const auto side = [&](double sign) {
             return Sum(Each([&](std::size_t i) { return i == 0 ? None : sign * change[i] > 0 ? flow[i] : 0; }), 14);
         };
         return Columns{100.0 * (side(1) / (side(1) + side(-1)))};
     }},
    {"VWAP", [] { return Columns{Sum(Typical() * V, 20) / Sum(V, 20)}; }},
    {"ForceIndex", [] { return Columns{Ema(Change(C) * V, 13)}; }},
    {"EaseOfMovement", [] { return Columns{Mean(1e8 * (Change(Middle()) * (H - L) / V), 14)}; }},
    {"NVI", [] { return Columns{VolumeIndex(-1)}; }},
    {"PVI", [] { return Columns{VolumeIndex(1)}; }},
    {"Correlation(Close, Volume)", [] { return Columns{Correlated(C, V, 20)}; }, 1e-9},  // of running sums
    {"Beta(Close, Open)",
     [] {
         const Series x = Rate(C, 1), y = Rate(O, 1);
         return Columns{Correlated(x, y, 60) * (Deviation(x, 60) / Deviation(y, 60))};
     }},
};

class StandardStudies : public testing::Test {
protected:
    StandardStudies() {
        const std::pair<const char*, Series*> prices[] = {
            {"open", &O}, {"high", &H}, {"low", &L}, {"close", &C}, {"volume", &V}};
        N = bars.BarCount();
        for (const auto& [name, column] : prices) {
            const auto index = std::ranges::find(bars.Columns(), name) - bars.Columns().begin();
            *column = Each([&](std::size_t bar) { return bars.Value(static_cast<std::size_t>(index), bar); });
        }
    }

    void Compare(const Check& check) const {
        Study study(library, bars);
        study.Add(check.use, true);
        study.Reset();
        const Columns expected = check.rendition();
        ASSERT_EQ(study.Results().size(), expected.size()) << check.use;
        for (std::size_t bar = 0; bar < N; ++bar) {
            study.Step(bar);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                const double value = *study.Results()[i].value, other = expected[i][bar];
                const double tolerance = check.tolerance * std::max(1.0, std::abs(other));
                ASSERT_TRUE(std::isnan(other) ? IsUndefined(value) : std::abs(value - other) <= tolerance)
                    << study.Results()[i].title << " on bar " << bar << ": " << value << ", not " << other;
            }
        }
    }

    const BarFile bars{BAR_FILE};
    const Library library;
    const std::vector<std::shared_ptr<const Definition>> all = library.Studies()->Studies().All();
};

TEST_F(StandardStudies, AreWhatTheirDefinitionsSay) {
    for (const auto& definition : all) {
        const std::string& name = definition->statement.name;
        const auto check = std::ranges::find_if(Checks, [&](const Check& row) {
            const std::string_view use = row.use;
            return use.substr(0, use.find('(')) == name;
        });
        if (check == std::end(Checks)) {
            ADD_FAILURE() << name << " has no calculation to be checked against";
        } else {
            Compare(*check);
        }
    }
    EXPECT_GE(all.size(), 60u);
}

TEST_F(StandardStudies, AreDocumented) {
    for (const auto& definition : all) {
        const Documentation about = DocumentationOf(definition->statement, definition->source->text);
        bool isComplete = about.sentence.ends_with('.') && !about.group.empty() && !about.source.empty();
        for (const auto& argument : about.arguments) isComplete &= !argument.meaning.empty();
        for (const auto& output : about.outputs) isComplete &= !output.meaning.empty();
        EXPECT_TRUE(isComplete) << definition->statement.name;
    }
}

}  // namespace
}  // namespace sarvane::study
