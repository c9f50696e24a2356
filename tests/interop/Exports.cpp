#include "interop/Exports.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

#include "platform/jet/engine/Database.h"
#include "platform/jet/format/DateParts.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::test {

using jet::ColumnType;

std::vector<OwnTable> ReadOwnTables(const std::filesystem::path& file) {
    jet::OpenOptions options;
    options.readOnly = true;
    const auto database = jet::Database::Open(file.string(), options);
    std::vector<OwnTable> tables;
    for (const std::string& name : database->TableNames(true)) {
        const auto table = database->OpenTable(name);
        OwnTable own;
        own.name = name;
        for (const jet::Column& column : table->Columns()) {
            own.columns.push_back(column.name);
            own.types.push_back(column.type);
        }
        std::vector<std::size_t> all(own.columns.size());
        std::iota(all.begin(), all.end(), std::size_t{0});
        const auto scan = table->OpenScan(all);
        while (scan->Next()) own.rows.push_back(scan->Values());
        tables.push_back(std::move(own));
    }
    return tables;
}

namespace {

template <std::size_t Size, typename... Arguments>
std::string Print(const char (&format)[Size], Arguments... arguments) {
    char text[64];
    const int length = std::snprintf(text, sizeof text, format, arguments...);
    return std::string(text, static_cast<std::size_t>(length));
}

/// Readers print floats with more or fewer digits than they have.
std::string FloatText(double value, ColumnType type) {
    if (value == 0) return "0";
    return type == ColumnType::Single ? Print("%.6g", value) : Print("%.14g", value);
}

/// "12.5000" -> "12.5".
std::string WithoutTrailingZeros(std::string text) {
    if (text.find('.') == std::string::npos) return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text;
}

/// Whole seconds since 1899-12-30, on a calendar that runs straight through that day.
std::string SecondsText(const jet::DateParts& parts) {
    const auto days = std::trunc(jet::FromDateParts({parts.year, parts.month, parts.day, 0, 0, 0, 0})->days);
    const double seconds =
        parts.hour * 3600.0 + parts.minute * 60.0 + parts.second + std::round(parts.millisecond / 1000.0);
    return Print("%.0f", days * 86400.0 + seconds);
}

std::string DateText(Reader reader, jet::DateTime value) {
    // mdbtools knows the days from 1899-12-30 to about the year 4637; for others it prints this.
    constexpr double kMdbToolsEnd = 1'000'000;
    if (reader == Reader::MdbTools && (value.days < 0 || value.days > kMdbToolsEnd)) return "no date";
    // mdb-reader takes the fraction of a negative date as a part of the negative number.
    if (reader == Reader::MdbReader && value.days < 0) {
        return Print("%.0f", std::round(value.days * 86400.0));
    }
    // It rounds to seconds, not to milliseconds first.
    if (reader == Reader::MdbTools) {
        const double days = std::trunc(value.days);
        return Print("%.0f", days * 86400.0 + std::floor((value.days - days) * 86400.0 + 0.5));
    }
    const auto parts = jet::ToDateParts(value);
    return parts ? SecondsText(*parts) : "no date";
}

std::string HexText(const std::string& text) {
    return jet::HexText(jet::Binary(text.begin(), text.end()));
}

std::string GuidSeenBy(Reader reader, const jet::Guid& value) {
    std::string text = jet::GuidText(value);
    if (reader == Reader::MdbTools) {
        // The last hyphen is missing, and in hexadecimal mode its own text is what comes in digits.
        text.erase(text.rfind('-'), 1);
        return HexText(text);
    }
    text = text.substr(1, text.size() - 2);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

Cell TextSeenBy(Reader reader, const std::string& text) {
    if (reader == Reader::MdbReader) return text;
    // mdbtools ends a text at its first NUL and has no empty texts.
    const std::string cut = text.substr(0, text.find('\0'));
    return cut.empty() ? Cell() : Cell(cut);
}

Cell BinarySeenBy(Reader reader, const jet::Binary& bytes, ColumnType type) {
    if (reader == Reader::MdbReader || type == ColumnType::Ole) {
        const bool isLost = reader == Reader::MdbTools && bytes.empty();
        return isLost ? Cell() : Cell(jet::HexText(bytes));
    }
    // mdbtools reads the type of one column of Access's own tables as Null, and ends binary values at their
    // first zero byte.
    if (type == ColumnType::FixedBlock) return std::nullopt;
    const jet::Binary cut(bytes.begin(), std::find(bytes.begin(), bytes.end(), std::uint8_t{0}));
    return cut.empty() ? Cell() : Cell(jet::HexText(cut));
}

}  // namespace

Cell AsSeenBy(Reader reader, const jet::Value& value, ColumnType type) {
    if (jet::IsNull(value)) return std::nullopt;
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
    if (const auto* number = std::get_if<float>(&value)) return FloatText(*number, type);
    if (const auto* number = std::get_if<double>(&value)) return FloatText(*number, type);
    if (const auto* date = std::get_if<jet::DateTime>(&value)) return DateText(reader, *date);
    if (const auto* text = std::get_if<std::string>(&value)) return TextSeenBy(reader, *text);
    if (const auto* bytes = std::get_if<jet::Binary>(&value)) return BinarySeenBy(reader, *bytes, type);
    if (const auto* guid = std::get_if<jet::Guid>(&value)) return GuidSeenBy(reader, *guid);
    return jet::ValueText(value);
}

std::string Normalize(const std::string& text, ColumnType type) {
    switch (type) {
        case ColumnType::Boolean:
            return text == "TRUE" || text == "true" ? "true" : "false";
        case ColumnType::Single:
        case ColumnType::Double:
            return FloatText(std::stod(text), type);
        case ColumnType::Currency:
        case ColumnType::Numeric:
            return WithoutTrailingZeros(text);
        case ColumnType::DateTime: {
            jet::DateParts parts;
            const int read =
                std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d.%d", &parts.year, &parts.month, &parts.day,
                            &parts.hour, &parts.minute, &parts.second, &parts.millisecond);
            return read >= 6 && jet::FromDateParts(parts) ? SecondsText(parts) : "no date";
        }
        default:
            return text;
    }
}

