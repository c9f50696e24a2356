#include "platform/jet/format/Collation.h"

#include <algorithm>
#include <array>

#include "platform/text/CodePage1252.h"
#include "platform/text/Utf16.h"
#include "platform/text/Utf8.h"

// Jet 4 builds a key of up to four sections from the weights of a text's UTF-16 units:
//   1  primary weights (letters without case and accents, digits, symbols)
//   2  secondary weights (accents), 02 where there is none, trailing ones cut off
//   3  kinds of kana
//   4  positions and codes of hyphens, apostrophes and control characters, which have no weight of their own
// Jet 3 has primary weights followed by a string of nibbles that only counts letters which may bear accents.

namespace marrowkit::jet {
namespace {

#include "platform/jet/format/CollationTables.inc"

constexpr std::size_t kIndexedChars = 255;  ///< of a text, what takes part in an index

enum class Kind : std::uint8_t { Ignored, Normal, Accented, Kana2, Kana3, Minor, Combining, Expansion };

struct Weight {
    Kind kind;
    std::uint8_t secondary;  ///< secondary weight; the code of a Minor, the modifier of a Combining
    std::uint16_t primary;   ///< one or two bytes; of an Expansion, its place in kExpansion
};

Weight WeightOf(char16_t unit) {
    const unsigned page = unit >> 8U;
    const unsigned place = unit & 0xFFU;
    const std::uint16_t kind = kKind[unsigned{kKindPage[page]} << 8U | place];
    return {static_cast<Kind>(kind >> 8U), static_cast<std::uint8_t>(kind),
            kPrimary[unsigned{kPrimaryPage[page]} << 8U | place]};
}

using Bytes = std::vector<std::uint8_t>;

void AppendPrimary(std::uint16_t primary, Bytes& key) {
    if (primary > 0xFF) key.push_back(static_cast<std::uint8_t>(primary >> 8U));
    key.push_back(static_cast<std::uint8_t>(primary));
}

/// Section 2. Nearly all texts have nothing but 02 in it, which is only counted.
class SecondaryWeights {
public:
    void Append(std::uint8_t weight) {
        if (weight != kNone && bytes_.empty()) bytes_.assign(plain_, kNone);
        if (weight != kNone || !bytes_.empty()) {
            bytes_.push_back(weight);
        } else {
            ++plain_;
        }
    }
    /// A combining mark adds to the character before it; without one it stands for itself.
    void Combine(std::uint8_t modifier) {
        if (Size() == 0) {
            bytes_.push_back(modifier);
            startsWithMark_ = true;
            return;
        }
        if (bytes_.empty()) bytes_.assign(plain_, kNone);
        bytes_.back() = static_cast<std::uint8_t>(bytes_.back() + modifier);
    }
    /// Where a minor character stands: the number of weights before it, in steps of 4 from 7.
    std::uint16_t Position() const {
        const std::size_t before = Size() - (startsWithMark_ ? 1 : 0);
        return static_cast<std::uint16_t>(0x8000U | (7 + 4 * before));
    }
    void Trim() {
        while (!bytes_.empty() && bytes_.back() <= kNone) bytes_.pop_back();
    }
    const Bytes& Get() const { return bytes_; }

private:
    static constexpr std::uint8_t kNone = 2;
    std::size_t Size() const { return bytes_.empty() ? plain_ : bytes_.size(); }

