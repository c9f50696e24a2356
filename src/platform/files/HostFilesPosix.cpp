#include <cerrno>
#include <utility>

#include <sys/stat.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostStatusPosix.h"
#include "platform/files/PosixCalls.h"

namespace marrowkit {

namespace posix {

HostStatus ToStatus(const struct stat& info) {
    HostStatus status;
    if (S_ISREG(info.st_mode)) status.kind = HostKind::File;
    if (S_ISDIR(info.st_mode)) status.kind = HostKind::Folder;
    status.isLink = S_ISLNK(info.st_mode);
    status.writable = (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    status.size = static_cast<std::uint64_t>(info.st_size);
    status.device = info.st_dev;
    status.inode = info.st_ino;
    status.modifiedNanoseconds = info.st_mtim.tv_sec * std::int64_t{1'000'000'000} + info.st_mtim.tv_nsec;
    return status;
}

}  // namespace posix

using namespace posix;

std::optional<HostStatus> StatusOf(const std::string& hostPath) {
    struct stat info {};
    if (stat(hostPath.c_str(), &info) != 0) return std::nullopt;
    return ToStatus(info);
}

std::optional<HostStatus> LinkStatusOf(const std::string& hostPath) {
    struct stat info {};
    if (lstat(hostPath.c_str(), &info) != 0) return std::nullopt;
    return ToStatus(info);
}

bool IsHiddenEntry(std::string_view name, const HostStatus&) {
    return name.starts_with('.');
}

void RaiseMissingHostFile(const std::string& hostPath) {
    RaiseForHostPath(ENOENT, hostPath);
}

void RaiseHostFolderIsNoFile() {
    RaiseSystemError(EISDIR);
}

HostFile::HostFile(std::string hostPath, Mode mode) : path_(std::move(hostPath)) {
    const int flags = mode == Mode::Read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    handle_ = OpenRetrying(path_.c_str(), flags, kNewFileMode);
    if (handle_ < 0) RaiseForHostPath(errno, path_);
    struct stat info {};
    if (fstat(handle_, &info) != 0) return;
    const bool endless = mode == Mode::Read && (S_ISCHR(info.st_mode) || S_ISBLK(info.st_mode));
    if (S_ISDIR(info.st_mode) || endless) {
        close(std::exchange(handle_, -1));
        RaiseSystemError(EISDIR);
    }
}

HostFile::~HostFile() {
    if (handle_ >= 0) close(handle_);
}

std::uint64_t HostFile::Size() const {
    struct stat info {};
    if (fstat(handle_, &info) != 0) RaiseSystemError(errno);
    return static_cast<std::uint64_t>(info.st_size);
}

std::size_t HostFile::Read(std::span<char> buffer) {
    const ssize_t count = ReadSome(handle_, buffer);
    if (count < 0) RaiseSystemError(errno);
    return static_cast<std::size_t>(count);
}

void HostFile::Write(std::string_view bytes) {
    if (const int code = WriteAll(handle_, bytes); code != 0) RaiseSystemError(code);
}

void HostFile::Close() {
    const int handle = std::exchange(handle_, -1);
    if (handle >= 0 && close(handle) != 0) RaiseSystemError(errno);
}

}  // namespace marrowkit
