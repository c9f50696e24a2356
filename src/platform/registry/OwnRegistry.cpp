#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sys/file.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/registry/RegistryBackend.h"
#include "platform/registry/RegistryText.h"
#include "platform/text/ByteOrderMark.h"
#include "platform/text/CodePage1252.h"

namespace marrowkit {

namespace {

namespace fs = std::filesystem;

/// A file of ours without a mark was saved by something that writes the code page.
std::string Decode(const std::string& bytes, FileEncoding encoding) {
    return encoding == FileEncoding::CodePage1252 ? Cp1252ToUtf8(bytes) : DecodeMarked(bytes, encoding);
}

std::string Encode(const std::string& text, FileEncoding encoding) {
    return encoding == FileEncoding::CodePage1252 ? Utf8ToCp1252(text) : EncodeMarked(text, encoding);
}

std::string WithHive(std::string_view keyPath) {
    return "HKEY_LOCAL_MACHINE\\" + std::string(keyPath);
}

/// Keeps our other processes out for the time of one change. The registry file itself cannot carry the lock:
/// it is replaced.
class ChangeLock {
public:
    explicit ChangeLock(const std::string& file) {
        constexpr mode_t kOwnerOnly = 0600;
        file_ = open((file + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOwnerOnly);
        if (file_ < 0) RaiseForHostPath(errno, file);
        while (flock(file_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ChangeLock(const ChangeLock&) = delete;
    ChangeLock& operator=(const ChangeLock&) = delete;
    ~ChangeLock() { close(file_); }

private:
    int file_ = -1;
};

class OwnRegistry : public RegistryBackend {
public:
    explicit OwnRegistry(std::string file) : file_(std::move(file)) {}

    std::optional<RegistryData> Read(std::string_view keyPath, std::string_view valueName) override {
        if (file_.empty() || !StatusOf(file_)) return std::nullopt;
        const std::string bytes = ReadHostFile(file_);
        const std::string text = Decode(bytes, FileEncodingOf(bytes));
        if (!HasRegistryHeader(text, RegistryDialect::Regedit)) return std::nullopt;
        return FindRegistryValue(text, RegistryDialect::Regedit, WithHive(keyPath), valueName);
    }

    void Write(std::string_view keyPath, std::string_view valueName, const RegistryVariant& value,
               Choose choose) override {
        if (file_.empty()) {
            Raise(RuntimeErrorNumber::PathNotFound,
                  "settings have no place to go, neither XDG_CONFIG_HOME nor HOME is set");
        }
        MakeFolders();
        const ChangeLock lock(file_);
        FileEncoding encoding = FileEncoding::Utf16LittleEndian;
        std::string text = EmptyRegistryText(RegistryDialect::Regedit);
        if (const auto status = StatusOf(file_); status && status->size > 0) {
            const std::string bytes = ReadHostFile(file_);
            encoding = FileEncodingOf(bytes);
            text = Decode(bytes, encoding);
            if (!HasRegistryHeader(text, RegistryDialect::Regedit)) {
                Raise(RuntimeErrorNumber::PathFileAccess, file_ + " is not a registry file");
            }
        }
        const std::string key = WithHive(keyPath);
        const auto present = FindRegistryValue(text, RegistryDialect::Regedit, key, valueName);
        ReplaceHostFile(file_, Encode(WithRegistryValue(text, RegistryDialect::Regedit, key, valueName,
                                                        choose(value, present), std::time(nullptr)),
                                      encoding));
    }

private:
    void MakeFolders() const {
        std::error_code error;
        fs::create_directories(fs::path(file_).parent_path(), error);
        if (error) RaiseSystemError(error.value());
    }

    std::string file_;
};

}  // namespace

std::unique_ptr<RegistryBackend> MakeOwnRegistry() {
    const std::string folder = SettingsHostFolder();
    return MakeOwnRegistry(folder.empty() ? "" : folder + "/registry.reg");
}

std::unique_ptr<RegistryBackend> MakeOwnRegistry(std::string hostPath) {
    return std::make_unique<OwnRegistry>(std::move(hostPath));
}

}  // namespace marrowkit
