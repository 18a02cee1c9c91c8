#include "frame/chart_label.h"

#include <algorithm>
#include <string_view>

namespace sarvane {
namespace {

// The first LabelCharacters characters, the first one in the lowest byte.
std::uint64_t Characters(std::string_view text) {
    std::uint64_t bytes = 0;
    const int length = static_cast<int>(std::min<std::size_t>(text.size(), LabelCharacters));
    for (int i = length - 1; i >= 0; --i)
        bytes = bytes << 8 | static_cast<unsigned char>(text[static_cast<std::size_t>(i)]);
    return bytes;
}

}  // namespace

// A std::string keeps texts as short as these without allocating.
double EncodeLabel(const ChartLabel& label) {
    std::uint32_t place =
        static_cast<std::uint32_t>(label.placement) << 4 | (static_cast<std::uint32_t>(label.curve) + 1);
    std::uint64_t payload = 0;
    if (label.number && label.prefix) {
        place |= LabelPrefixMark;
        payload = Characters(*label.prefix + std::to_string(*label.number));
    } else if (label.number) {
        place |= LabelNumberMark;
        payload = static_cast<std::uint32_t>(*label.number);
    } else if (label.text) {
        payload = Characters(*label.text);
    } else {
        return 0.0;
    }
    return std::bit_cast<double>(payload << 8 | (place & 0xFF));
}

}  // namespace sarvane
