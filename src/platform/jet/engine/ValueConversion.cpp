#include <cstdio>
#include <limits>

#include "platform/jet/engine/NumericConversion.h"
#include "platform/jet/engine/Table.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::jet {

namespace {

template <typename T>
Value ToWholeNumber(const Value& value) {
    return static_cast<T>(
        expression::ToWhole(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

Value ToSingle(const Value& value) {
    const double number = expression::ToDouble(value);
    if (number > std::numeric_limits<float>::max() || number < std::numeric_limits<float>::lowest()) {
        RaiseJet(JetError::ConversionError);
    }
    return static_cast<float>(number);
}

Value ToGuid(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        if (const auto guid = GuidFromText(*text)) return *guid;
    }
    if (const auto* bytes = std::get_if<Binary>(&value); bytes != nullptr && bytes->size() == 16) {
        Guid guid;
        std::copy(bytes->begin(), bytes->end(), guid.bytes.begin());
        return guid;
    }
    RaiseJet(JetError::ConversionError);
}

Value ToText(const Value& value) {
    if (std::holds_alternative<Binary>(value)) RaiseJet(JetError::ConversionError);
    return expression::ToText(value);
}

Value Convert(const Column& column, const Value& value) {
    switch (column.type) {
        case ColumnType::Boolean:
            return expression::ToBoolean(value);
        case ColumnType::Byte:
            return ToWholeNumber<std::uint8_t>(value);
        case ColumnType::Integer:
            return ToWholeNumber<std::int16_t>(value);
        case ColumnType::Long:
            return ToWholeNumber<std::int32_t>(value);
        case ColumnType::Currency:
            return expression::ToCurrency(value);
        case ColumnType::Single:
            return ToSingle(value);
        case ColumnType::Double:
            return expression::ToDouble(value);
        case ColumnType::DateTime:
            return expression::ToDate(value);
        case ColumnType::Text:
        case ColumnType::Memo:
            return ToText(value);
        case ColumnType::Guid:
            return ToGuid(value);
        case ColumnType::Numeric:
            return ToNumeric(value, column.precision, column.scale);
        case ColumnType::Binary:
        case ColumnType::Ole:
        case ColumnType::FixedBlock:
            break;
    }
    RaiseJet(JetError::ConversionError);
}

/// Whether the value is of the column's own type already.
bool IsOwnType(const Column& column, const Value& value) {
    switch (column.type) {
        case ColumnType::Boolean:
            return std::holds_alternative<bool>(value);
        case ColumnType::Byte:
            return std::holds_alternative<std::uint8_t>(value);
        case ColumnType::Integer:
            return std::holds_alternative<std::int16_t>(value);
        case ColumnType::Long:
            return std::holds_alternative<std::int32_t>(value);
        case ColumnType::Currency:
            return std::holds_alternative<Currency>(value);
        case ColumnType::Single:
            return std::holds_alternative<float>(value);
        case ColumnType::Double:
            return std::holds_alternative<double>(value);
        case ColumnType::DateTime:
            return std::holds_alternative<DateTime>(value);
        case ColumnType::Text:
        case ColumnType::Memo:
            return std::holds_alternative<std::string>(value);
        case ColumnType::Binary:
        case ColumnType::Ole:
        case ColumnType::FixedBlock:
            return std::holds_alternative<Binary>(value);
        case ColumnType::Guid:
            return std::holds_alternative<Guid>(value);
        case ColumnType::Numeric:
            return std::holds_alternative<Numeric>(value) && std::get<Numeric>(value).scale == column.scale;
    }
    return false;
}

}  // namespace

bool NeedsConversion(const Column& column, const Value& value) {
    return !IsNull(value) && !IsOwnType(column, value);
}

Value ConvertFor(const Column& column, const Value& value) {
    if (!NeedsConversion(column, value)) return value;
    try {
        return Convert(column, value);
    } catch (const RuntimeError& error) {
        // What the conversion functions of expressions call a mismatch or an overflow is one and the same
        // to whoever assigns a value to a field.
        if (error.number == static_cast<int>(JetError::CriteriaTypeMismatch) ||
            error.number == static_cast<int>(RuntimeErrorNumber::Overflow) ||
            error.number == static_cast<int>(RuntimeErrorNumber::TypeMismatch)) {
            RaiseJet(JetError::ConversionError);
        }
        throw;
    }
}

}  // namespace marrowkit::jet
