#include "MdbTools.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "platform/jet/format/ValueText.h"

namespace marrowkit::jet::test::MdbTools {

namespace {

// Long enough not to occur in any cell.
constexpr std::string_view kCell = "<|cell|>";
constexpr std::string_view kRow = "<|row|>";
constexpr std::string_view kNull = "<|null|>";
// What a cell that mdbtools is known to read wrongly counts as.
constexpr const char* kUncompared = "(not compared)";
constexpr double kLastComparedDay = 1'000'000;

std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
    std::string output;
    std::array<char, 65536> buffer{};
    while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        output.append(buffer.data(), got);
    }
    return output;
}

std::vector<std::string> Split(std::string_view text, std::string_view by) {
    std::vector<std::string> parts;
    for (std::size_t at = 0;;) {
        const std::size_t next = text.find(by, at);
        parts.emplace_back(text.substr(at, next - at));
        if (next == std::string_view::npos) return parts;
        at = next + by.size();
    }
}

std::string RoundedNumber(double number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.6g", number == 0 ? 0.0 : number);
    return text.data();
}

std::string HexDigits(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
            digits += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    return digits;
}

/// The text that hexadecimal digits stand for.
std::string FromHex(std::string_view digits) {
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        text += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    }
    return text;
}

/// C1 controls (code page bytes without a character) and single surrogates come out differently everywhere.
bool IsComparable(std::string_view text) {
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(text[i + 1]);
        if ((lead == 0xC2 && next < 0xA0) || (lead == 0xED && next >= 0xA0) || lead >= 0xF0) return false;
    }
    return true;
}

/// Cells of both readers in a form that is equal where they agree.
std::string Ours(const Column& column, const Value& value) {
    if (IsNull(value)) return std::string(kNull);
    switch (column.type) {
        case ColumnType::Boolean:
            return std::get<bool>(value) ? "1" : "0";
        case ColumnType::Currency:
            return RoundedNumber(static_cast<double>(std::get<Currency>(value).tenThousandths) / 10000.0);
        case ColumnType::Single:
            return RoundedNumber(std::get<float>(value));
        case ColumnType::Double:
            return RoundedNumber(std::get<double>(value));
        case ColumnType::Numeric:
            return RoundedNumber(NumericToDouble(std::get<Numeric>(value)));
        case ColumnType::DateTime: {
            const DateTime date = std::get<DateTime>(value);
            if (date.days < 0 || date.days > kLastComparedDay) return kUncompared;
            return DateTimeText(date).substr(0, 19);
        }
        case ColumnType::Text:
        case ColumnType::Memo: {
            const auto& text = std::get<std::string>(value);
            if (!IsComparable(text)) return kUncompared;
            const std::string cut = text.substr(0, text.find('\0'));
            return cut.empty() ? std::string(kNull) : cut;
        }
        case ColumnType::Guid:
            return HexDigits(GuidText(std::get<Guid>(value)));
        case ColumnType::FixedBlock:
            return kUncompared;
        case ColumnType::Binary: {
            Binary bytes = std::get<Binary>(value);
            bytes.erase(std::ranges::find(bytes, std::uint8_t{0}), bytes.end());
            return bytes.empty() ? std::string(kNull) : HexText(bytes);
        }
        case ColumnType::Ole: {
            const auto& bytes = std::get<Binary>(value);
            return bytes.empty() ? std::string(kNull) : HexText(bytes);
        }
        default:
            return ValueText(value);
    }
}

std::string Theirs(const Column& column, const std::string& cell, const std::string& ours) {
    if (ours == kUncompared) return ours;
    if (cell == kNull) return cell;
    switch (column.type) {
        case ColumnType::Currency:
        case ColumnType::Single:
        case ColumnType::Double:
        case ColumnType::Numeric:
            return RoundedNumber(std::strtod(cell.c_str(), nullptr));
        case ColumnType::Binary:
        case ColumnType::Ole:
            return cell.empty() ? std::string(kNull) : HexDigits(cell);
        case ColumnType::Guid:
            return HexDigits(FromHex(cell));
        case ColumnType::Text:
        case ColumnType::Memo:
            return cell.empty() ? std::string(kNull) : cell;
        default:
            return cell;
    }
}

std::vector<std::vector<std::string>> Export(const std::string& path, const std::string& table) {
    const std::string command = "mdb-export -H -Q -b hex -d " + Quoted(kCell) + " -R " + Quoted(kRow) +
                                " -0 " + Quoted(kNull) + " -D '%Y-%m-%dT%H:%M:%S' -T '%Y-%m-%dT%H:%M:%S' " +
                                Quoted(path) + " " + Quoted(table) + " 2>/dev/null";
    std::vector<std::vector<std::string>> rows;
    for (const std::string& row : Split(OutputOf(command), kRow)) rows.push_back(Split(row, kCell));
    rows.pop_back();  // behind the last row
    return rows;
}

std::string Joined(const std::vector<std::string>& cells) {
    std::string text;
    for (const std::string& cell : cells) text += cell + " | ";
    return text;
}

}  // namespace

bool IsInstalled() {
    return std::system("mdb-export --version >/dev/null 2>&1") == 0;
}

void ExpectSameCells(const std::string& path, const Table& table) {
    const std::vector<Column>& columns = table.Columns();
    std::vector<std::size_t> all(columns.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    std::vector<std::vector<std::string>> ours;
    for (const auto scan = table.OpenScan(all); scan->Next();) {
        std::vector<std::string> cells;
        for (std::size_t i = 0; i < all.size(); ++i) cells.push_back(Ours(columns[i], scan->Values()[i]));
        ours.push_back(std::move(cells));
    }
    auto theirs = Export(path, table.Name());
    ASSERT_EQ(ours.size(), theirs.size()) << table.Name();
    for (std::size_t row = 0; row < theirs.size(); ++row) {
        ASSERT_EQ(theirs[row].size(), columns.size()) << Joined(theirs[row]);
        // Which cells are compared is known from our side, row by row; moved rows are in another place, but
        // then the whole column of the kinds left out is.
        for (std::size_t i = 0; i < columns.size(); ++i) {
            theirs[row][i] = Theirs(columns[i], theirs[row][i], ours[row][i]);
        }
    }
    std::ranges::sort(ours);
    std::ranges::sort(theirs);
    for (std::size_t row = 0; row < ours.size(); ++row) {
        ASSERT_EQ(Joined(ours[row]), Joined(theirs[row])) << table.Name();
    }
}

}  // namespace marrowkit::jet::test::MdbTools
