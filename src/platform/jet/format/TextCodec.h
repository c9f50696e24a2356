#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/Format.h"

namespace marrowkit::jet {

/// A stored text as UTF-8. Jet 3: code page 1252 bytes. Jet 4: UTF-16LE, or the FF FE compressed form with
/// its mode switches, whatever the column's flags say.
std::string DecodeText(JetVersion version, ByteView stored);

/// The same into a text that may have room already: nothing is allocated for plain ASCII that fits.
void DecodeText(JetVersion version, ByteView stored, std::string& text);

/// The stored form. Jet 4 compresses when `compress` is set, all characters are U+0001..U+00FF and the result
/// is shorter (at least 3 characters); Jet 3 writes '?' for what code page 1252 lacks.
std::vector<std::uint8_t> EncodeText(JetVersion version, std::string_view utf8, bool compress);

/// What EncodeText keeps of a text: all of it, but for U+FEFF at the front of a Jet 4 text that has no stored
/// form with them. Keys have to be built of this.
std::string_view StorableText(JetVersion version, std::string_view utf8);

/// Characters as Jet counts them for field sizes: UTF-16 units in Jet 4, bytes in Jet 3.
std::size_t TextLength(JetVersion version, std::string_view utf8);

}  // namespace marrowkit::jet
