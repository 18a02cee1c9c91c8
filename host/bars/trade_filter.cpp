#include "bars/trade_filter.h"

#include "failure.h"
#include "frames/frame_bar.h"
#include "language/parser.h"

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

void RefuseTrades(const BarHeader& header, const FrameSettings& to) {
    if (header.isTrades && !to.frame)
        Fail("{}: these are trades; --to 1min makes bars of them, and --to 1ticks a bar of each", header.name);
}

WantedColumns WantedWith(const FrameSettings& to, WantedColumns wanted) {
    if (!to.frame || !wanted) return wanted;
    return [names = ColumnsOf(to.frame->Kind()), fills = to.fills,
            wanted = std::move(wanted)](const std::vector<std::string>& titles, const std::vector<bool>& hasNumbers) {
        std::vector<bool> all = wanted(titles, hasNumbers);
        for (std::size_t i = 0; i < titles.size(); ++i) {
            for (const std::string_view name : names) all[i] = all[i] || EqualIgnoringCase(titles[i], name);
            if (fills && EqualIgnoringCase(titles[i], "close")) all[i] = true;
        }
        return all;
    };
}

}  // namespace sarvane::study
