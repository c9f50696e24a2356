#include "platform/jet/compact/CompactSorter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet::compact {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 18;
/// In front of each pair of a run: key length and row.
constexpr std::size_t kPairHeaderBytes = 8;

/// Keys lie in blocks of this size.
constexpr unsigned kBlockBits = 18;
constexpr std::size_t kBlockBytes = std::size_t{1} << kBlockBits;

/// Memory is taken in steps, so that most pairs need not ask for it.
constexpr std::size_t kGrantBytes = std::size_t{1} << 14;

int CompareBytes(std::span<const std::uint8_t> left, std::span<const std::uint8_t> right) {
    const std::size_t common = std::min(left.size(), right.size());
    const int order = common == 0 ? 0 : std::memcmp(left.data(), right.data(), common);
    if (order != 0) return order;
    return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

}  // namespace

/// Reads one sorted run back, a buffer at a time.
class EntrySorter::Run {
public:
    Run(StorageFile& file, std::uint64_t start, std::uint64_t end) : file_(&file), at_(start), end_(end) {}

    bool Next() {
        if (!Have(kPairHeaderBytes)) return false;
        std::uint32_t keyBytes = 0;
        std::uint32_t row = 0;
        std::memcpy(&keyBytes, buffer_.data() + used_, 4);
        std::memcpy(&row, buffer_.data() + used_ + 4, 4);
        used_ += kPairHeaderBytes;
        if (!Have(keyBytes)) RaiseJet(JetError::DiskReadError);
        key_ = std::span(buffer_).subspan(used_, keyBytes);
        used_ += keyBytes;
        row_ = RowId::FromStored(row);
        return true;
    }
    std::span<const std::uint8_t> Key() const { return key_; }
    RowId Row() const { return row_; }

    /// Of two runs, whether the first stands behind the second: std heaps keep the greatest in front.
    static bool Behind(const std::unique_ptr<Run>& left, const std::unique_ptr<Run>& right) {
        const int order = CompareBytes(left->key_, right->key_);
        return order != 0 ? order > 0 : left->row_ > right->row_;
    }

private:
    bool Have(std::size_t count) {
        if (buffer_.size() - used_ >= count) return true;
        buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(used_));
        used_ = 0;
        const std::size_t kept = buffer_.size();
        const std::size_t wanted = std::max(kBufferBytes, count);
        const auto take = static_cast<std::size_t>(std::min<std::uint64_t>(wanted - kept, end_ - at_));
        buffer_.resize(kept + take);
        if (file_->Read(at_, std::span(buffer_).subspan(kept)) != take) RaiseJet(JetError::DiskReadError);
        at_ += take;
        return buffer_.size() >= count;
    }

    StorageFile* file_;
    std::uint64_t at_;
    std::uint64_t end_;
    std::vector<std::uint8_t> buffer_;
    std::size_t used_ = 0;
    std::span<const std::uint8_t> key_;
    RowId row_;
};

/// The keys for WordSort.
class EntrySorter::Keys {
public:
    explicit Keys(const EntrySorter& sorter) : sorter_(sorter) {}
    std::size_t Length(const SortRecord& record) const { return sorter_.LengthOf(record); }
    std::span<const std::uint8_t> Bytes(const SortRecord& record) const { return sorter_.LongKey(record); }

private:
    const EntrySorter& sorter_;
};

EntrySorter::EntrySorter(Storage& storage, std::string temporaryPath, SortMemory& memory)
    : storage_(&storage), temporaryPath_(std::move(temporaryPath)), memory_(&memory) {
    ++memory_->sharers_;
}

EntrySorter::~EntrySorter() {
    Release();
    --memory_->sharers_;
}

void EntrySorter::Expect(std::size_t pairs) {
    records_.reserve(std::min(pairs, memory_->limitBytes_ / memory_->sharers_ / sizeof(SortRecord)));
}

/// A sorter that holds less than its share leaves it to the greater ones to make room.
bool EntrySorter::IsFull(std::size_t moreBytes) const {
    return memory_->usedBytes_ + moreBytes > memory_->limitBytes_ &&
           (usedBytes_ + moreBytes) * memory_->sharers_ > memory_->limitBytes_ && !records_.empty();
}

void EntrySorter::Release() {
    memory_->usedBytes_ -= usedBytes_;
    usedBytes_ = 0;
    grantedBytes_ = 0;
}

void EntrySorter::Acquire(std::size_t bytes) {
    if (IsFull(bytes - grantedBytes_)) Spill();
    const std::size_t step = std::min(kGrantBytes, memory_->limitBytes_ / memory_->sharers_ / 16);
    const std::size_t more = std::max(bytes - grantedBytes_, step);
    grantedBytes_ += more;
    usedBytes_ += more;
    memory_->usedBytes_ += more;
}

