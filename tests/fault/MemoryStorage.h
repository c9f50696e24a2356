#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Storage.h"

namespace marrowkit::test {

/// Files that exist in memory only: thousands of damaged databases a second, and no disk that wears out.
class MemoryStorage : public jet::Storage {
public:
    using Bytes = std::vector<std::uint8_t>;

    void Put(const std::string& path, Bytes bytes) {
        files_[path] = std::make_shared<Bytes>(std::move(bytes));
    }
    const Bytes& Get(const std::string& path) const { return *files_.at(path); }

    std::unique_ptr<jet::StorageFile> Open(const std::string& path, jet::OpenMode mode) override {
        const auto found = files_.find(path);
        if (mode == jet::OpenMode::CreateNew) {
            if (found != files_.end()) jet::RaiseJet(jet::JetError::DatabaseExists, {path});
            Put(path, {});
        } else if (found == files_.end()) {
            jet::RaiseJet(jet::JetError::FileNotFound, {path});
        }
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

private:
    class File : public jet::StorageFile {
    public:
        explicit File(std::shared_ptr<Bytes> bytes) : bytes_(std::move(bytes)) {}
        std::uint64_t Size() override { return bytes_->size(); }
        std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> target) override {
            if (offset >= bytes_->size()) return 0;
            const std::size_t take = std::min<std::size_t>(target.size(), bytes_->size() - offset);
            if (take > 0) std::memcpy(target.data(), bytes_->data() + offset, take);
            return take;
        }
        void Write(std::uint64_t offset, std::span<const std::uint8_t> source) override {
            if (offset + source.size() > bytes_->size()) bytes_->resize(offset + source.size());
            if (!source.empty()) std::memcpy(bytes_->data() + offset, source.data(), source.size());
        }
        void Truncate(std::uint64_t size) override { bytes_->resize(size); }
        void Sync() override {}
        bool TryLock(std::uint64_t, std::uint64_t, bool) override { return true; }
        void Unlock(std::uint64_t, std::uint64_t) override {}
        bool IsLockedByOther(std::uint64_t, std::uint64_t, bool) override { return false; }

    private:
        std::shared_ptr<Bytes> bytes_;
    };

    std::map<std::string, std::shared_ptr<Bytes>> files_;
};

}  // namespace marrowkit::test
