#pragma once

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <vector>

namespace sarvane::study {

// What a chart's page holds, exact and short: a description in JSON, and behind it the bytes of columns of numbers, which
// the description points to. decode.js reads it.
//
// Values that have no more than 10 decimals are written as whole numbers of the last decimal, each as its difference from
// the one before, in one or a few bytes. Of other columns all eight bytes of each value are written: the lowest bytes of
// all values, then their second bytes, and so on. A value that is not finite is a gap, too.
class PageData {
public:
    // Takes a column over, and gives what the description says of it.
    nlohmann::json Column(std::span<const double> values);
    // The same of dates as the chart shows them. Dates that differ in their digits alone are a column of these digits,
    // and others a list of texts.
    nlohmann::json Dates(const std::vector<std::string>& dates);

    // The description's length in four bytes (the lowest first), the description and the columns, deflated, in base64.
    std::string Text(const nlohmann::json& description) const;

private:
    std::string columns;
};

}  // namespace sarvane::study
