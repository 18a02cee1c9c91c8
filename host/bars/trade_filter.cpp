#include "bars/trade_filter.h"

#include "failure.h"

#include <charconv>
#include <utility>

namespace sarvane::study {

bool TradeFilter::IsNew(const BarRow& row) {
    const std::string& id = row.id;
    if (id.empty()) return true;
    std::uint64_t number = 0;
    const char* const end = id.data() + id.size();
    const auto [stop, error] = std::from_chars(id.data(), end, number);
    // A number has one form; those with zeros ahead are texts.
    const bool isNumber = error == std::errc() && stop == end && (id.size() == 1 || id.front() != '0');
    const bool isNew = isNumber ? !boost::icl::contains(numbers, number) : texts.insert(id).second;
    if (isNew && isNumber) numbers.insert(number);
    dropped += !isNew;
    return isNew;
}

std::string TradeFilter::Notice() {
    const std::size_t count = std::exchange(dropped, 0);
    if (count == 0) return {};
    return count == 1 ? "1 trade has the id of an earlier one and is left out"
                      : fmt::format("{} trades have the id of an earlier one and are left out", count);
}

}  // namespace sarvane::study
