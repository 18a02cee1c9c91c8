#pragma once

// The numbers by which users of an operator choose one value of a bar, with their meanings. Operators that build the
// value with CSetStepValues take all of them; VolStop takes the first nine.

#include "frame/description.h"

namespace sarvane {

// A true high or low also counts the close before the bar. Kinds from 16 to 35 look at the last bars, and most from 20
// on have two values: one by default, and one for the lower level of TDREBO. Kind 15 does not exist.
inline constexpr WordDescription ValueKindWords[] = {
    {"0", "open"},
    {"1", "high"},
    {"2", "true high: the greater of high and close before"},
    {"3", "low"},
    {"4", "true low: the lesser of low and close before"},
    {"5", "close"},
    {"6", "middle: mean of high and low"},
    {"7", "typical price: mean of high, low and close"},
    {"8", "mean of open, high, low and close"},
    {"9", "range: high - low"},
    {"10", "true range: true high - true low"},
    {"11", "high / low"},
    {"12", "low / high"},
    {"13", "true high / true low"},
    {"14", "true low / true high"},
    {"16", "highest high"},
    {"17", "lowest low"},
    {"18", "lowest high"},
    {"19", "highest low"},
    {"20", "highest high; for a lower level, lowest low"},
    {"21", "lowest high; for a lower level, highest low"},
    {"22", "lowest low; for a lower level, highest high"},
    {"23", "highest low; for a lower level, lowest high"},
    {"24", "highest open"},
    {"25", "lowest close"},
    {"26", "lowest open"},
    {"27", "highest close"},
    {"28", "highest open; for a lower level, lowest close"},
    {"29", "lowest open; for a lower level, highest close"},
    {"30", "lowest close; for a lower level, highest open"},
    {"31", "highest close; for a lower level, lowest open"},
    {"32", "highest open; for a lower level, lowest open"},
    {"33", "lowest open; for a lower level, highest open"},
    {"34", "lowest close; for a lower level, highest close"},
    {"35", "highest close; for a lower level, lowest close"},
    {"36", "true middle: mean of true high and true low"},
    {"37", "true typical price: mean of true high, true low and close"},
    {"38", "mean of open, true high, true low and close"},
};
inline constexpr std::span<const WordDescription> PriceKindWords = std::span(ValueKindWords).first(9);

}  // namespace sarvane
