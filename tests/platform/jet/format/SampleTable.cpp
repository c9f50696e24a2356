#include "platform/jet/format/SampleTable.h"

#include <array>
#include <cstring>

#include "platform/jet/format/NumericValue.h"

namespace marrowkit::test {

using namespace jet;

TableDefinition TableOf(std::vector<ColumnDefinition> columns) {
    TableDefinition table;
    std::uint32_t fixedEnd = 0;
    for (ColumnDefinition& column : columns) {
        column.number = column.ordinal = table.maxColumns++;
        column.variableIndex = table.variableColumns;
        if (column.IsFixed()) {
            column.fixedOffset = static_cast<std::uint16_t>(fixedEnd);
            fixedEnd += FixedWidth(column);
        } else {
            ++table.variableColumns;
        }
    }
    table.columns = std::move(columns);
    return table;
}

ColumnDefinition ColumnOf(std::string name, ColumnType type, bool fixed, std::uint16_t lengthBytes) {
    ColumnDefinition column;
    column.name = std::move(name);
    column.type = type;
    column.flags = fixed ? ColumnDefinition::kOrdinaryFlag | ColumnDefinition::kFixedFlag
                         : ColumnDefinition::kOrdinaryFlag;
    column.lengthBytes = lengthBytes;
    if (type == ColumnType::Numeric) {
        column.precision = 18;
        column.scale = 4;
    }
    return column;
}

TableDefinition EveryTypeTable(JetVersion version) {
    const bool jet4 = version == JetVersion::Jet4;
    const std::uint16_t charBytes = jet4 ? 2 : 1;
    const auto text = static_cast<std::uint16_t>(60 * charBytes);
    std::vector<ColumnDefinition> columns{
        ColumnOf("Boolean", ColumnType::Boolean, true, 1),
        ColumnOf("Byte", ColumnType::Byte, true, 1),
        ColumnOf("Text", ColumnType::Text, false, text),
        ColumnOf("Integer", ColumnType::Integer, true, 2),
        ColumnOf("Long", ColumnType::Long, true, 4),
        ColumnOf("VariableLong", ColumnType::Long, false, 4),
        ColumnOf("Currency", ColumnType::Currency, true, 8),
        ColumnOf("Single", ColumnType::Single, true, 4),
        ColumnOf("Binary", ColumnType::Binary, false, 100),
        ColumnOf("Double", ColumnType::Double, true, 8),
        ColumnOf("DateTime", ColumnType::DateTime, true, 8),
        ColumnOf("FixedText", ColumnType::Text, true, static_cast<std::uint16_t>(7 * charBytes)),
        ColumnOf("FixedBinary", ColumnType::Binary, true, 5),
        ColumnOf("Guid", ColumnType::Guid, true, 16),
        ColumnOf("VariableGuid", ColumnType::Guid, false, 16),
        ColumnOf("CompressedText", ColumnType::Text, false, text),
        ColumnOf("Boolean2", ColumnType::Boolean, true, 1),
    };
    columns[15].extendedFlags = jet4 ? ColumnDefinition::kCompressedExtendedFlag : 0;
    if (jet4) {
        columns.push_back(ColumnOf("Numeric", ColumnType::Numeric, true, 17));
        columns.push_back(ColumnOf("VariableNumeric", ColumnType::Numeric, false, 17));
    }
    return TableOf(std::move(columns));
}

namespace {

std::string RandomText(JetVersion version, std::size_t length, std::mt19937& random) {
    static const std::vector<std::string> kEverywhere{"a", "Z", " ", "-", "é", "ß", "7", "€"};
    static const std::vector<std::string> kJet4Only{"日", "Ж", "あ", "\xED\xA0\x80"};
    std::string text;
    for (; length > 0; --length) {
        const bool rare = version == JetVersion::Jet4 && random() % 20 == 0;
        const auto& from = rare ? kJet4Only : kEverywhere;
        text += from[random() % from.size()];
    }
    return text;
}

template <typename T>
T RandomBits(std::mt19937& random) {
    T value;
    do {
        std::array<std::uint8_t, sizeof(T)> bytes{};
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
        std::memcpy(&value, bytes.data(), sizeof(T));
    } while (value != value);  // a NaN would not compare equal to itself
    return value;
}

Binary RandomBinary(std::size_t length, std::mt19937& random) {
    Binary bytes(length);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

}  // namespace

Value RandomValue(JetVersion version, const ColumnDefinition& column, std::mt19937& random) {
    if (column.type == ColumnType::Boolean) return random() % 2 == 0;
    if (random() % 5 == 0) return Null{};
    switch (column.type) {
        case ColumnType::Byte:
            return RandomBits<std::uint8_t>(random);
        case ColumnType::Integer:
            return RandomBits<std::int16_t>(random);
        case ColumnType::Long:
            return RandomBits<std::int32_t>(random);
        case ColumnType::Currency:
            return Currency{RandomBits<std::int64_t>(random)};
        case ColumnType::Single:
            return RandomBits<float>(random);
        case ColumnType::Double:
            return RandomBits<double>(random);
        case ColumnType::DateTime:
            return DateTime{RandomBits<double>(random)};
        case ColumnType::Text: {
            const std::size_t room = column.lengthBytes / (version == JetVersion::Jet4 ? 2U : 1U);
            return RandomText(version, column.IsFixed() ? room : random() % (room + 1), random);
        }
        case ColumnType::Guid: {
            Guid guid;
            for (std::uint8_t& byte : guid.bytes) byte = static_cast<std::uint8_t>(random());
            return guid;
        }
        case ColumnType::Numeric: {
            Numeric value;
            value.magnitude[3] = static_cast<std::uint32_t>(random());
            value.magnitude[2] = static_cast<std::uint32_t>(random()) >> 8U;
            value.scale = column.scale;
            value.negative = random() % 2 == 0;
            return value;
        }
        default:
            return RandomBinary(column.IsFixed() ? column.lengthBytes : random() % (column.lengthBytes + 1U),
                                random);
    }
}

std::vector<StoredColumn> Encoded(const Geometry& geometry, const TableDefinition& table,
                                  const std::vector<Value>& values) {
    std::vector<StoredColumn> columns(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!IsNull(values[i])) columns[i] = EncodeValue(geometry, table.columns[i], values[i]);
    }
    return columns;
}

}  // namespace marrowkit::test
