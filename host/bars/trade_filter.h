#pragma once

#include "bars/row_reader.h"

#include <boost/icl/interval_set.hpp>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

namespace sarvane::study {

// Drops trades whose id has come before.
class TradeFilter {
public:
    // Whether no row before had the row's id. Rows without an id are always new.
    bool IsNew(const BarRow& row);
    // What the user should know of the trades since the last call; empty if all were new.
    std::string Notice();

private:
    boost::icl::interval_set<std::uint64_t> numbers;  // ids, which mostly follow each other
    std::unordered_set<std::string> texts;            // other ids
    std::size_t dropped = 0;
};

}  // namespace sarvane::study
