#include "platform/jet/storage/UndoLog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// Images kept in memory; the temporary file takes those before them.
constexpr std::size_t kMostMemoryBytes = std::size_t{64} << 20;
constexpr std::size_t kBlockImages = 64;
constexpr std::size_t kMostKeptBlocks = 4;

[[noreturn]] void RaiseFileError() {
    SetLastPlatformErrorCode(errno);
    RaiseJet(errno == ENOSPC ? JetError::DiskFull : JetError::DiskError);
}

}  // namespace

void UndoLog::Begin(PageNumber pageCount) {
    if (depth_ == levels_.size()) levels_.emplace_back();
    ++depth_;
    Level& level = Innermost();
    level.images.Clear();
    level.firstImage = imageCount_;
    level.pageCount = pageCount;
}

void UndoLog::Save(PageNumber page, std::span<const std::uint8_t> image) {
    Store(imageCount_, image);
    Innermost().images.Add(page, imageCount_);
    ++imageCount_;
}

void UndoLog::Merge() {
    if (depth_ == 1) return Drop();
    const Level& inner = Innermost();
    Level& outer = levels_[depth_ - 2];
    outer.images.Reserve(inner.images.Entries().size());
    const std::size_t firstInMemory = writtenBlocks_ * kBlockImages;
    std::size_t end = inner.firstImage;
    // In the order they were saved, so images only ever move to places already passed. Those in the file stay
    // where they are: moving them might fail halfway, and then the inner unit could not be undone any more.
    for (const auto& [page, index] : inner.images.Entries()) {
        if (page >= outer.pageCount || outer.images.Contains(page)) continue;
        end = std::max(end, std::min(index, firstInMemory));
        if (index != end) std::memcpy(InMemory(end), InMemory(index), pageBytes_);
        outer.images.Add(page, end);
        ++end;
    }
    imageCount_ = end;
    --depth_;
}

void UndoLog::Drop() {
    imageCount_ = Innermost().firstImage;
    --depth_;
    if (depth_ != 0) return;
    // Between units only a little memory is kept, and no file.
    levels_.clear();
    if (blocks_.size() > kMostKeptBlocks) blocks_.resize(kMostKeptBlocks);
    writtenBlocks_ = 0;
    file_.reset();
}

void UndoLog::Store(std::size_t index, std::span<const std::uint8_t> image) {
    const std::size_t block = index / kBlockImages;
    if (block < writtenBlocks_) return Write(index, image);
    while (writtenBlocks_ + blocks_.size() <= block) AddBlock();
    std::memcpy(InMemory(index), image.data(), pageBytes_);
}

/// Room for more images. When memory is used up the oldest ones make it: they belong to the outermost unit
/// and are needed last, if at all, while a small unit inside of it comes and goes with every row.
void UndoLog::AddBlock() {
    const std::size_t blockBytes = kBlockImages * pageBytes_;
    if ((blocks_.size() + 1) * blockBytes <= kMostMemoryBytes) {
        blocks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(blockBytes));
        return;
    }
    Write(writtenBlocks_ * kBlockImages, {blocks_.front().get(), blockBytes});
    ++writtenBlocks_;
    blocks_.push_back(std::move(blocks_.front()));
    blocks_.pop_front();
}

std::uint8_t* UndoLog::InMemory(std::size_t index) const {
    return blocks_[index / kBlockImages - writtenBlocks_].get() + index % kBlockImages * pageBytes_;
}

/// Writes images into the temporary file, from the one with this number on.
void UndoLog::Write(std::size_t index, std::span<const std::uint8_t> images) {
    if (!file_) file_ = OpenTemporaryFile();
    if (!file_) RaiseFileError();
    if (!SeekTo(file_, std::uint64_t{index} * pageBytes_) ||
        std::fwrite(images.data(), 1, images.size(), file_.get()) != images.size()) {
        RaiseFileError();
    }
}

void UndoLog::Load(std::size_t index, std::span<std::uint8_t> image) const {
    if (index / kBlockImages >= writtenBlocks_) {
        std::memcpy(image.data(), InMemory(index), pageBytes_);
        return;
    }
    if (!SeekTo(file_, std::uint64_t{index} * pageBytes_) ||
        std::fread(image.data(), 1, pageBytes_, file_.get()) != pageBytes_) {
        RaiseFileError();
    }
}

}  // namespace marrowkit::jet
