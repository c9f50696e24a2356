#include "platform/jet/engine/ColumnDesign.h"

#include <algorithm>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/RowCodec.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {

namespace {

constexpr int kMaxBinaryBytesJet3 = 255;
constexpr int kMaxBinaryBytesJet4 = 510;
constexpr int kMaxNumericPrecision = 28;

bool IsVariable(ColumnType type) {
    return type == ColumnType::Text || type == ColumnType::Binary || type == ColumnType::Memo ||
           type == ColumnType::Ole;
}

std::uint16_t CheckedSize(int size, int standard, int largest) {
    const int wanted = size == 0 ? standard : size;
    if (wanted < 1 || wanted > largest) RaiseJet(JetError::InvalidFieldType);
    return static_cast<std::uint16_t>(wanted);
}

std::uint16_t LengthBytes(JetVersion version, const Column& column) {
    switch (column.type) {
        case ColumnType::Boolean:
            return 1;
        case ColumnType::Text: {
            const std::uint16_t chars = CheckedSize(column.size, kMaxTextChars, kMaxTextChars);
            return static_cast<std::uint16_t>(version == JetVersion::Jet3 ? chars : chars * 2);
        }
        case ColumnType::Binary:
            return CheckedSize(column.size, kMaxBinaryBytesJet3,
                               version == JetVersion::Jet3 ? kMaxBinaryBytesJet3 : kMaxBinaryBytesJet4);
        case ColumnType::Memo:
        case ColumnType::Ole:
            return 0;
        case ColumnType::Numeric:
            if (version == JetVersion::Jet3 || column.precision < 1 ||
                column.precision > kMaxNumericPrecision || column.scale > column.precision) {
                RaiseJet(JetError::InvalidFieldType);
            }
            break;
        default:
            break;
    }
    if (const std::uint32_t width = FixedWidth(column.type)) return static_cast<std::uint16_t>(width);
    RaiseJet(JetError::InvalidFieldType);
}

std::uint8_t FlagsOf(const TableDefinition& table, const Column& column) {
    auto flags = ColumnDefinition::kOrdinaryFlag;
    if (!IsVariable(column.type)) flags |= ColumnDefinition::kFixedFlag;
    if (!column.autoNumber) return flags;
    if (column.type == ColumnType::Guid) return flags | ColumnDefinition::kGuidAutoNumberFlag;
    const bool hasOne = std::ranges::any_of(table.columns, &ColumnDefinition::IsAutoNumber);
    if (column.type != ColumnType::Long || hasOne) RaiseJet(JetError::InvalidFieldType);
    return flags | ColumnDefinition::kAutoNumberFlag;
}

}  // namespace

void CheckName(std::string_view name) {
    const bool hasBadCharacter =
        std::ranges::any_of(name, [](char c) { return static_cast<unsigned char>(c) < 0x20; }) ||
        name.find_first_of(".![]`") != std::string_view::npos;
    if (name.empty() || name.front() == ' ' || hasBadCharacter ||
        TextLength(JetVersion::Jet4, name) > static_cast<std::size_t>(kMaxNameChars)) {
        throw RuntimeError(3125, "'" + std::string(name) +
                                     "' is not a valid name. Make sure that it does not include invalid "
                                     "characters or punctuation and that it is not too long.");
    }
}

ColumnDefinition& AppendColumn(const DatabaseHeader& header, TableDefinition& table, const Column& column) {
    CheckName(column.name);
    if (table.maxColumns >= kMaxColumns) RaiseJet(JetError::TooManyFields);
    ColumnDefinition definition;
    definition.type = column.type;
    definition.name = column.name;
    definition.lengthBytes = LengthBytes(header.version, column);
    definition.flags = FlagsOf(table, column);
    definition.number = table.maxColumns;
    definition.ordinal = table.maxColumns;
    definition.variableIndex = table.variableColumns;
    definition.sortOrder = header.sortOrder;
    definition.countryCode = header.countryCode;
    definition.codePage = header.codePage;
    if (column.type == ColumnType::Numeric) {
        definition.precision = column.precision;
        definition.scale = column.scale;
    }
    if (definition.IsText() && column.compressed && header.version == JetVersion::Jet4) {
        definition.extendedFlags = ColumnDefinition::kCompressedExtendedFlag;
    }
    if (definition.IsFixed()) {
        definition.fixedOffset = static_cast<std::uint16_t>(table.FixedAreaBytes());
    } else {
        ++table.variableColumns;
    }
    ++table.maxColumns;
    table.columns.push_back(std::move(definition));
    return table.columns.back();
}

bool NeedsProperties(const Column& column) {
    const bool isText = column.type == ColumnType::Text || column.type == ColumnType::Memo;
    return column.required || (isText && !column.allowZeroLength) || !column.defaultValue.empty() ||
           !column.validationRule.empty() || column.randomAutoNumber;
}

void SetColumnProperties(JetVersion version, const Column& column, PropertyBlob& properties) {
    properties.SetBool(column.name, "Required", column.required);
    if (column.type == ColumnType::Text || column.type == ColumnType::Memo) {
        properties.SetBool(column.name, "AllowZeroLength", column.allowZeroLength);
    }
    const auto setText = [&](std::string_view name, const std::string& text) {
        if (!text.empty()) properties.SetText(version, column.name, name, text);
    };
    setText("DefaultValue", column.randomAutoNumber ? "GenUniqueID()" : column.defaultValue);
    setText("ValidationRule", column.validationRule);
    setText("ValidationText", column.validationText);
}

}  // namespace marrowkit::jet