    std::size_t plain_ = 0;
    Bytes bytes_;
    bool startsWithMark_ = false;
};

void AppendKanaSection(Bytes kinds, Bytes& key) {
    while (!kinds.empty() && kinds.back() == 3) kinds.pop_back();
    for (std::size_t at = 0; at < kinds.size(); at += 3) {
        const auto kind = [&](std::size_t i) { return at + i < kinds.size() ? kinds[at + i] : 0U; };
        key.push_back(static_cast<std::uint8_t>(0x80U | kind(0) << 4U | kind(1) << 2U | kind(2)));
    }
    key.insert(key.end(), {0xFF, 0x02, 0x80, 0xFF, 0x80});
}

void AppendExpansion(std::uint16_t place, SecondaryWeights& secondary, Bytes& key) {
    const std::uint8_t* at = kExpansion + place;
    const std::uint8_t weights = *at++;
    key.insert(key.end(), at, at + weights);
    at += weights;
    const std::uint8_t extras = *at++;
    for (std::uint8_t i = 0; i < extras; ++i) secondary.Append(at[i]);
}

void AppendMinor(std::uint16_t position, std::uint8_t code, Bytes& minors) {
    minors.push_back(static_cast<std::uint8_t>(position >> 8U));
    minors.push_back(static_cast<std::uint8_t>(position));
    minors.push_back(0x06);
    minors.push_back(code);
}

void AppendJet4Key(std::u16string_view units, Bytes& key) {
    while (!units.empty() && units.back() == u' ') units.remove_suffix(1);
    key.reserve(key.size() + units.size() + 8);
    SecondaryWeights secondary;
    Bytes kana;
    Bytes minors;
    for (const char16_t unit : units) {
        const Weight weight = WeightOf(unit);
        switch (weight.kind) {
            case Kind::Ignored:
                break;
            case Kind::Kana2:
            case Kind::Kana3:
                kana.push_back(weight.kind == Kind::Kana2 ? 2 : 3);
                [[fallthrough]];
            case Kind::Normal:
            case Kind::Accented:
                AppendPrimary(weight.primary, key);
                secondary.Append(weight.secondary);
                break;
            case Kind::Expansion:
                AppendExpansion(weight.primary, secondary, key);
                break;
            case Kind::Combining:
                secondary.Combine(weight.secondary);
                break;
            case Kind::Minor:
                AppendMinor(secondary.Position(), weight.secondary, minors);
                break;
        }
    }
    key.push_back(0x01);
    secondary.Trim();
    key.insert(key.end(), secondary.Get().begin(), secondary.Get().end());
    if (!kana.empty() || !minors.empty()) {
        key.insert(key.end(), {0x01, 0x01});
        if (!kana.empty()) {
            AppendKanaSection(std::move(kana), key);
            if (!minors.empty()) key.push_back(0xFF);
        }
        if (!minors.empty()) {
            key.push_back(0x01);
            key.insert(key.end(), minors.begin(), minors.end());
        }
    }
    key.push_back(0x00);
}

/// What an ASCII character adds to a key's first section: up to two bytes. One word a character, so that
/// taking it is one look-up: first byte, second byte, their number, and whether it takes part in other
/// sections.
using AsciiKeys = std::array<std::uint32_t, 128>;
constexpr std::uint32_t kOtherSections = 0xFF000000;

constexpr AsciiKeys MakeAsciiKeys() {
    static_assert(kPrimaryPage[0] == 0);
    static_assert(kKindPage[0] == 0);
    constexpr std::uint8_t kNoAccent = 2;
    AsciiKeys keys{};
    for (std::size_t c = 0; c < keys.size(); ++c) {
        const auto kind = static_cast<Kind>(kKind[c] >> 8U);
        if (kind == Kind::Ignored) continue;
        const std::uint32_t primary = kPrimary[c];
        keys[c] =
            primary > 0xFF ? (primary >> 8U | (primary & 0xFFU) << 8U | 2U << 16U) : primary | 1U << 16U;
        if (kind != Kind::Normal || (kKind[c] & 0xFFU) != kNoAccent) keys[c] |= kOtherSections;
    }
    return keys;
}

constexpr AsciiKeys kAsciiKeys = MakeAsciiKeys();

/// The key of an ASCII text that has a first section only; false, and nothing appended, for others.
bool AppendPlainJet4Key(std::string_view text, Bytes& key) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    const std::size_t start = key.size();
    key.resize(start + 2 * text.size() + 2);
    std::uint8_t* out = key.data() + start;
    std::uint32_t seen = 0;
    for (const char c : text) {
        const std::uint32_t bytes = kAsciiKeys[static_cast<std::uint8_t>(c)];
        seen |= bytes;
        out[0] = static_cast<std::uint8_t>(bytes);
        out[1] = static_cast<std::uint8_t>(bytes >> 8U);
        out += bytes >> 16U & 0xFFU;
    }
    *out++ = 0x01;
    *out++ = 0x00;
    const bool plain = (seen & kOtherSections) == 0;
    key.resize(plain ? static_cast<std::size_t>(out - key.data()) : start);
    return plain;
}

/// Jet 3 knows no ASCII character of two weights, and none that its second part counts.
constexpr bool kJet3AsciiIsPlain = [] {
    for (std::size_t c = 0; c < 128; ++c) {
        if (kJet3Primary[c] > 0xFF || kJet3Nibble[c] != 0) return false;
    }
    return true;
}();
static_assert(kJet3AsciiIsPlain);

void AppendAsciiJet3Key(std::string_view text, Bytes& key) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    const std::size_t start = key.size();
    key.resize(start + text.size() + 1);
    std::uint8_t* out = key.data() + start;
    for (const char c : text) *out++ = static_cast<std::uint8_t>(kJet3Primary[static_cast<std::uint8_t>(c)]);
    *out = 0x00;
}

