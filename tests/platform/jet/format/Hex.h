#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace marrowkit::test {

/// "78 51 01" as bytes; blanks are optional.
inline std::vector<std::uint8_t> FromHex(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (c != ' ') digits.push_back(c);
    }
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at + 2 <= digits.size(); at += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

/// "78 51 01".
inline std::string ToHex(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) text.push_back(' ');
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 15]);
    }
    return text;
}

}  // namespace marrowkit::test
