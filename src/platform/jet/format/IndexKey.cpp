#include "platform/jet/format/IndexKey.h"

#include <array>
#include <bit>
#include <cassert>

#include "platform/jet/format/Collation.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/NumericValue.h"
#include "platform/jet/format/RowCodec.h"

namespace marrowkit::jet {
namespace {

using Key = std::vector<std::uint8_t>;

constexpr std::uint8_t kNullAscending = 0x00;
constexpr std::uint8_t kNullDescending = 0xFF;

constexpr std::size_t kSegmentBytes = 8;
constexpr std::uint8_t kSegmentContinues = 9;

template <typename T>
const T& Get(const Value& value) {
    const T* const found = std::get_if<T>(&value);
    if (found == nullptr) RaiseJet(JetError::ConversionError);
    return *found;
}

/// Big-endian, inverted when descending.
template <typename Unsigned>
void AppendBigEndian(Unsigned value, bool ascending, Key& key) {
    if (!ascending) value = static_cast<Unsigned>(~value);
    std::array<std::uint8_t, sizeof(Unsigned)> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * (bytes.size() - 1 - i)));
    }
    key.insert(key.end(), bytes.begin(), bytes.end());
}

/// With the sign bit inverted two's complement sorts as unsigned numbers do.
template <typename Unsigned, typename Signed>
void AppendSigned(Signed value, bool ascending, Key& key) {
    constexpr auto kSign = static_cast<Unsigned>(Unsigned{1} << (8 * sizeof(Unsigned) - 1));
    AppendBigEndian(static_cast<Unsigned>(static_cast<Unsigned>(value) ^ kSign), ascending, key);
}

/// IEEE bits sort as unsigned numbers do once negative ones are inverted as a whole.
template <typename Unsigned, typename Float>
void AppendFloat(Float value, bool ascending, Key& key) {
    constexpr auto kSign = static_cast<Unsigned>(Unsigned{1} << (8 * sizeof(Unsigned) - 1));
    const auto bits = std::bit_cast<Unsigned>(value);
    AppendBigEndian(static_cast<Unsigned>((bits & kSign) != 0 ? ~bits : bits ^ kSign), ascending, key);
}

/// Segments of eight bytes, each with a length byte; the 09 between segments stays as it is in descending
/// keys, all other bytes are inverted. An empty value adds nothing to the flag byte.
void AppendSegments(std::span<const std::uint8_t> bytes, bool ascending, Key& key) {
    const auto put = [&](std::uint8_t byte) {
        key.push_back(static_cast<std::uint8_t>(ascending ? byte : ~byte));
    };
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), kSegmentBytes);
        for (std::size_t i = 0; i < kSegmentBytes; ++i) put(i < count ? bytes[i] : 0);
        bytes = bytes.subspan(count);
        if (bytes.empty()) {
            put(static_cast<std::uint8_t>(count));
        } else {
            key.push_back(kSegmentContinues);
        }
    }
}

/// In the order in which the text of a GUID shows its bytes.
void AppendGuid(const Guid& guid, bool ascending, Key& key) {
    constexpr std::size_t kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    std::array<std::uint8_t, 16> shown{};
    for (std::size_t i = 0; i < shown.size(); ++i) shown[i] = guid.bytes[kOrder[i]];
    AppendSegments(shown, ascending, key);
}

/// The sign byte is never inverted, so negative numbers do not sort right in descending keys. Jet 4 has it
/// that way.
void AppendNumeric(const Numeric& given, std::uint8_t scale, bool ascending, Key& key) {
    const auto value = RescaleNumeric(given, scale);
    if (!value) RaiseJet(JetError::NumericOverflow);
    key.push_back(value->negative ? 0x00 : 0xFF);
    const bool plain = value->negative != ascending;
    for (const std::uint32_t word : value->magnitude) AppendBigEndian(word, plain, key);
}

void AppendValue(JetVersion version, const ColumnDefinition& column, bool ascending, const Value& value,
                 Key& key) {
    switch (column.type) {
        case ColumnType::Boolean:
            AppendBigEndian(static_cast<std::uint8_t>(Get<bool>(value) ? 0x00 : 0xFF), ascending, key);
            break;
        case ColumnType::Byte:
            AppendBigEndian(Get<std::uint8_t>(value), ascending, key);
            break;
        case ColumnType::Integer:
            AppendSigned<std::uint16_t>(Get<std::int16_t>(value), ascending, key);
            break;
        case ColumnType::Long:
            AppendSigned<std::uint32_t>(Get<std::int32_t>(value), ascending, key);
            break;
        case ColumnType::Currency:
            AppendSigned<std::uint64_t>(Get<Currency>(value).tenThousandths, ascending, key);
            break;
        case ColumnType::Single:
            AppendFloat<std::uint32_t>(Get<float>(value), ascending, key);
            break;
        case ColumnType::Double:
            AppendFloat<std::uint64_t>(Get<double>(value), ascending, key);
            break;
        case ColumnType::DateTime:
            AppendFloat<std::uint64_t>(Get<DateTime>(value).days, ascending, key);
            break;
        case ColumnType::Text:
        case ColumnType::Memo:
            AppendTextKey(version, Get<std::string>(value), !ascending, key);
            break;
        case ColumnType::Binary:
            AppendSegments(Get<Binary>(value), ascending, key);
            break;
        case ColumnType::Guid:
            AppendGuid(Get<Guid>(value), ascending, key);
            break;
        case ColumnType::Numeric:
            AppendNumeric(Get<Numeric>(value), column.scale, ascending, key);
            break;
        default:
            RaiseJet(JetError::InvalidFieldType);
    }
}

}  // namespace

void AppendKeyColumn(JetVersion version, const ColumnDefinition& column, bool ascending, const Value& value,
                     std::vector<std::uint8_t>& key) {
    if (IsNull(value) && column.type != ColumnType::Boolean) {
        key.push_back(ascending ? kNullAscending : kNullDescending);
        return;
    }
    key.push_back(ValueFlag(ascending));
    static const Value kFalse = false;  // with a name, so that the other value is not copied
    AppendValue(version, column, ascending, IsNull(value) ? kFalse : value, key);
}

bool AppendStoredKey(JetVersion version, const ColumnDefinition& column, bool ascending, ByteView stored,
                     std::vector<std::uint8_t>& key) {
    const std::size_t start = key.size();
    switch (column.type) {
        case ColumnType::Long:
        case ColumnType::Integer:
            if (stored.Size() != FixedWidth(column.type)) return false;
            key.resize(start + WholeNumberKeyBytes(stored.Size()));
            PutWholeNumberKey(stored, ascending, key.data() + start);
            return true;
        case ColumnType::Text:
            if (!ascending) return false;
            key.push_back(ValueFlag(ascending));
            if (AppendStoredTextKey(version, stored, key)) return true;
            key.resize(start);
            return false;
        default:
            return false;
    }
}

std::vector<std::uint8_t> BuildIndexKey(JetVersion version, std::span<const ColumnDefinition* const> columns,
                                        std::span<const IndexColumn> order, std::span<const Value> values) {
    assert(columns.size() == order.size() && columns.size() == values.size());
    Key key;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        AppendKeyColumn(version, *columns[i], order[i].ascending, values[i], key);
    }
    return key;
}

bool CanBuildKey(const ColumnDefinition& column) {
    switch (column.type) {
        case ColumnType::Text:
        case ColumnType::Memo:
            return column.sortOrder.IsGeneral() && column.codePage == 1252;
        case ColumnType::Ole:
        case ColumnType::FixedBlock:
            return false;
        default:
            return true;
    }
}

}  // namespace marrowkit::jet
