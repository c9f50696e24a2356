#include "platform/jet/format/ValueText.h"

#include <charconv>
#include <limits>

#include "platform/jet/format/DateParts.h"

namespace marrowkit::jet {
namespace {

constexpr std::size_t kLongestDouble = 400;  // 5e-324 in plain decimal has 326 characters

template <typename Float>
std::string FloatText(Float value) {
    char buffer[kLongestDouble];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return {buffer, end.ptr};
}

void AppendPadded(int number, std::size_t digits, std::string& text) {
    const std::string plain = std::to_string(number);
    text.append(digits > plain.size() ? digits - plain.size() : 0, '0').append(plain);
}

void AppendInteger(std::int32_t number, std::string& text) {
    char buffer[std::numeric_limits<std::int32_t>::digits10 + 2];  // a sign and one digit more
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number);
    text.append(buffer, end.ptr);
}

void AppendHex(std::uint8_t byte, std::string& text) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    text.push_back(kDigits[byte >> 4U]);
    text.push_back(kDigits[byte & 0xFU]);
}

void AppendHex(const Binary& bytes, std::string& text) {
    text.reserve(text.size() + bytes.size() * 2);
    for (const std::uint8_t byte : bytes) AppendHex(byte, text);
}

std::optional<unsigned> HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return std::nullopt;
}

// Bytes of a GUID in the order its text shows them: the first three fields are little-endian in memory.
constexpr std::size_t kGuidOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

bool HyphenBefore(std::size_t guidByte) {
    return guidByte == 4 || guidByte == 6 || guidByte == 8 || guidByte == 10;
}

struct AppendText {
    std::string& text;

    void operator()(Null) const {}
    void operator()(bool value) const { text.append(value ? "True" : "False"); }
    void operator()(std::uint8_t value) const { AppendInteger(value, text); }
    void operator()(std::int16_t value) const { AppendInteger(value, text); }
    void operator()(std::int32_t value) const { AppendInteger(value, text); }
    void operator()(Currency value) const { text.append(CurrencyText(value)); }
    void operator()(float value) const { text.append(SingleText(value)); }
    void operator()(double value) const { text.append(DoubleText(value)); }
    void operator()(DateTime value) const { text.append(DateTimeText(value)); }
    void operator()(const std::string& value) const { text.append(value); }
    void operator()(const Binary& value) const { AppendHex(value, text); }
    void operator()(const Guid& value) const { text.append(GuidText(value)); }
    void operator()(const Numeric& value) const { text.append(NumericText(value)); }
};

}  // namespace

std::string ValueText(const Value& value) {
    std::string text;
    AppendValueText(value, text);
    return text;
}

void AppendValueText(const Value& value, std::string& text) {
    std::visit(AppendText{text}, value);
}

std::string SingleText(float value) {
    return FloatText(value);
}

std::string DoubleText(double value) {
    return FloatText(value);
}

std::string HexText(const Binary& value) {
    std::string text;
    AppendHex(value, text);
    return text;
}

std::string CurrencyText(Currency value) {
    const bool negative = value.tenThousandths < 0;
    const auto bits = static_cast<std::uint64_t>(value.tenThousandths);
    const std::uint64_t magnitude = negative ? 0 - bits : bits;
    std::string text = negative ? "-" : "";
    text += std::to_string(magnitude / 10000);
    if (const auto fraction = static_cast<int>(magnitude % 10000); fraction != 0) {
        text.push_back('.');
        AppendPadded(fraction, 4, text);
        while (text.back() == '0') text.pop_back();
    }
    return text;
}

std::string DateTimeText(DateTime value) {
    const auto parts = ToDateParts(value);
    if (!parts) return DoubleText(value.days);
    std::string text;
    AppendPadded(parts->year, 4, text);
    AppendPadded(parts->month, 2, text.append("-"));
    AppendPadded(parts->day, 2, text.append("-"));
    AppendPadded(parts->hour, 2, text.append("T"));
    AppendPadded(parts->minute, 2, text.append(":"));
    AppendPadded(parts->second, 2, text.append(":"));
    if (parts->millisecond != 0) AppendPadded(parts->millisecond, 3, text.append("."));
    return text;
}

std::string GuidText(const Guid& value) {
    std::string text = "{";
    for (std::size_t i = 0; i < 16; ++i) {
        if (HyphenBefore(i)) text.push_back('-');
        AppendHex(value.bytes[kGuidOrder[i]], text);
    }
    return text + "}";
}

std::optional<Guid> GuidFromText(std::string_view text) {
    if (text.size() == 38 && text.front() == '{' && text.back() == '}') text = text.substr(1, 36);
    if (text.size() != 36) return std::nullopt;
    Guid value;
    std::size_t at = 0;
    for (std::size_t i = 0; i < 16; ++i) {
        if (HyphenBefore(i) && text[at++] != '-') return std::nullopt;
        const auto high = HexDigit(text[at++]);
        const auto low = HexDigit(text[at++]);
        if (!high || !low) return std::nullopt;
        value.bytes[kGuidOrder[i]] = static_cast<std::uint8_t>(*high << 4U | *low);
    }
    return value;
}

}  // namespace marrowkit::jet
