#include "platform/registry/RegistryText.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>

#include "platform/registry/RegistryEscapes.h"
#include "platform/registry/RegistryItems.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

constexpr std::string_view kWineHeader = "WINE REGISTRY Version 2";
constexpr std::string_view kRegeditHeader = "Windows Registry Editor Version 5.00";
constexpr std::string_view kOldRegeditHeader = "REGEDIT4";
constexpr std::string_view kExpandable = "str(2):";  // REG_EXPAND_SZ is type 2

std::string_view FirstLine(std::string_view text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

std::string KeyPathOf(const RegistryItem& item, RegistryDialect dialect) {
    return dialect == RegistryDialect::Wine ? UnescapeRegistryText(item.name, dialect)
                                            : std::string(item.name);
}

std::string HexDigits(std::uint64_t value) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return {digits.data(), end.ptr};
}

/// Without the quotes; `data` starts with one.
std::string TextBetweenQuotes(std::string_view data, RegistryDialect dialect) {
    return UnescapeRegistryText(data.substr(1, data.size() - 2), dialect);
}

RegistryData ParseData(std::string_view data, RegistryDialect dialect) {
    using Type = RegistryData::Type;
    constexpr std::string_view kDword = "dword:";
    if (data.starts_with('"')) return {Type::Text, TextBetweenQuotes(data, dialect), 0};
    if (data.starts_with(kExpandable) && data.substr(kExpandable.size()).starts_with('"')) {
        return {Type::ExpandableText, TextBetweenQuotes(data.substr(kExpandable.size()), dialect), 0};
    }
    if (StartsWithNoCase(data, kDword)) {
        const std::string_view digits = TrimView(data.substr(kDword.size()));
        std::uint32_t number = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
        if (read.ec == std::errc() && read.ptr == digits.data() + digits.size()) {
            return {Type::Number, "", number};
        }
    }
    return {Type::Other, "", 0};
}

std::string FormatData(const RegistryData& data, RegistryDialect dialect) {
    if (data.type == RegistryData::Type::Number) {
        const std::string digits = HexDigits(data.number);
        return "dword:" + std::string(8 - digits.size(), '0') + digits;
    }
    const std::string quoted = "\"" + EscapeRegistryText(data.text, dialect, EscapedPlace::Quotes) + "\"";
    const bool expandable = data.type == RegistryData::Type::ExpandableText;
    return expandable ? std::string(kExpandable) + quoted : quoted;
}

/// Where a value is, or would go.
struct Place {
    bool keyFound = false;
    std::size_t keyEnd = 0;  // behind the key's last line that is not blank
    std::optional<RegistryItem> value;
};

/// Whether a deleted key takes the wanted one with it.
bool IsAtOrAbove(std::string_view deleted, std::string_view keyPath) {
    if (EqualNoCase(deleted, keyPath)) return true;
    return StartsWithNoCase(keyPath, std::string(deleted) + "\\");
}

class PlaceFinder {
public:
    PlaceFinder(RegistryDialect dialect, std::string_view keyPath, std::string_view valueName)
        : dialect_(dialect), keyPath_(keyPath), valueName_(valueName) {}

    Place Find(std::string_view text) {
        RegistryItemReader reader(text, dialect_);
        RegistryItem item;
        while (reader.Next(item)) {
            if (item.kind == RegistryItem::Kind::Key) {
                EnterKey(item);
            } else if (inKey_ && item.kind != RegistryItem::Kind::Blank) {
                place_.keyEnd = item.end;
                if (item.kind == RegistryItem::Kind::Value) LookAt(item);
            }
        }
        return place_;
    }

private:
    void EnterKey(const RegistryItem& item) {
        const std::string path = KeyPathOf(item, dialect_);
        inKey_ = !item.deletes && EqualNoCase(path, keyPath_);
        if (inKey_) {
            place_.keyFound = true;
            place_.keyEnd = item.end;
        } else if (item.deletes && IsAtOrAbove(path, keyPath_)) {
            place_ = Place{};
        }
    }

    void LookAt(const RegistryItem& item) {
        if (item.name.empty() != valueName_.empty()) return;
        if (!EqualNoCase(UnescapeRegistryText(item.name, dialect_), valueName_)) return;
        place_.value = item;
        if (item.deletes) place_.value.reset();
    }

