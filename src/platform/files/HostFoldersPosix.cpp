#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/stat.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/HostStatusPosix.h"
#include "platform/files/PosixCalls.h"

namespace marrowkit {

using namespace posix;

namespace {

namespace fs = std::filesystem;

constexpr mode_t kNewFolderMode = 0777;  // less the umask

#ifdef O_PATH
constexpr int kOpenFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;  // needs no right to list it
#else
constexpr int kOpenFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

std::optional<HostKind> KindInListing(const dirent& entry) {
    switch (entry.d_type) {
        case DT_REG:
            return HostKind::File;
        case DT_DIR:
            return HostKind::Folder;
        case DT_LNK:
        case DT_UNKNOWN:
            return std::nullopt;
        default:
            return HostKind::Other;
    }
}

}  // namespace

void MakeHostFolder(const std::string& hostPath) {
    if (mkdir(hostPath.c_str(), kNewFolderMode) == 0) return;
    const int code = errno;
    SetLastPlatformErrorCode(code);
    if (code == EEXIST) Raise(RuntimeErrorNumber::PathFileAccess);
    if (code == ENOENT) Raise(RuntimeErrorNumber::PathNotFound);
    RaiseSystemError(code);
}

HostFolderReader::HostFolderReader(const std::string& hostFolder) : stream_(opendir(hostFolder.c_str())) {}

HostFolderReader::~HostFolderReader() {
    if (stream_ != nullptr) closedir(static_cast<DIR*>(stream_));
}

const char* HostFolderReader::NextName() {
    name_ = nullptr;
    if (stream_ == nullptr) return nullptr;
    while (const dirent* entry = readdir(static_cast<DIR*>(stream_))) {
        if (IsDotOrDotDot(entry->d_name)) continue;
        name_ = entry->d_name;
        listedKind_ = KindInListing(*entry);
        break;
    }
    return name_;
}

std::optional<HostStatus> HostFolderReader::Status() const {
    struct stat info {};
    if (name_ == nullptr || fstatat(dirfd(static_cast<DIR*>(stream_)), name_, &info, 0) != 0) {
        return std::nullopt;
    }
    return ToStatus(info);
}

bool HostFolderReader::CanLookAtEntries() const {
    struct stat info {};
    return stream_ != nullptr && fstatat(dirfd(static_cast<DIR*>(stream_)), ".", &info, 0) == 0;
}

OpenHostFolder::OpenHostFolder(const std::string& hostFolder)
    : path_(hostFolder), descriptor_(open(path_.c_str(), kOpenFolderFlags)) {
    if (!path_.ends_with('/')) path_ += '/';
}

OpenHostFolder::~OpenHostFolder() {
    if (descriptor_ >= 0) close(descriptor_);
}

std::string OpenHostFolder::PathOf(std::string_view name) const {
    return std::string(path_).append(name);
}

std::string HostParentOf(const std::string& hostPath) {
    const std::size_t slash = hostPath.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : hostPath.substr(0, slash);
}

std::string HostPathBelow(const std::string& hostFolder, std::string_view name) {
    std::string path = hostFolder;
    if (path.empty() || path.back() != '/') path.push_back('/');
    return path.append(name);
}

std::string CanonicalHostPath(const std::string& hostPath) {
    std::error_code error;
    fs::path path = fs::weakly_canonical(hostPath, error);
    if (error) path = fs::absolute(hostPath, error).lexically_normal();
    return path.string();
}

std::string CurrentHostFolder() {
    std::error_code error;
    const fs::path folder = fs::current_path(error);
    return error ? "/" : folder.string();
}

std::string ProgramHostFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? CurrentHostFolder() : program.parent_path().string();
}

std::string SettingsHostFolder() {
    const std::string config = EnvironmentText("XDG_CONFIG_HOME");
    if (config.starts_with('/')) return config + "/marrowkit";
    const std::string home = EnvironmentText("HOME");
    if (home.starts_with('/')) return home + "/.config/marrowkit";
    return "";
}

std::string EnvironmentText(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace marrowkit
