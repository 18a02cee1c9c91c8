#include "bars/column_names.h"

#include "bars/number_format.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace sarvane::study {
namespace {

// clang-format off
// Titles without letter case, brackets and points, by the name that they stand for. The first ones of a name win.
constexpr std::pair<std::string_view, std::string_view> Synonyms[] = {
    {"date", "date"}, {"datetime", "date"}, {"timestamp", "date"}, {"date/time", "date"}, {"date time", "date"},
    {"open_time", "date"}, {"open time", "date"}, {"opentime", "date"}, {"gmt time", "date"}, {"local time", "date"},
    {"time (utc)", "date"}, {"utc", "date"}, {"utc time", "date"}, {"window_start", "date"}, {"unix", "date"},
    {"unix timestamp", "date"}, {"unixtime", "date"}, {"epoch", "date"}, {"t", "date"}, {"ts", "date"},
    {"observation_date", "date"}, {"trade date", "date"}, {"trade_date", "date"}, {"tradedate", "date"},
    {"day", "date"}, {"dtyyyymmdd", "date"}, {"datum", "date"}, {"data", "date"}, {"fecha", "date"},
    {"date_time", "date"}, {"datetime (utc)", "date"},
    {"time", "time"}, {"zeit", "time"}, {"heure", "time"}, {"czas", "time"},
    {"open", "open"}, {"o", "open"}, {"open price", "open"}, {"openprice", "open"}, {"eröffnung", "open"},
    {"eroeffnung", "open"}, {"eröffn", "open"}, {"ouverture", "open"}, {"ouv", "open"}, {"otwarcie", "open"},
    {"apertura", "open"},
    {"high", "high"}, {"h", "high"}, {"high price", "high"}, {"highprice", "high"}, {"max", "high"}, {"hoch", "high"},
    {"tageshoch", "high"}, {"haut", "high"}, {"plus haut", "high"}, {"najwyzszy", "high"},
    {"low", "low"}, {"l", "low"}, {"low price", "low"}, {"lowprice", "low"}, {"min", "low"}, {"tief", "low"},
    {"tagestief", "low"}, {"bas", "low"}, {"plus bas", "low"}, {"najnizszy", "low"},
    {"close", "close"}, {"c", "close"}, {"close/last", "close"}, {"last", "close"}, {"close price", "close"},
    {"closeprice", "close"}, {"price", "close"}, {"settle", "close"}, {"schluss", "close"}, {"schlusskurs", "close"},
    {"schluß", "close"}, {"clôture", "close"}, {"cloture", "close"}, {"clot", "close"}, {"dernier", "close"},
    {"zamkniecie", "close"}, {"cierre", "close"}, {"zuletzt", "close"},
    {"volume", "volume"}, {"vol", "volume"}, {"v", "volume"}, {"volumen", "volume"}, {"stücke", "volume"},
    {"wolumen", "volume"}, {"shares", "volume"},
    {"tickvol", "tickvol"},
    {"adj close", "Adj Close"}, {"adjclose", "Adj Close"}, {"adj_close", "Adj Close"},
    {"adjusted close", "Adj Close"}, {"adjusted_close", "Adj Close"}, {"adj. close", "Adj Close"},
    {"adjusted close price", "Adj Close"},
    {"openint", "openint"}, {"open interest", "openint"}, {"openinterest", "openint"}, {"open_interest", "openint"},
};
// clang-format on

}  // namespace

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

std::string SimplifiedTitle(std::string_view title) {
    std::string text = LowerCase(WithoutBlanks(title));
    if (text.starts_with('<') && text.ends_with('>')) text = text.substr(1, text.size() - 2);
    if (text.size() > 3 && text[0] >= '0' && text[0] <= '9' && text.substr(1, 2) == ". ") text.erase(0, 3);
    while (text.ends_with('.')) text.pop_back();
    // Some pages explain a title in further lines of its cell.
    const std::size_t lineEnd = text.find_first_of("\r\n");
    return std::string(WithoutBlanks(std::string_view(text).substr(0, lineEnd)));
}

std::string_view StandardName(std::string_view title) {
    const std::string simple = SimplifiedTitle(title);
    for (const auto& [synonym, name] : Synonyms) {
        if (simple == synonym) return name;
    }
    return {};
}

std::size_t RankOfTitle(std::string_view title) {
    const std::string simple = SimplifiedTitle(title);
    std::size_t rank = 0;
    while (rank < std::size(Synonyms) && Synonyms[rank].first != simple) ++rank;
    return rank;
}

bool IsPrice(std::string_view title) {
    const std::string_view name = StandardName(title);
    return name == "open" || name == "high" || name == "low" || name == "close";
}

std::vector<bool> WithColumns(std::span<const std::string_view> standardNames, const std::vector<std::string>& titles,
                              const std::vector<bool>& hasNumbers, std::vector<bool> wanted) {
    for (std::size_t i = 0; i < titles.size(); ++i) {
        const bool isNamed = std::ranges::find(standardNames, StandardName(titles[i])) != standardNames.end();
        if (isNamed && (hasNumbers[i] || IsPrice(titles[i]))) wanted[i] = true;
    }
    return wanted;
}

}  // namespace sarvane::study
