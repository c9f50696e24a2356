#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::jet::test {

/// A disk in memory that keeps only what was written: gigabytes that nobody touched cost nothing and read as
/// zeros.
class SparseStorage final : public Storage {
public:
    std::unique_ptr<StorageFile> Open(const std::string& path, OpenMode mode) override {
        const bool exists = files_.contains(path);
        if (mode == OpenMode::CreateNew && exists) throw RuntimeError(3204, "Database already exists.");
        if (mode != OpenMode::CreateNew && !exists) throw RuntimeError(3024, "Could not find file.");
        if (!exists) files_[path] = std::make_shared<Content>();
        return std::make_unique<File>(files_.at(path));
    }
    bool Exists(const std::string& path) override { return files_.contains(path); }
    void Remove(const std::string& path) override { files_.erase(path); }
    void Rename(const std::string& from, const std::string& to) override {
        files_[to] = files_.at(from);
        files_.erase(from);
    }
    void SyncFolderOf(const std::string&) override {}
    std::string Identity(const std::string& path) override { return path; }

    std::uint64_t SizeOf(const std::string& path) const { return files_.at(path)->size; }
    /// Makes the file longer by zeros.
    void Stretch(const std::string& path, std::uint64_t size) { files_.at(path)->size = size; }

private:
    static constexpr std::uint64_t kBlockBytes = 4096;
    struct Content {
        std::uint64_t size = 0;
        std::unordered_map<std::uint64_t, std::array<std::uint8_t, kBlockBytes>> blocks;
    };

    class File final : public StorageFile {
    public:
        explicit File(std::shared_ptr<Content> content) : content_(std::move(content)) {}
        std::uint64_t Size() override { return content_->size; }
        std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
            if (offset >= content_->size) return 0;
            const std::size_t count = std::min<std::uint64_t>(bytes.size(), content_->size - offset);
            for (std::size_t done = 0; done < count;) {
                const std::uint64_t at = offset + done;
                const std::size_t take =
                    std::min<std::uint64_t>(count - done, kBlockBytes - at % kBlockBytes);
                const auto block = content_->blocks.find(at / kBlockBytes);
                if (block == content_->blocks.end()) {
                    std::memset(bytes.data() + done, 0, take);
                } else {
                    std::memcpy(bytes.data() + done, block->second.data() + at % kBlockBytes, take);
                }
                done += take;
            }
            return count;
        }
        void Write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
            for (std::size_t done = 0; done < bytes.size();) {
                const std::uint64_t at = offset + done;
                const std::size_t take =
                    std::min<std::uint64_t>(bytes.size() - done, kBlockBytes - at % kBlockBytes);
                std::memcpy(content_->blocks[at / kBlockBytes].data() + at % kBlockBytes, bytes.data() + done,
                            take);
                done += take;
            }
            content_->size = std::max(content_->size, offset + bytes.size());
        }
        void Truncate(std::uint64_t size) override {
            content_->size = size;
            std::erase_if(content_->blocks,
                          [size](const auto& block) { return block.first * kBlockBytes >= size; });
            const auto last = content_->blocks.find(size / kBlockBytes);
            if (last != content_->blocks.end()) {
                std::fill(last->second.begin() + static_cast<std::ptrdiff_t>(size % kBlockBytes),
                          last->second.end(), std::uint8_t{0});
            }
        }
        void Sync() override {}
        bool TryLock(std::uint64_t, std::uint64_t, bool) override { return true; }
        void Unlock(std::uint64_t, std::uint64_t) override {}
        bool IsLockedByOther(std::uint64_t, std::uint64_t, bool) override { return false; }

    private:
        std::shared_ptr<Content> content_;
    };

    std::map<std::string, std::shared_ptr<Content>> files_;
};

}  // namespace marrowkit::jet::test
