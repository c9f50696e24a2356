#include <cstring>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/RowParts.h"
#include "platform/jet/format/TextCodec.h"

namespace marrowkit::jet {
namespace {

constexpr std::uint32_t kNumericBytes = 17;
constexpr std::uint8_t kNumericNegative = 0x80;
constexpr std::size_t kMaxCompressedMemoChars = 1024;

}  // namespace

std::uint32_t FixedWidth(ColumnType type) {
    switch (type) {
        case ColumnType::Byte:
            return 1;
        case ColumnType::Integer:
            return 2;
        case ColumnType::Long:
        case ColumnType::Single:
            return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::DateTime:
            return 8;
        case ColumnType::Guid:
            return 16;
        case ColumnType::Numeric:
            return kNumericBytes;
        default:
            return 0;
    }
}

std::uint32_t FixedWidth(const ColumnDefinition& column) {
    if (column.type == ColumnType::Boolean) return 0;
    const std::uint32_t width = FixedWidth(column.type);
    return width != 0 ? width : column.lengthBytes;
}

namespace {

Numeric DecodeNumeric(std::uint8_t scale, ByteView bytes) {
    Numeric value;
    value.negative = (bytes.U8(0) & kNumericNegative) != 0;
    value.scale = scale;
    for (std::size_t i = 0; i < value.magnitude.size(); ++i) value.magnitude[i] = bytes.U32(1 + 4 * i);
    return value;
}

Guid DecodeGuid(ByteView bytes) {
    Guid value;
    const ByteView all = bytes.Sub(0, value.bytes.size());
    std::memcpy(value.bytes.data(), all.Data(), value.bytes.size());
    return value;
}

}  // namespace

void DecodeStored(JetVersion version, const ColumnDefinition& column, ByteView bytes, Value& value) {
    switch (column.type) {
        case ColumnType::Boolean:
            value = bytes.U8(0) != 0;
            break;
        case ColumnType::Byte:
            value = bytes.U8(0);
            break;
        case ColumnType::Integer:
            value = bytes.I16(0);
            break;
        case ColumnType::Long:
            value = bytes.I32(0);
            break;
        case ColumnType::Currency:
            value = Currency{bytes.I64(0)};
            break;
        case ColumnType::Single:
            value = bytes.F32(0);
            break;
        case ColumnType::Double:
            value = bytes.F64(0);
            break;
        case ColumnType::DateTime:
            value = DateTime{bytes.F64(0)};
            break;
        case ColumnType::Text:
        case ColumnType::Memo:
            if (!std::holds_alternative<std::string>(value)) value.emplace<std::string>();
            DecodeText(version, bytes, std::get<std::string>(value));
            break;
        case ColumnType::Guid:
            value = DecodeGuid(bytes);
            break;
        case ColumnType::Numeric:
            value = DecodeNumeric(column.scale, bytes);
            break;
        default:
            value = Binary(bytes.All().begin(), bytes.All().end());
    }
}

Value DecodeValue(const Geometry& geometry, const ColumnDefinition& column, ByteView bytes) {
    Value value;
    DecodeStored(geometry.version, column, bytes, value);
    return value;
}

namespace {

using StoredBytes = std::vector<std::uint8_t>;

template <typename T>
const T& Get(const Value& value) {
    const T* const found = std::get_if<T>(&value);
    if (found == nullptr) RaiseJet(JetError::ConversionError);
    return *found;
}

template <typename T>
StoredBytes Plain(T value) {
    StoredBytes bytes(sizeof(T));
    std::memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}

StoredBytes EncodeNumeric(const ColumnDefinition& column, const Numeric& given) {
    const auto value = RescaleNumeric(given, column.scale);
    if (!value || !FitsPrecision(*value, column.precision)) RaiseJet(JetError::NumericOverflow);
    StoredBytes bytes(kNumericBytes);
    bytes[0] = value->negative ? kNumericNegative : 0;
    for (std::size_t i = 0; i < value->magnitude.size(); ++i) {
        std::memcpy(bytes.data() + 1 + 4 * i, &value->magnitude[i], 4);
    }
    return bytes;
}

StoredBytes EncodeTextColumn(const Geometry& geometry, const ColumnDefinition& column,
                             const std::string& text) {
    const std::size_t length = TextLength(geometry.version, text);
    if (column.type == ColumnType::Memo) {
        return EncodeText(geometry.version, text, column.IsCompressed() && length <= kMaxCompressedMemoChars);
    }
    const std::size_t charBytes = geometry.version == JetVersion::Jet4 ? 2 : 1;
    const std::size_t room = column.lengthBytes / charBytes;
    if (length > room) RaiseJet(JetError::FieldTooSmall);
    if (!column.IsFixed()) return EncodeText(geometry.version, text, column.IsCompressed());
    return EncodeText(geometry.version, text + std::string(room - length, ' '), false);
}

StoredBytes EncodeBinary(const ColumnDefinition& column, const Binary& bytes) {
    if (column.type == ColumnType::Ole) return bytes;
    if (bytes.size() > column.lengthBytes) RaiseJet(JetError::FieldTooSmall);
    StoredBytes stored = bytes;
    if (column.IsFixed()) stored.resize(column.lengthBytes);
    return stored;
}

}  // namespace

std::vector<std::uint8_t> EncodeValue(const Geometry& geometry, const ColumnDefinition& column,
                                      const Value& value) {
    switch (column.type) {
        case ColumnType::Boolean:
            return Plain(static_cast<std::uint8_t>(Get<bool>(value) ? 1 : 0));
        case ColumnType::Byte:
            return Plain(Get<std::uint8_t>(value));
        case ColumnType::Integer:
            return Plain(Get<std::int16_t>(value));
        case ColumnType::Long:
            return Plain(Get<std::int32_t>(value));
        case ColumnType::Currency:
            return Plain(Get<Currency>(value).tenThousandths);
        case ColumnType::Single:
            return Plain(Get<float>(value));
        case ColumnType::Double:
            return Plain(Get<double>(value));
        case ColumnType::DateTime:
            return Plain(Get<DateTime>(value).days);
        case ColumnType::Text:
        case ColumnType::Memo:
            return EncodeTextColumn(geometry, column, Get<std::string>(value));
        case ColumnType::Guid: {
            const Guid& guid = Get<Guid>(value);
            return {guid.bytes.begin(), guid.bytes.end()};
        }
        case ColumnType::Numeric:
            return EncodeNumeric(column, Get<Numeric>(value));
        default:
            return EncodeBinary(column, Get<Binary>(value));
    }
}

}  // namespace marrowkit::jet
