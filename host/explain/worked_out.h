#pragma once

#include "language/syntax.h"

#include <cstddef>
#include <map>
#include <span>
#include <string>

namespace sarvane::study {

// The values that an expression's names stand for, bar by bar. Names are in small letters.
using NamedValues = std::map<std::string, std::span<const double>>;

struct WorkedOut {
    std::string text;          // the expression with numbers in the place of names; an expression itself
    std::size_t firstBar = 0;  // that it looks at
};

// Puts the values of bar `bar` in the place of the names of an expression; of sums, those of each of their bars. With
// `isShort` numbers have few digits and long sums only their ends, for people.
WorkedOut WorkOut(const Expression& expression, const NamedValues& values, std::size_t bar, bool isShort);

}  // namespace sarvane::study
