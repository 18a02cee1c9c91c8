#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Paths and their texts: UTF-8 on every system.
namespace sarvane::study {

inline std::filesystem::path PathOf(std::string_view text) { return std::u8string(text.begin(), text.end()); }

inline std::string TextOf(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace sarvane::study
