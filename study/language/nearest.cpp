#include "language/nearest.h"

#include "language/parser.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace sarvane::study {
namespace {

// Letters to insert, remove or change, and neighbours to swap, until `a` is `b`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    const auto same = [&](std::size_t i, std::size_t j) { return EqualIgnoringCase(a.substr(i, 1), b.substr(j, 1)); };
    std::vector<std::size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            row[j + 1] = std::min({last[j] + (same(i, j) ? 0 : 1), row[j] + 1, last[j + 1] + 1});
            const bool areSwapped = i > 0 && j > 0 && same(i, j - 1) && same(i - 1, j);
            if (areSwapped) row[j + 1] = std::min(row[j + 1], beforeLast[j - 1] + 1);
        }
    }
    return row.back();
}

}  // namespace

std::vector<std::string> NearestWords(std::string_view word, const std::vector<std::string>& known) {
    constexpr std::size_t LongestWord = 64;  // longer ones are no slips of the hand
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const std::string& candidate : known) {
        if (word.size() > LongestWord || candidate.size() > LongestWord) continue;
        const bool isCutShort = word.size() > 2 && EqualIgnoringCase(word, candidate.substr(0, word.size()));
        const std::size_t distance = isCutShort ? 1 : EditDistance(word, candidate);
        if (distance <= 1 + candidate.size() / 4) ranked.emplace_back(distance, candidate);
    }
    std::ranges::stable_sort(ranked, {}, [](const auto& entry) { return entry.first; });
    std::vector<std::string> nearest;
    for (auto& [distance, candidate] : ranked) {
        if (nearest.size() < 3 && std::ranges::find(nearest, candidate) == nearest.end()) nearest.push_back(candidate);
    }
    return nearest;
}

}  // namespace sarvane::study