    RegistryDialect dialect_;
    std::string_view keyPath_;
    std::string_view valueName_;
    bool inKey_ = false;
    Place place_;
};

std::string_view LineEndOf(std::string_view text, RegistryDialect dialect) {
    const std::size_t end = text.find_first_of("\r\n");
    if (end == std::string_view::npos) return dialect == RegistryDialect::Wine ? "\n" : "\r\n";
    return text.substr(end, text.substr(end, 2) == "\r\n" ? 2 : 1);
}

std::string KeyHeader(RegistryDialect dialect, std::string_view keyPath, std::int64_t unixSeconds,
                      std::string_view lineEnd) {
    std::string header = "[" + EscapeRegistryText(keyPath, dialect, EscapedPlace::Brackets) + "]";
    if (dialect == RegistryDialect::Wine) {
        // 100-nanosecond steps since 1601, as the hive keeps it.
        constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
        const auto fileTime = static_cast<std::uint64_t>((unixSeconds + kSecondsFrom1601To1970) * 10'000'000);
        header.append(" ").append(std::to_string(unixSeconds)).append(lineEnd);
        header.append("#time=").append(HexDigits(fileTime));
    }
    return header;
}

/// Whether the last line is one of a hex value that was cut off by the end of the file; a blank line ends it.
bool SaysItGoesOn(std::string_view text) {
    const std::size_t last = text.find_last_not_of("\r\n");
    return last != std::string_view::npos && text[last] == '\\';
}

}  // namespace

bool HasRegistryHeader(std::string_view text, RegistryDialect dialect) {
    const std::string_view line = FirstLine(text);
    if (dialect == RegistryDialect::Wine) return line == kWineHeader;
    return line == kRegeditHeader || line == kOldRegeditHeader;
}

std::string EmptyRegistryText(RegistryDialect dialect) {
    if (dialect == RegistryDialect::Wine) return std::string(kWineHeader) + "\n";
    return std::string(kRegeditHeader) + "\r\n";
}

std::optional<RegistryData> FindRegistryValue(std::string_view text, RegistryDialect dialect,
                                              std::string_view keyPath, std::string_view valueName) {
    const Place place = PlaceFinder(dialect, keyPath, valueName).Find(text);
    if (!place.value) return std::nullopt;
    return ParseData(place.value->data, dialect);
}

std::string WithRegistryValue(std::string_view text, RegistryDialect dialect, std::string_view keyPath,
                              std::string_view valueName, const RegistryData& data,
                              std::int64_t unixSeconds) {
    const Place place = PlaceFinder(dialect, keyPath, valueName).Find(text);
    const std::string newData = FormatData(data, dialect);
    std::string result;
    if (place.value) {
        const auto dataStart = static_cast<std::size_t>(place.value->data.data() - text.data());
        result.append(text.substr(0, dataStart)).append(newData);
        return result.append(text.substr(dataStart + place.value->data.size()));
    }

    const std::string_view lineEnd = LineEndOf(text, dialect);
    const std::string line =
        (valueName.empty() ? "@"
                           : "\"" + EscapeRegistryText(valueName, dialect, EscapedPlace::Quotes) + "\"") +
        "=" + newData;
    if (place.keyFound) {
        result.append(text.substr(0, place.keyEnd)).append(lineEnd);
        if (SaysItGoesOn(text.substr(0, place.keyEnd))) result.append(lineEnd);
        result.append(line);
        return result.append(text.substr(place.keyEnd));
    }
    result.append(text);
    if (!text.ends_with(lineEnd)) result.append(lineEnd);
    // The blank line before the key also ends a value that was cut off.
    result.append(lineEnd).append(KeyHeader(dialect, keyPath, unixSeconds, lineEnd)).append(lineEnd);
    return result.append(line).append(lineEnd);
}

bool IsWin64Registry(std::string_view text) {
    RegistryItemReader reader(text, RegistryDialect::Wine);
    RegistryItem item;
    while (reader.Next(item) && item.kind != RegistryItem::Kind::Key) {
        if (RTrim(text.substr(item.start, item.end - item.start)) == "#arch=win64") return true;
    }
    return false;
}

}  // namespace marrowkit
