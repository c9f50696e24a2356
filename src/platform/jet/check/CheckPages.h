#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/jet/format/Format.h"

namespace marrowkit::jet::check {

/// Which structure each page of the file belongs to: 4 bytes a page.
class PageOwners {
public:
    using Owner = std::uint32_t;
    static constexpr Owner kNobody = 0;

    explicit PageOwners(PageNumber pageCount) : owners_(pageCount, kNobody), names_{"nothing"} {}

    Owner NewOwner(std::string name) {
        names_.push_back(std::move(name));
        return static_cast<Owner>(names_.size() - 1);
    }
    const std::string& NameOf(Owner owner) const { return names_[owner]; }
    PageNumber PageCount() const { return static_cast<PageNumber>(owners_.size()); }
    bool IsInFile(PageNumber page) const { return page < owners_.size(); }

    /// REQUIRES (both): the page is in the file.
    Owner Of(PageNumber page) const { return owners_[page]; }
    void Claim(PageNumber page, Owner owner) { owners_[page] = owner; }

private:
    std::vector<Owner> owners_;
    std::vector<std::string> names_;
};

/// One bit for every row slot of the file, 32 bytes a page.
class RowMarks {
public:
    explicit RowMarks(PageNumber pageCount) : bits_(pageCount) {}

    /// False when the row was marked before or its page is not in the file.
    bool Mark(RowId row) {
        if (row.page >= bits_.size()) return false;
        std::uint64_t& word = bits_[row.page][row.slot / 64];
        const std::uint64_t bit = std::uint64_t{1} << row.slot % 64;
        const bool isNew = (word & bit) == 0;
        word |= bit;
        return isNew;
    }
    bool IsMarked(RowId row) const {
        return row.page < bits_.size() && (bits_[row.page][row.slot / 64] >> row.slot % 64 & 1) != 0;
    }

private:
    std::vector<std::array<std::uint64_t, 4>> bits_;
};

}  // namespace marrowkit::jet::check