void AppendNibbles(const Bytes& nibbles, Bytes& key) {
    std::uint8_t half = 0;
    bool low = true;  // the string begins with a nibble 0
    const auto put = [&](std::uint8_t nibble) {
        if (low) {
            key.push_back(static_cast<std::uint8_t>(half << 4U | nibble));
        } else {
            half = nibble;
        }
        low = !low;
    };
    for (const std::uint8_t nibble : nibbles) put(nibble);
    put(0);
    if (low) put(0);
}

void AppendJet3Key(std::string_view text, Bytes& key) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    Bytes nibbles;
    std::size_t pending = 0;
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        AppendPrimary(kJet3Primary[byte], key);
        pending += kJet3Placeholders[byte];
        if (kJet3Nibble[byte] == 0) continue;
        nibbles.insert(nibbles.end(), pending, 2);
        nibbles.push_back(kJet3Nibble[byte]);
        pending = 0;
    }
    if (nibbles.empty()) {
        key.push_back(0x00);
    } else {
        AppendNibbles(nibbles, key);
    }
}

bool IsAscii(std::string_view text) {
    return AsciiPrefixBytes(text) == text.size();
}

void AppendJet4Key(std::string_view utf8, std::size_t maxUnits, Bytes& key) {
    if (utf8.size() <= kIndexedChars && IsAscii(utf8)) {
        if (AppendPlainJet4Key(utf8, key)) return;
        char16_t units[kIndexedChars];
        std::copy(utf8.begin(), utf8.end(), units);
        AppendJet4Key({units, utf8.size()}, key);
        return;
    }
    const std::u16string units = Utf8ToUtf16(FirstCharacters(utf8, maxUnits));
    AppendJet4Key(std::u16string_view(units).substr(0, maxUnits), key);
}

void AppendKey(JetVersion version, std::string_view utf8, std::size_t maxChars, Bytes& key) {
    if (version == JetVersion::Jet4) {
        AppendJet4Key(utf8, maxChars, key);
    } else if (IsAscii(utf8)) {
        AppendAsciiJet3Key(utf8.substr(0, maxChars), key);
    } else {
        AppendJet3Key(Utf8ToCp1252(FirstCharacters(utf8, maxChars)), key);
    }
}

// Comparing ASCII texts without building their keys.

/// Primary weights of ASCII characters, 0 for none. No weight begins with another one, so they can be
/// compared as numbers.
using AsciiWeights = std::array<std::uint16_t, 128>;

constexpr AsciiWeights MakeJet3Ascii() {
    AsciiWeights weights{};
    for (std::size_t c = 0; c < weights.size(); ++c) weights[c] = kJet3Primary[c];
    return weights;
}

constexpr AsciiWeights kJet3Ascii = MakeJet3Ascii();

constexpr AsciiWeights MakeJet4Ascii() {
    static_assert(kPrimaryPage[0] == 0);
    static_assert(kKindPage[0] == 0);
    AsciiWeights weights{};
    for (std::size_t c = 0; c < weights.size(); ++c) {
        const std::uint16_t primary = kPrimary[c];
        weights[c] = primary > 0xFF ? primary : static_cast<std::uint16_t>(primary << 8U);
    }
    return weights;
}

constexpr AsciiWeights kJet4Ascii = MakeJet4Ascii();

bool IsMinor(char c) {
    return kKind[static_cast<std::uint8_t>(c)] >> 8U == static_cast<unsigned>(Kind::Minor);
}

