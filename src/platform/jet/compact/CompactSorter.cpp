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

std::uint64_t PrefixOf(std::span<const std::uint8_t> key) {
    std::uint64_t prefix = 0;
    for (std::size_t i = 0; i < 8; ++i) prefix = prefix << 8 | (i < key.size() ? key[i] : 0U);
    return prefix;
}

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

EntrySorter::EntrySorter(Storage& storage, std::string temporaryPath, std::size_t memoryBytes)
    : storage_(&storage), temporaryPath_(std::move(temporaryPath)), memoryBytes_(memoryBytes) {}

EntrySorter::~EntrySorter() {
    if (!file_) return;
    runs_.clear();
    file_.reset();
    try {
        storage_->Remove(temporaryPath_);
    } catch (...) {  // NOLINT(bugprone-empty-catch): a temporary file that stays behind harms nobody
    }
}

void EntrySorter::Add(std::span<const std::uint8_t> key, RowId row) {
    if (keys_.size() + key.size() + (records_.size() + 1) * sizeof(Record) > memoryBytes_ &&
        !records_.empty()) {
        Spill();
    }
    records_.push_back({PrefixOf(key), keys_.size(), static_cast<std::uint32_t>(key.size()), row.Stored()});
    keys_.insert(keys_.end(), key.begin(), key.end());
    ++count_;
}

bool EntrySorter::Less(const Record& left, const Record& right) const {
    if (left.prefix != right.prefix) return left.prefix < right.prefix;
    const int order = CompareBytes(KeyOf(left), KeyOf(right));
    return order != 0 ? order < 0 : left.row < right.row;
}

void EntrySorter::SortRecords() {
    const auto less = [this](const Record& left, const Record& right) { return Less(left, right); };
    // Rows often come in the order of one of their indexes.
    if (!std::is_sorted(records_.begin(), records_.end(), less)) {
        std::sort(records_.begin(), records_.end(), less);
    }
}

void EntrySorter::Spill() {
    SortRecords();
    if (!file_) file_ = storage_->Open(temporaryPath_, OpenMode::CreateNew);
    runStarts_.push_back(fileBytes_);
    std::vector<std::uint8_t> buffer;
    const auto flush = [&] {
        file_->Write(fileBytes_, buffer);
        fileBytes_ += buffer.size();
        buffer.clear();
    };
    for (const Record& record : records_) {
        const std::size_t at = buffer.size();
        buffer.resize(at + kPairHeaderBytes);
        std::memcpy(buffer.data() + at, &record.keyBytes, 4);
        std::memcpy(buffer.data() + at + 4, &record.row, 4);
        const auto key = KeyOf(record);
        buffer.insert(buffer.end(), key.begin(), key.end());
        if (buffer.size() >= kBufferBytes) flush();
    }
    flush();
    records_.clear();
    keys_.clear();
}

void EntrySorter::Sort() {
    if (runStarts_.empty()) {
        SortRecords();
        return;
    }
    if (!records_.empty()) Spill();
    std::vector<Record>().swap(records_);
    std::vector<std::uint8_t>().swap(keys_);
    for (std::size_t i = 0; i < runStarts_.size(); ++i) {
        const std::uint64_t end = i + 1 < runStarts_.size() ? runStarts_[i + 1] : fileBytes_;
        auto run = std::make_unique<Run>(*file_, runStarts_[i], end);
        if (run->Next()) runs_.push_back(std::move(run));
    }
    std::make_heap(runs_.begin(), runs_.end(), Run::Behind);
    // Next() advances the run in front; nothing has been handed out yet.
    nextRecord_ = 0;
}

bool EntrySorter::Next() {
    if (!file_) {
        if (nextRecord_ == records_.size()) return false;
        const Record& record = records_[nextRecord_++];
        key_ = KeyOf(record);
        row_ = RowId::FromStored(record.row);
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
