#include "platform/jet/storage/UndoLog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// Images kept in memory before the temporary file takes the rest.
constexpr std::size_t kMostMemoryBytes = std::size_t{64} << 20;
constexpr std::size_t kBlockImages = 64;

[[noreturn]] void RaiseFileError() {
    SetLastPlatformErrorCode(errno);
    RaiseJet(errno == ENOSPC ? JetError::DiskFull : JetError::DiskError);
}

}  // namespace

std::size_t UndoLog::ImagesInMemory() const {
    return kMostMemoryBytes / pageBytes_;
}

void UndoLog::Begin(PageNumber pageCount) {
    Level& level = levels_.emplace_back();
    level.firstImage = imageCount_;
    level.pageCount = pageCount;
}

void UndoLog::Save(PageNumber page, std::span<const std::uint8_t> image) {
    Store(imageCount_, image);
    levels_.back().images.emplace(page, imageCount_);
    ++imageCount_;
}

void UndoLog::Merge() {
    Level inner = std::move(levels_.back());
    if (levels_.size() == 1) return Drop();
    Level& outer = levels_[levels_.size() - 2];
    // In the order they were saved, so that images only ever move to places already read.
    std::vector<std::pair<std::size_t, PageNumber>> needed;
    for (const auto& [page, index] : inner.images) {
        if (page < outer.pageCount && !outer.images.contains(page)) needed.emplace_back(index, page);
    }
    std::sort(needed.begin(), needed.end());
    std::vector<std::uint8_t> image;
    std::size_t end = inner.firstImage;
    for (const auto& [index, page] : needed) {
        if (index != end) {
            image.resize(pageBytes_);
            Load(index, image);
            Store(end, image);
        }
        outer.images.emplace(page, end);
        ++end;
    }
    imageCount_ = end;
    levels_.pop_back();
}

void UndoLog::Drop() {
    imageCount_ = levels_.back().firstImage;
    levels_.pop_back();
    if (!levels_.empty()) return;
    // Between units only a little memory is kept, and no file.
    blocks_.resize(std::min<std::size_t>(blocks_.size(), 4));
    file_.reset();
}

void UndoLog::Store(std::size_t index, std::span<const std::uint8_t> image) {
    if (index < ImagesInMemory()) {
        while (blocks_.size() <= index / kBlockImages) {
            blocks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(kBlockImages * pageBytes_));
        }
        std::memcpy(blocks_[index / kBlockImages].get() + index % kBlockImages * pageBytes_, image.data(),
                    pageBytes_);
        return;
    }
    if (!file_) file_.reset(std::tmpfile());
    if (!file_) RaiseFileError();
    const std::size_t offset = (index - ImagesInMemory()) * pageBytes_;
    if (std::fseek(file_.get(), static_cast<long>(offset), SEEK_SET) != 0 ||
        std::fwrite(image.data(), 1, pageBytes_, file_.get()) != pageBytes_) {
        RaiseFileError();
    }
}

void UndoLog::Load(std::size_t index, std::span<std::uint8_t> image) const {
    if (index < ImagesInMemory()) {
        std::memcpy(image.data(), blocks_[index / kBlockImages].get() + index % kBlockImages * pageBytes_,
                    pageBytes_);
        return;
    }
    const std::size_t offset = (index - ImagesInMemory()) * pageBytes_;
    if (std::fseek(file_.get(), static_cast<long>(offset), SEEK_SET) != 0 ||
        std::fread(image.data(), 1, pageBytes_, file_.get()) != pageBytes_) {
        RaiseFileError();
    }
}

}  // namespace marrowkit::jet
