#include "platform/text/ByteOrderMark.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/text/Utf16.h"

namespace marrowkit {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";
constexpr std::string_view kUtf16BigMark = "\xFE\xFF";

std::vector<std::uint8_t> SwapPairs(std::string_view bytes) {
    std::vector<std::uint8_t> swapped;
    swapped.reserve(bytes.size());
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        swapped.push_back(static_cast<std::uint8_t>(bytes[i + 1]));
        swapped.push_back(static_cast<std::uint8_t>(bytes[i]));
    }
    return swapped;
}

std::string_view AsText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const std::uint8_t> AsBytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

FileEncoding FileEncodingOf(std::string_view bytes) {
    if (bytes.starts_with(kUtf8Mark)) return FileEncoding::Utf8;
    if (bytes.starts_with(kUtf16LittleMark)) return FileEncoding::Utf16LittleEndian;
    if (bytes.starts_with(kUtf16BigMark)) return FileEncoding::Utf16BigEndian;
    return FileEncoding::CodePage1252;
}

std::string DecodeMarked(std::string_view bytes, FileEncoding encoding) {
    switch (encoding) {
        case FileEncoding::Utf8:
            return std::string(bytes.substr(kUtf8Mark.size()));
        case FileEncoding::Utf16LittleEndian:
            return Utf16LeToUtf8(AsBytes(bytes.substr(kUtf16LittleMark.size())));
        case FileEncoding::Utf16BigEndian:
            return Utf16LeToUtf8(SwapPairs(bytes.substr(kUtf16BigMark.size())));
        case FileEncoding::CodePage1252:
            break;
    }
    return std::string(bytes);
}

std::string EncodeMarked(std::string_view text, FileEncoding encoding) {
    switch (encoding) {
        case FileEncoding::Utf8:
            return std::string(kUtf8Mark).append(text);
        case FileEncoding::Utf16LittleEndian:
            return std::string(kUtf16LittleMark).append(AsText(Utf8ToUtf16Le(text)));
        case FileEncoding::Utf16BigEndian:
            return std::string(kUtf16BigMark).append(AsText(SwapPairs(AsText(Utf8ToUtf16Le(text)))));
        case FileEncoding::CodePage1252:
            break;
    }
    return std::string(text);
}

}  // namespace marrowkit
