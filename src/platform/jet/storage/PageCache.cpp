#include "platform/jet/storage/PageCache.h"

#include <algorithm>
#include <new>
#include <utility>

namespace marrowkit::jet {

namespace {

/// An operation pins a handful of pages at a time, and a tree may be several pages deep.
constexpr std::size_t kFewestFrames = 64;

}  // namespace

PageCache::PageCache(std::uint32_t pageBytes, std::size_t budgetBytes)
    : pageBytes_(pageBytes), budgetFrames_(std::max(budgetBytes / pageBytes, kFewestFrames)) {}

PageFrame* PageCache::Take(PageNumber page) {
    if (page >= numbers_) ReachTo(page);  // before any frame changes: it may throw
    if (free_.empty() && frames_.size() < budgetFrames_) return Assign(NewFrame(), page);
    if (!free_.empty()) {
        PageFrame* frame = free_.back();
        free_.pop_back();
        return Assign(frame, page);
    }
    PageFrame* victim = FindVictim();
    if (victim == nullptr) return nullptr;
    if (!victim->detached) byNumber_[victim->number] = nullptr;
    return Assign(victim, page);
}

PageFrame* PageCache::TakeAlways(PageNumber page) {
    PageFrame* frame = Take(page);
    return frame != nullptr ? frame : Assign(NewFrame(), page);
}

void PageCache::Drop(PageFrame* frame) {
    byNumber_[frame->number] = nullptr;
    frame->dirty = false;
    frame->detached = true;  // while it is pinned, the clock's hand picks it up when the pins are gone
    if (frame->pins == 0) free_.push_back(frame);
}

PageFrame* PageCache::NewFrame() {
    const std::size_t inSlab = frames_.size() % kSlabFrames;
    if (inSlab == 0)
        slabs_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(kSlabFrames * pageBytes_));
    PageFrame& frame = frames_.emplace_back();
    frame.bytes = slabs_.back().get() + inSlab * pageBytes_;
    frame.pageBytes = pageBytes_;
    frame.detached = true;
    return &frame;
}

PageFrame* PageCache::FindVictim() {
    // Two rounds: the first may only take away everybody's second chance.
    for (std::size_t step = 0; step < 2 * frames_.size(); ++step) {
        PageFrame& frame = frames_[hand_];
        hand_ = hand_ + 1 == frames_.size() ? 0 : hand_ + 1;
        if (frame.pins != 0 || frame.dirty) continue;
        if (frame.referenced && !frame.detached) {
            frame.referenced = false;
            continue;
        }
        return &frame;
    }
    return nullptr;
}

/// The host hands out zeroed memory when it is touched: in a large file of which a few pages are read, nearly
/// nothing of the table ever is.
void PageCache::ReachTo(PageNumber page) {
    const std::size_t numbers = std::max<std::size_t>(page + std::size_t{1}, numbers_ * 2);
    std::unique_ptr<PageFrame*[], FreeMemory> grown(
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the table holds pointers
        static_cast<PageFrame**>(std::calloc(numbers, sizeof(PageFrame*))));
    if (!grown) throw std::bad_alloc();
    std::copy_n(byNumber_.get(), numbers_, grown.get());
    byNumber_ = std::move(grown);
    numbers_ = numbers;
}

PageFrame* PageCache::Assign(PageFrame* frame, PageNumber page) {
    frame->number = page;
    frame->referenced = true;
    frame->dirty = false;
    frame->checked = false;
    frame->detached = false;
    frame->unit = 0;
    byNumber_[page] = frame;
    return frame;
}

}  // namespace marrowkit::jet
