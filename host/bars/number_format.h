#pragma once

#include <optional>
#include <string_view>

namespace sarvane::study {

// Which character begins the decimals of the numbers of a file. The other one of point and comma, an apostrophe or a blank
// may stand between groups of three digits ahead of it.
struct NumberFormat {
    char decimal = '.';
    bool isCertain = true;  // else a comma is only read where it can stand in one way
};

// A cell as a finite number: with a sign, an exponent, groups of digits, a sign of a currency on either side, or `%` behind it,
// which changes nothing: 2.5% is 2.5. Nothing for any other text.
std::optional<double> ReadNumber(std::string_view cell, NumberFormat format);

// A cell that stands for a missing number: an empty one, `nan`, `null`, `none`, `n/a`, `na`, `-` and the like.
bool IsGapText(std::string_view cell);

// What a cell tells of the decimals of a file.
enum class DecimalEvidence {
    None,           // it is no number, or has neither point nor comma
    Point,          // its point can't stand between groups of digits, or its comma can't begin decimals
    Comma,          // the other way round
    ProbablyPoint,  // 1.234
    Unclear,        // 1,234
};
DecimalEvidence EvidenceOf(std::string_view cell);

std::string_view WithoutBlanks(std::string_view text);

}  // namespace sarvane::study