/// Walks the minor characters of an ASCII text: their place in section 4 and their code as one number.
class AsciiMinors {
public:
    explicit AsciiMinors(std::string_view text) : text_(text) {}
    /// 0 when there is none left (no minor character gives 0).
    std::uint32_t Next() {
        for (; at_ < text_.size(); ++at_) {
            const char c = text_[at_];
            if (IsMinor(c)) {
                const auto code = static_cast<std::uint8_t>(kKind[static_cast<std::uint8_t>(text_[at_++])]);
                const auto position = static_cast<std::uint16_t>(0x8000U | (7 + 4 * weights_));
                return static_cast<std::uint32_t>(position) << 8U | code;
            }
            if (kJet4Ascii[static_cast<std::uint8_t>(c)] != 0) ++weights_;
        }
        return 0;
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t weights_ = 0;
};

/// The next weight that counts in the first section, 0 at the end.
std::uint16_t NextWeight(const AsciiWeights& weights, const char*& at, const char* end) {
    while (at != end) {
        const std::uint16_t weight = weights[static_cast<std::uint8_t>(*at++)];
        if (weight != 0) return weight;
    }
    return 0;
}

int ComparePrimary(const AsciiWeights& weights, std::string_view left, std::string_view right) {
    const auto [l, r] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    const char* leftAt = left.data() + (l - left.begin());
    const char* rightAt = right.data() + (r - right.begin());
    for (;;) {
        const std::uint16_t leftWeight = NextWeight(weights, leftAt, left.data() + left.size());
        const std::uint16_t rightWeight = NextWeight(weights, rightAt, right.data() + right.size());
        if (leftWeight != rightWeight) return leftWeight < rightWeight ? -1 : 1;
        if (leftWeight == 0) return 0;
    }
}

int CompareMinors(std::string_view left, std::string_view right) {
    AsciiMinors leftMinors(left);
    AsciiMinors rightMinors(right);
    for (;;) {
        const std::uint32_t l = leftMinors.Next();
        const std::uint32_t r = rightMinors.Next();
        if (l != r) return l < r ? -1 : 1;
        if (l == 0) return 0;
    }
}

int CompareAscii(JetVersion version, std::string_view left, std::string_view right) {
    if (version == JetVersion::Jet3) return ComparePrimary(kJet3Ascii, left, right);
    const int order = ComparePrimary(kJet4Ascii, left, right);
    return order != 0 ? order : CompareMinors(left, right);
}

std::string_view WithoutTrailingSpaces(std::string_view text) {
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
}

}  // namespace

void AppendTextKey(JetVersion version, std::string_view utf8, bool descending,
                   std::vector<std::uint8_t>& key) {
    const std::size_t start = key.size();
    AppendKey(version, utf8, kIndexedChars, key);
    if (!descending) return;
    for (std::size_t at = start; at < key.size(); ++at) key[at] = static_cast<std::uint8_t>(~key[at]);
    if (version == JetVersion::Jet4) key.push_back(0x00);
}

bool AppendStoredTextKey(JetVersion version, ByteView stored, std::vector<std::uint8_t>& key) {
    std::string_view text(reinterpret_cast<const char*>(stored.Data()), stored.Size());
    if (version == JetVersion::Jet4) {
        constexpr std::string_view kCompressed = "\xFF\xFE";
        if (!text.starts_with(kCompressed)) return false;
        text.remove_prefix(kCompressed.size());
    }
    if (text.size() > kIndexedChars || !IsAscii(text)) return false;
    if (version == JetVersion::Jet4) {
        // In a compressed text 00 is no character.
        return text.find('\0') == std::string_view::npos && AppendPlainJet4Key(text, key);
    }
    AppendAsciiJet3Key(text, key);
    return true;
}

void AppendComparisonKey(JetVersion version, std::string_view utf8, std::vector<std::uint8_t>& key) {
    AppendKey(version, utf8, SIZE_MAX, key);
}

int CompareText(JetVersion version, std::string_view left, std::string_view right) {
    if (left == right) return 0;
    if (IsAscii(left) && IsAscii(right)) {
        return CompareAscii(version, WithoutTrailingSpaces(left), WithoutTrailingSpaces(right));
    }
    Bytes leftKey;
    Bytes rightKey;
    AppendComparisonKey(version, left, leftKey);
    AppendComparisonKey(version, right, rightKey);
    if (leftKey == rightKey) return 0;
    return leftKey < rightKey ? -1 : 1;
}

}  // namespace marrowkit::jet
