#pragma once

#include <cstddef>
#include <cstdlib>
#include <deque>
#include <memory>
#include <vector>

#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// The pages in memory: found by number in one step, given up by the clock rule (a page used since the hand
/// came by last gets another round). Knows nothing of files; dirty and pinned pages are never given up.
class PageCache {
public:
    PageCache(std::uint32_t pageBytes, std::size_t budgetBytes);

    PageFrame* Find(PageNumber page) const { return page < numbers_ ? byNumber_[page] : nullptr; }

    /// A frame for a page that is not cached; its bytes are undefined. nullptr when the budget is used up and
    /// every page is dirty or pinned.
    PageFrame* Take(PageNumber page);
    /// The same, going over the budget when it must.
    PageFrame* TakeAlways(PageNumber page);
    /// Forgets a page. A pinned one lives on, detached, for those who hold it.
    void Drop(PageFrame* frame);

    /// Whether the next page costs another one its place.
    bool IsFull() const { return free_.empty() && frames_.size() >= budgetFrames_; }
    std::size_t BudgetFrames() const { return budgetFrames_; }
    std::deque<PageFrame>& Frames() { return frames_; }

private:
    static constexpr std::size_t kSlabFrames = 64;

    struct FreeMemory {
        void operator()(PageFrame** table) const { std::free(table); }
    };

    void ReachTo(PageNumber page);
    PageFrame* NewFrame();
    PageFrame* FindVictim();
    PageFrame* Assign(PageFrame* frame, PageNumber page);

    std::uint32_t pageBytes_;
    std::size_t budgetFrames_;
    std::deque<PageFrame> frames_;  ///< all frames there are; addresses never change
    std::vector<std::unique_ptr<std::uint8_t[]>> slabs_;
    std::vector<PageFrame*> free_;
    std::unique_ptr<PageFrame*[], FreeMemory> byNumber_;
    std::size_t numbers_ = 0;  ///< of page numbers that byNumber_ has places for
    std::size_t hand_ = 0;
};

}  // namespace marrowkit::jet
