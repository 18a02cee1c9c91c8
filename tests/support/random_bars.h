#pragma once

#include "support/operator_driver.h"

#include <random>

namespace sarvane::test {

// Input values of a made-up series: prices that wander, now and then a gap, and rarely a zero, a NaN, an infinity, or
// something huge or tiny.
class RandomBars {
public:
    explicit RandomBars(unsigned seed) : random(seed) {}

    std::vector<double> Next(int inputs) {
        price *= 1.0 + 0.02 * (Unit() - 0.5);
        std::vector<double> bar(static_cast<std::size_t>(inputs));
        for (double& value : bar) value = Value();
        return bar;
    }
    double Unit() { return std::uniform_real_distribution<double>()(random); }
    int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }

private:
    double Value() {
        constexpr double Nan = std::numeric_limits<double>::quiet_NaN(), Most = std::numeric_limits<double>::infinity();
        constexpr double Odd[] = {0.0, -0.0, 1e300, -1e300, 1e-310, 1e-101, Nan, Most, 2147483647.0, -1.0, 3.0, 0.5};
        const int kind = Below(100);
        if (kind < 6) return UndefinedValue;
        if (kind == 6) return Odd[Below(12)];
        if (kind < 20) return Below(12);  // a length, a key, a flag
        return price + Unit();
    }

    std::mt19937 random;
    double price = 100.0;
};

// Texts for arguments 1 to 15: any, or only such as are good for most.
inline std::string RandomArguments(RandomBars& random) {
    constexpr const char* Texts[] = {"1",  "2",           "3",  "4",   "2",   "1",   "5",   "7", "8",
                                     "10", "12",          "50", "2.0", "0.5", "1.5", "-",   "0", "-1",
                                     "-3", "-2147483648", "x",  "nan", "1e9", "SMO", "EXP", "6"};
    const int choice = random.Below(2) ? 6 : static_cast<int>(std::size(Texts));
    std::string words;
    for (int i = 0; i < 15; ++i) words.append(Texts[random.Below(choice)]).append(" ");
    return words;
}

}  // namespace sarvane::test
