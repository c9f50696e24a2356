#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace marrowkit::jet {

/// Type codes of columns as they stand in a table definition.
enum class ColumnType : std::uint8_t {
    Boolean = 0x01,
    Byte = 0x02,
    Integer = 0x03,
    Long = 0x04,
    Currency = 0x05,
    Single = 0x06,
    Double = 0x07,
    DateTime = 0x08,
    Binary = 0x09,
    Text = 0x0A,
    Ole = 0x0B,
    Memo = 0x0C,
    Guid = 0x0F,
    Numeric = 0x10,
    FixedBlock = 0x11,  ///< internal; only in MSysAccessObjects, raw bytes
};

/// A monetary amount in ten-thousandths, as it is stored.
struct Currency {
    std::int64_t tenThousandths = 0;
    bool operator==(const Currency&) const = default;
};

/// Days since 1899-12-30 00:00; the fraction is the time of day, also (and positive) in negative dates.
struct DateTime {
    double days = 0;
    bool operator==(const DateTime&) const = default;
};

/// Sixteen bytes in the memory layout of a Windows GUID.
struct Guid {
    std::array<std::uint8_t, 16> bytes{};
    bool operator==(const Guid&) const = default;
};

/// A decimal: magnitude / 10^scale, negative or not. The four words run from the most significant down.
struct Numeric {
    std::array<std::uint32_t, 4> magnitude{};
    std::uint8_t scale = 0;
    bool negative = false;
    bool operator==(const Numeric&) const = default;
};

using Binary = std::vector<std::uint8_t>;
using Null = std::monostate;

/// One value of a row. Text is UTF-8 (an unpaired surrogate of a Jet 4 text is kept as its three-byte form,
/// so that every stored text survives a round trip). Null is the first alternative, so a new Value is Null.
using Value = std::variant<Null, bool, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double,
                           DateTime, std::string, Binary, Guid, Numeric>;

/// The values of a row in the order of the columns asked for.
using Row = std::vector<Value>;

inline bool IsNull(const Value& value) {
    return std::holds_alternative<Null>(value);
}

}  // namespace marrowkit::jet
