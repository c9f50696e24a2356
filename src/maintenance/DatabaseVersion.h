#pragma once

#include <string>

namespace marrowkit {

// Versions of the frontend's schema are single-precision numbers and compared as such.

/// What a database without a version counts as, and one that cannot be read.
inline constexpr float kUnknownDatabaseVersion = 1.3F;
/// Scan and fix needs at least this.
inline constexpr float kMinFixVersion = 2.0F;
/// Clear game extras needs at least this.
inline constexpr float kMinExtrasVersion = 2.1F;
/// Databases newer than these have Games.CRC, Games.Filesize and Extras; Games.Korvo; and
/// Config.FirstLoadMessage and Games.V_LengthType.
inline constexpr float kLastVersionWithoutCrc = 2.0F;
inline constexpr float kLastVersionWithoutKorvo = 2.2F;
inline constexpr float kLastVersionWithoutLengthType = 2.4F;
/// From here on the importer sets Games.V_LengthType.
inline constexpr float kMinLengthTypeImportVersion = 2.5F;

/// The version of a database's schema: MajorVersion + MinorVersion / 10 of the first record of Config. Ten or
/// more minor versions run on into the major one (2 and 12 are 3.2). A Config without records and every
/// error give kUnknownDatabaseVersion. The database is opened and closed again.
float GetDatabaseVersion(const std::string& path);

}  // namespace marrowkit