std::uint32_t EntrySorter::StoreKey(std::span<const std::uint8_t> key) {
    if (keyBlocks_.empty() || blockUsed_ + kLengthBytes + key.size() > kBlockBytes) {
        keyBlocks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(kBlockBytes));
        blockUsed_ = 0;
    }
    std::uint8_t* const place = keyBlocks_.back().get() + blockUsed_;
    const auto length = static_cast<std::uint16_t>(key.size());
    std::memcpy(place, &length, kLengthBytes);
    std::memcpy(place + kLengthBytes, key.data(), key.size());
    const std::size_t stored = (keyBlocks_.size() - 1) << kBlockBits | blockUsed_;
    blockUsed_ += kLengthBytes + key.size();
    return static_cast<std::uint32_t>(stored);
}

const std::uint8_t* EntrySorter::PlaceOf(const SortRecord& record) const {
    return keyBlocks_[record.key >> kBlockBits].get() + (record.key & (kBlockBytes - 1));
}

std::span<const std::uint8_t> EntrySorter::LongKey(const SortRecord& record) const {
    const std::uint8_t* const place = PlaceOf(record);
    std::uint16_t length = 0;
    std::memcpy(&length, place, kLengthBytes);
    return {place + kLengthBytes, length};
}

std::size_t EntrySorter::LengthOf(const SortRecord& record) const {
    return IsShort(record) ? record.key & ~kShortKey : LongKey(record).size();
}

std::span<const std::uint8_t> EntrySorter::KeyOf(const SortRecord& record) {
    if (!IsShort(record)) return LongKey(record);
    StoreBigEndian64(record.word, shortKey_.data());
    return std::span(shortKey_).first(LengthOf(record));
}

void EntrySorter::SortRecords() {
    const Keys keys(*this);
    WordSort<Keys>(keys).Sort(records_);
}

/// The file has a name for a moment only, so that a process that is killed leaves none behind.
void EntrySorter::OpenTemporary() {
    storage_->Remove(temporaryPath_);  // killed in that moment
    file_ = storage_->Open(temporaryPath_, OpenMode::CreateNew);
    storage_->Remove(temporaryPath_);
}

void EntrySorter::Spill() {
    SortRecords();
    if (!file_) OpenTemporary();
    runStarts_.push_back(fileBytes_);
    std::vector<std::uint8_t> buffer;
    const auto flush = [&] {
        file_->Write(fileBytes_, buffer);
        fileBytes_ += buffer.size();
        buffer.clear();
    };
    for (const SortRecord& record : records_) {
        const std::size_t at = buffer.size();
        buffer.resize(at + kPairHeaderBytes);
        const auto key = KeyOf(record);
        const auto keyBytes = static_cast<std::uint32_t>(key.size());
        std::memcpy(buffer.data() + at, &keyBytes, 4);
        std::memcpy(buffer.data() + at + 4, &record.rank, 4);
        buffer.insert(buffer.end(), key.begin(), key.end());
        if (buffer.size() >= kBufferBytes) flush();
    }
    flush();
    records_.clear();
    keyBlocks_.clear();
    Release();
}

void EntrySorter::Sort() {
    if (runStarts_.empty()) {
        SortRecords();
        return;
    }
    if (!records_.empty()) Spill();
    std::vector<SortRecord>().swap(records_);

    for (std::size_t i = 0; i < runStarts_.size(); ++i) {
        const std::uint64_t end = i + 1 < runStarts_.size() ? runStarts_[i + 1] : fileBytes_;
        auto run = std::make_unique<Run>(*file_, runStarts_[i], end);
        if (run->Next()) runs_.push_back(std::move(run));
    }
    std::make_heap(runs_.begin(), runs_.end(), Run::Behind);
    // Next() advances the run in front; nothing has been handed out yet.
    nextRecord_ = 0;
}

/// Long keys lie in the order in which they were added: nearly each one is a walk to the memory, which can be
/// set out on some keys ahead.
void EntrySorter::Prefetch() const {
#if defined(__GNUC__)
    constexpr std::size_t kAhead = 12;
    if (nextRecord_ + kAhead >= records_.size()) return;
    const SortRecord& record = records_[nextRecord_ + kAhead];
    if (!IsShort(record)) __builtin_prefetch(PlaceOf(record));
#endif
}

bool EntrySorter::Next() {
    if (!file_) {
        if (nextRecord_ == records_.size()) return false;
        const SortRecord& record = records_[nextRecord_++];
        Prefetch();
        key_ = KeyOf(record);
        row_ = RowId::FromStored(record.rank);
        return true;
    }
    if (nextRecord_++ > 0) {
        std::pop_heap(runs_.begin(), runs_.end(), Run::Behind);
        if (runs_.back()->Next()) {
            std::push_heap(runs_.begin(), runs_.end(), Run::Behind);
        } else {
            runs_.pop_back();
        }
    }
    if (runs_.empty()) return false;
    key_ = runs_.front()->Key();
    row_ = runs_.front()->Row();
    return true;
}

}  // namespace marrowkit::jet::compact
