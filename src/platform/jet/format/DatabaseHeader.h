#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::jet {

/// Page 0, unmasked.
struct DatabaseHeader {
    JetVersion version = JetVersion::Jet4;
    std::uint16_t countryCode = 0;  ///< Jet 3
    SortOrder sortOrder;
    std::uint16_t codePage = 1252;
    std::uint32_t databaseKey = 0;  ///< 0: pages are plain; else RC4 with `databaseKey ^ page`
    std::string password;           ///< empty: none
    std::uint32_t engineBuild = 0;
    double creationDate = 0;               ///< Jet 4
    std::array<std::uint8_t, 4> sidKey{};  ///< Jet 4: RC4 key that scrambles Owner and SID values

    const Geometry& PageGeometry() const { return GeometryOf(version); }
};

/// Reads page 0 (at least its first 0x98 bytes must be there). Throws 3343 for anything but a Jet 3 or Jet 4
/// database, with `fileName` in the text. A password is no error here: whoever opens the file decides (3031).
DatabaseHeader ParseDatabaseHeader(ByteView page0, std::string_view fileName);

/// A whole new page 0.
std::vector<std::uint8_t> SerializeDatabaseHeader(const DatabaseHeader& header);

/// A header for a new database with today's date, no password, plain pages.
DatabaseHeader NewDatabaseHeader(JetVersion version, double creationDate);

/// The RC4 key that Owner and SID values are scrambled with in Jet 4. It depends on password, build, sort
/// order and creation date: whoever changes one of them must code those values anew.
std::array<std::uint8_t, 4> SidKeyOf(const DatabaseHeader& header);

/// XORs the bytes with the RC4 key stream of `key`; the same call encodes and decodes.
void ApplyRc4(std::span<const std::uint8_t> key, std::span<std::uint8_t> bytes);

/// Encodes or decodes a whole page of an encoded database; nothing for page 0 or a plain database.
void ApplyPageEncoding(std::uint32_t databaseKey, PageNumber page, std::span<std::uint8_t> bytes);

/// Well-known accounts, plain. In Jet 4 files they are stored scrambled (ScrambleSid); in Jet 3 as they are.
namespace sid {
inline constexpr std::array<std::uint8_t, 2> kEngine{0x02, 0x03};
inline constexpr std::array<std::uint8_t, 2> kAdmin{0x03, 0x01};
inline constexpr std::array<std::uint8_t, 2> kUsers{0x02, 0x01};
inline constexpr std::array<std::uint8_t, 2> kCreator{0x02, 0x04};
}  // namespace sid
/// The stored form of a SID; the same call turns it back.
std::vector<std::uint8_t> ScrambleSid(const DatabaseHeader& header, std::span<const std::uint8_t> plain);

}  // namespace marrowkit::jet
