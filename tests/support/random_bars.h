#pragma once

#include "frame/description.h"
#include "sarvane/values.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace sarvane::test {

// Input values of a made-up series: prices that wander, now and then a gap, and rarely a zero, a NaN, an infinity, or
// something huge or tiny. With every third seed most values are 0 or 1, for operators that take flags.
class RandomBars {
public:
    explicit RandomBars(unsigned seed) : random(seed), mostlyFlags(seed % 3 == 2) {}

    std::vector<double> Next(int inputs) {
        price *= 1.0 + 0.02 * (Unit() - 0.5);
        std::vector<double> bar(static_cast<std::size_t>(inputs));
        for (double& value : bar) value = Value();
        return bar;
    }
    double Unit() { return std::uniform_real_distribution<double>()(random); }
    int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }
    template <class List>
    auto Any(const List& list) {
        return std::data(list)[Below(static_cast<int>(std::size(list)))];
    }

private:
    double Value() {
        constexpr double Nan = std::numeric_limits<double>::quiet_NaN(), Most = std::numeric_limits<double>::infinity();
        constexpr double Odd[] = {0.0, -0.0, 1e300, -1e300, 1e-310, 1e-101, Nan, Most, 2147483647.0, -1.0, 3.0, 0.5};
        const int kind = Below(100);
        if (kind < 6) return UndefinedValue;
        if (kind == 6) return Any(Odd);
        if (mostlyFlags && kind < 60) return Below(4) == 0;
        if (kind < 20) return Below(12);  // a length or a key
        return price + Unit();
    }

    std::mt19937 random;
    bool mostlyFlags;
    double price = 100.0;
};

// A text for an argument that is in its range: a small number most of the time, a word, or a switch.
inline std::string GoodText(RandomBars& random, const ArgumentDescription& argument) {
    constexpr const char* Numbers[] = {"0.05", "0.5", "0.9", "1", "1.5", "2", "2.25", "3", "10", "30", "80", "0", "-1"};
    constexpr const char* Counts[] = {"1", "2", "2", "3", "3", "4", "5", "6", "7", "8", "12", "30", "0", "-2"};
    if (argument.kind == ArgumentKind::Switch) return random.Below(2) ? "1" : "0";
    if (argument.kind == ArgumentKind::Word) return random.Any(argument.words).text;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string text = argument.kind == ArgumentKind::Count ? random.Any(Counts) : random.Any(Numbers);
        double number = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), number);
        if (number >= argument.least && number <= argument.greatest) return text;
    }
    return "-";
}

// A text that is no number, or is one out of range or hardly in it.
inline std::string OddText(RandomBars& random, const ArgumentDescription& argument) {
    constexpr const char* Texts[] = {"x", "nan", "1e9", "-2147483648", "2147483648", "-1", "0", "2.5", "-3", "99"};
    const double beyond = random.Below(2) ? argument.least - 1.0 : argument.greatest + 1.0;
    return beyond > -1e6 && beyond < 1e6 ? std::to_string(beyond) : random.Any(Texts);
}

// Texts for the arguments of a class from 1 on, as OperatorDriver::SetArguments takes them. In half of the lists all
// are good; in the others each may be an odd one. What can be left out is left out now and then.
inline std::string RandomArguments(RandomBars& random, const Description& about) {
    const bool mayBeOdd = random.Below(2) != 0;
    std::string words;
    for (const ArgumentDescription& argument : about.arguments) {
        if (&argument == about.arguments.begin()) continue;
        const bool canBeMissing = argument.isOptional || argument.canBeBound || mayBeOdd;
        const bool isMissing = argument.IsInput() || (canBeMissing && random.Below(5) == 0);
        const bool isOdd = mayBeOdd && random.Below(6) == 0;
        words += isMissing ? "-" : isOdd ? OddText(random, argument) : GoodText(random, argument);
        words += " ";
    }
    return words;
}

}  // namespace sarvane::test
