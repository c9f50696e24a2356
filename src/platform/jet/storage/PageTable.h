#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/jet/format/Format.h"

namespace marrowkit::jet {

/// A number for each of some pages. Made for being filled and emptied for every row that changes: after the
/// first few times nothing is allocated any more, and emptying costs the same however many pages there were.
class PageTable {
public:
    struct Entry {
        PageNumber page;
        std::size_t number;
    };

    bool Contains(PageNumber page) const { return slots_[SlotOf(page)] != kFree; }
    /// REQUIRES: !Contains(page).
    void Add(PageNumber page, std::size_t number) {
        if (2 * entries_.size() >= slots_.size()) Grow();
        entries_.push_back({page, number});
        slots_[SlotOf(page)] = static_cast<std::uint32_t>(entries_.size());
    }
    /// So many more can be added without an error.
    void Reserve(std::size_t more) {
        const std::size_t wanted = entries_.size() + more;
        if (wanted > entries_.capacity()) entries_.reserve(std::max(wanted, 2 * entries_.capacity()));
        while (2 * wanted > slots_.size()) Grow();
    }
    void Clear() {
        entries_.clear();
        slots_.assign(kFewestSlots, kFree);
    }
    /// In the order in which they were added.
    const std::vector<Entry>& Entries() const { return entries_; }

private:
    static constexpr std::size_t kFewestSlots = 32;
    static constexpr std::uint32_t kFree = 0;

    /// Where the page is, or the free slot where it would be.
    std::size_t SlotOf(PageNumber page) const {
        // Multiplying by the golden ratio scatters neighbouring numbers.
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = (page * 2654435769U >> 7U) & mask;
        while (slots_[slot] != kFree && entries_[slots_[slot] - 1].page != page) slot = (slot + 1) & mask;
        return slot;
    }
    void Grow() {
        slots_.assign(slots_.size() * 2, kFree);
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            slots_[SlotOf(entries_[i].page)] = static_cast<std::uint32_t>(i + 1);
        }
    }

    std::vector<Entry> entries_;
    std::vector<std::uint32_t> slots_ = std::vector<std::uint32_t>(kFewestSlots, kFree);  ///< entry + 1
};

}  // namespace marrowkit::jet
