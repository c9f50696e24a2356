#pragma once

#include <cstdint>

#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// Whether a data or long-value page belongs into a free-space map. In files written by Access nearly all
/// pages with less than about 50 (Jet 3) or 100 (Jet 4) free bytes are left out and nearly all with more than
/// 150 or 450 are listed; the border lies between.
inline bool IsWorthListing(const Pager& pager, std::uint32_t freeBytes, std::uint32_t slots) {
    const std::uint32_t fewest = pager.PageGeometry().version == JetVersion::Jet3 ? 100 : 256;
    return slots < kMaxRowsPerPage && freeBytes >= fewest;
}

}  // namespace marrowkit::jet