namespace {

std::string RowText(const std::vector<Cell>& row) {
    std::string text;
    for (const Cell& cell : row) {
        text += cell ? "[" + *cell + "]" : "(Null)";
    }
    return text;
}

std::string FirstDifference(const std::vector<std::string>& own, const std::vector<std::string>& other) {
    for (std::size_t i = 0; i < std::max(own.size(), other.size()); ++i) {
        if (i < own.size() && i < other.size() && own[i] == other[i]) continue;
        return "ours:   " + (i < own.size() ? own[i] : std::string("no row")) +
               "\nother:  " + (i < other.size() ? other[i] : std::string("no row"));
    }
    return {};
}

}  // namespace

std::string Difference(const OwnTable& own, const ExportedTable& other, Reader reader) {
    // Columns come in the order of their numbers or of their display: names settle it.
    std::vector<std::size_t> order;
    for (const std::string& column : own.columns) {
        const auto found = std::find(other.columns.begin(), other.columns.end(), column);
        if (found == other.columns.end()) return "column " + column + " is missing in the other reader";
        order.push_back(static_cast<std::size_t>(found - other.columns.begin()));
    }
    if (own.columns.size() != other.columns.size()) return "the other reader has more columns";

    std::vector<std::string> ownRows;
    for (const jet::Row& row : own.rows) {
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < row.size(); ++i) cells.push_back(AsSeenBy(reader, row[i], own.types[i]));
        ownRows.push_back(RowText(cells));
    }
    std::vector<std::string> otherRows;
    for (const auto& row : other.rows) {
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < order.size(); ++i) {
            const Cell& cell = row.at(order[i]);
            cells.push_back(cell ? Cell(Normalize(*cell, own.types[i])) : Cell());
        }
        otherRows.push_back(RowText(cells));
    }
    std::sort(ownRows.begin(), ownRows.end());
    std::sort(otherRows.begin(), otherRows.end());
    return FirstDifference(ownRows, otherRows);
}

}  // namespace marrowkit::test
