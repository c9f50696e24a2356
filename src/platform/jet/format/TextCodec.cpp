#include "platform/jet/format/TextCodec.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/text/CodePage1252.h"
#include "platform/text/Utf16.h"
#include "platform/text/Utf8.h"

namespace marrowkit::jet {
namespace {

constexpr std::uint8_t kMark[] = {0xFF, 0xFE};  ///< in front of a compressed text

constexpr std::uint64_t kHighBits = 0x8080808080808080;
constexpr std::uint64_t kOnes = 0x0101010101010101;

std::uint64_t EightBytes(const std::uint8_t* bytes) {
    std::uint64_t eight;
    std::memcpy(&eight, bytes, sizeof eight);
    return eight;
}

/// Whether all bytes are characters U+0001..U+007F. Taking one off leaves the high bit clear in just these.
bool IsPlain(const std::uint8_t* bytes, std::size_t count) {
    std::uint64_t seen = 0;
    if (count < 8) {
        for (std::size_t at = 0; at < count; ++at) seen |= bytes[at] | (bytes[at] - kOnes);
        return (seen & kHighBits) == 0;
    }
    for (std::size_t at = 0; at < count - 8; at += 8) {
        seen |= EightBytes(bytes + at) | (EightBytes(bytes + at) - kOnes);
    }
    const std::uint64_t last = EightBytes(bytes + count - 8);
    return ((seen | last | (last - kOnes)) & kHighBits) == 0;
}

/// Narrows UTF-16LE into `text` as long as it is ASCII; false when it is not.
bool NarrowAscii(std::span<const std::uint8_t> bytes, std::string& text) {
    const std::size_t count = bytes.size() / 2;
    unsigned beyond = 0;
    for (std::size_t at = 0; at < count; ++at) beyond |= (bytes[2 * at] & 0x80U) | bytes[2 * at + 1];
    if (beyond != 0) return false;
    text.resize(count);
    for (std::size_t at = 0; at < count; ++at) text[at] = static_cast<char>(bytes[2 * at]);
    return true;
}

std::string DecodeCompressed(std::span<const std::uint8_t> bytes) {
    std::u16string units;
    units.reserve(bytes.size());
    bool compressed = true;
    for (std::size_t at = 0; at < bytes.size();) {
        if (bytes[at] == 0) {
            compressed = !compressed;
            ++at;
        } else if (compressed) {
            units.push_back(bytes[at++]);
        } else {
            if (at + 2 > bytes.size()) break;  // half a character belongs to none
            units.push_back(static_cast<char16_t>(bytes[at] | bytes[at + 1] << 8U));
            at += 2;
        }
    }
    return Utf16ToUtf8(units);
}

bool IsPlainAscii(std::string_view utf8) {
    return IsPlain(reinterpret_cast<const std::uint8_t*>(utf8.data()), utf8.size());
}

std::vector<std::uint8_t> CompressAscii(std::string_view utf8) {
    std::vector<std::uint8_t> stored(utf8.size() + 2);
    std::memcpy(stored.data(), kMark, 2);
    std::memcpy(stored.data() + 2, utf8.data(), utf8.size());
    return stored;
}

bool IsCompressible(const std::u16string& units) {
    if (units.size() < 3) return false;
    for (const char16_t unit : units) {
        if (unit == 0 || unit > 0xFF) return false;
    }
    return true;
}

void AppendUnits(std::u16string_view units, std::vector<std::uint8_t>& stored) {
    const std::size_t old = stored.size();
    stored.resize(old + units.size() * 2);
    if (!units.empty()) std::memcpy(stored.data() + old, units.data(), units.size() * 2);
}

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";  ///< U+FEFF

/// Whether a compressed text can hold the units at two bytes each: one whose low byte is 00 ends that mode.
bool FitsBehindMark(std::u16string_view units) {
    return std::ranges::none_of(units, [](char16_t unit) { return (unit & 0xFF) == 0; });
}

/// A text that begins with U+FEFF would be taken for a compressed one: it is stored as one, switched to two
/// bytes a character at once. Where that mode cannot hold the rest, the invisible U+FEFF is given up for the
/// characters that show.
std::vector<std::uint8_t> EncodeBehindMark(std::u16string_view units) {
    std::vector<std::uint8_t> stored;
    if (FitsBehindMark(units)) {
        stored = {kMark[0], kMark[1], 0};
    } else {
        while (!units.empty() && units.front() == 0xFEFF) units.remove_prefix(1);
    }
    AppendUnits(units, stored);
    return stored;
}

}  // namespace

std::string DecodeText(JetVersion version, ByteView stored) {
    std::string text;
    DecodeText(version, stored, text);
    return text;
}

void DecodeText(JetVersion version, ByteView stored, std::string& text) {
    std::span<const std::uint8_t> bytes = stored.All();
    const bool jet4 = version == JetVersion::Jet4;
    const bool marked = bytes.size() >= 2 && bytes[0] == kMark[0] && bytes[1] == kMark[1];
    if (jet4 && !marked) {
        if (!NarrowAscii(bytes, text)) text = Utf16LeToUtf8(bytes);
        return;
    }
    if (jet4) bytes = bytes.subspan(2);
    if (IsPlain(bytes.data(), bytes.size())) {
        text.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    } else {
        text = jet4 ? DecodeCompressed(bytes) : Cp1252ToUtf8(bytes);
    }
}

std::vector<std::uint8_t> EncodeText(JetVersion version, std::string_view utf8, bool compress) {
    if (version == JetVersion::Jet3) {
        const std::string bytes = Utf8ToCp1252(utf8);
        return {bytes.begin(), bytes.end()};
    }
    if (compress && utf8.size() >= 3 && IsPlainAscii(utf8)) return CompressAscii(utf8);
    const std::u16string units = Utf8ToUtf16(utf8);
    std::vector<std::uint8_t> stored;
    if (compress && IsCompressible(units)) {
        stored.reserve(units.size() + 2);
        stored.assign(kMark, kMark + 2);
        for (const char16_t unit : units) stored.push_back(static_cast<std::uint8_t>(unit));
        return stored;
    }
    if (!units.empty() && units.front() == 0xFEFF) return EncodeBehindMark(units);
    AppendUnits(units, stored);
    return stored;
}

std::string_view StorableText(JetVersion version, std::string_view utf8) {
    if (version == JetVersion::Jet3 || !utf8.starts_with(kUtf8Mark)) return utf8;
    if (FitsBehindMark(Utf8ToUtf16(utf8))) return utf8;
    while (utf8.starts_with(kUtf8Mark)) utf8.remove_prefix(kUtf8Mark.size());
    return utf8;
}

std::size_t TextLength(JetVersion version, std::string_view utf8) {
    return version == JetVersion::Jet4 ? Utf16Length(utf8) : CharacterCount(utf8);
}

}  // namespace marrowkit::jet
