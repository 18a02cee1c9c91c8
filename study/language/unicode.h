#pragma once

#include <boost/locale/encoding_utf.hpp>
#include <string>
#include <string_view>

namespace sarvane::study {

// Texts are UTF-8 here and UTF-16 for operators. Bytes that are no text of their kind are dropped.
inline std::u16string Utf16(std::string_view utf8) {
    return boost::locale::conv::utf_to_utf<char16_t>(utf8.data(), utf8.data() + utf8.size());
}
inline std::string Utf8(std::u16string_view utf16) {
    return boost::locale::conv::utf_to_utf<char>(utf16.data(), utf16.data() + utf16.size());
}

}  // namespace sarvane::study
