#include "platform/dao/NameTable.h"

#include <algorithm>
#include <bit>

#include "platform/text/Text.h"

namespace marrowkit::dao {
namespace {

std::uint8_t Fold(char c) {
    const auto byte = static_cast<std::uint8_t>(c);
    return byte >= 'A' && byte <= 'Z' ? static_cast<std::uint8_t>(byte | 0x20) : byte;
}

/// FNV-1a over the ASCII-folded bytes.
std::size_t Hash(std::string_view name) {
    std::uint64_t hash = 14695981039346656037U;
    for (const char c : name) hash = (hash ^ Fold(c)) * 1099511628211U;
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

bool SameAscii(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                     [](char a, char b) { return Fold(a) == Fold(b); });
}

}  // namespace

NameTable::NameTable(std::vector<std::string> names) : names_(std::move(names)) {
    slots_.resize(std::bit_ceil(names_.size() * 2 + 1));
    for (std::size_t i = 0; i < names_.size(); ++i) {
        ascii_ &= std::all_of(names_[i].begin(), names_[i].end(), [](char c) { return (c & 0x80) == 0; });
        std::size_t slot = Hash(names_[i]) & (slots_.size() - 1);
        while (slots_[slot] != 0) slot = (slot + 1) & (slots_.size() - 1);
        slots_[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

std::optional<std::size_t> NameTable::Find(std::string_view name) const {
    for (std::size_t slot = Hash(name) & (slots_.size() - 1); slots_[slot] != 0;
         slot = (slot + 1) & (slots_.size() - 1)) {
        const std::size_t position = slots_[slot] - 1;
        if (SameAscii(names_[position], name)) return position;
    }
    if (ascii_) return std::nullopt;
    // Letters beyond ASCII have upper and lower case too; they are rare enough to be searched for.
    for (std::size_t i = 0; i < names_.size(); ++i)
        if (EqualNoCase(names_[i], name)) return i;
    return std::nullopt;
}

}  // namespace marrowkit::dao
