#include <memory>
#include <string>
#include <utility>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostFiles.h"
#include "platform/files/WindowsCalls.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

using namespace windows;

namespace {

/// A listing and the entry it has come to. The system gives the first one along with the listing.
struct Listing {
    explicit Listing(const std::string& hostFolder)
        : folder(hostFolder),
          handle(FindFirstFileExW(WidePath(HostPathBelow(hostFolder, "*")).c_str(), FindExInfoBasic, &entry,
                                  FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH)) {}
    Listing(const Listing&) = delete;
    Listing& operator=(const Listing&) = delete;
    ~Listing() {
        if (handle != INVALID_HANDLE_VALUE) FindClose(handle);
    }

    std::string folder;
    WIN32_FIND_DATAW entry{};
    HANDLE handle;
    bool isFirst = true;
    std::string name;
};

Listing* ListingOf(void* stream) {
    return static_cast<Listing*>(stream);
}

/// What a call fills in that returns the number of characters, or the size that it needs.
template <typename Fill>
std::wstring Filled(const Fill& fill) {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = fill(text.data(), static_cast<DWORD>(text.size()));
        const bool fitted = length < text.size();
        text.resize(fitted ? length : text.size() * 2);
        if (fitted) return text;
    }
}

}  // namespace

void MakeHostFolder(const std::string& hostPath) {
    if (CreateDirectoryW(WidePath(hostPath).c_str(), nullptr) != 0) return;
    const int code = LastError();
    SetLastPlatformErrorCode(code);
    if (code == ERROR_ALREADY_EXISTS) Raise(RuntimeErrorNumber::PathFileAccess);
    if (code == ERROR_FILE_NOT_FOUND) Raise(RuntimeErrorNumber::PathNotFound);
    RaiseSystemError(code);
}

HostFolderReader::HostFolderReader(const std::string& hostFolder) : stream_(nullptr) {
    auto listing = std::make_unique<Listing>(hostFolder);
    // A drive's root may be empty altogether: then not even "." is found.
    const bool empty = listing->handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND;
    if (listing->handle != INVALID_HANDLE_VALUE || empty) stream_ = listing.release();
}

HostFolderReader::~HostFolderReader() {
    delete ListingOf(stream_);
}

const char* HostFolderReader::NextName() {
    name_ = nullptr;
    Listing* const listing = ListingOf(stream_);
    if (listing == nullptr || listing->handle == INVALID_HANDLE_VALUE) return nullptr;
    while (std::exchange(listing->isFirst, false) || FindNextFileW(listing->handle, &listing->entry) != 0) {
        if (IsDotOrDotDot(listing->entry.cFileName)) continue;
        listing->name = FromWide(listing->entry.cFileName);
        name_ = listing->name.c_str();
        const bool folder = (listing->entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        listedKind_ = folder ? HostKind::Folder : HostKind::File;
        if (IsLink(listing->entry)) listedKind_ = std::nullopt;
        break;
    }
    return name_;
}

std::optional<HostStatus> HostFolderReader::Status() const {
    if (name_ == nullptr) return std::nullopt;
    const Listing& listing = *ListingOf(stream_);
    if (!IsLink(listing.entry)) return ToStatus(listing.entry);
    return StatusOf(HostPathBelow(listing.folder, name_));
}

/// Listing a folder takes the same right as looking at what is in it.
bool HostFolderReader::CanLookAtEntries() const {
    return stream_ != nullptr;
}

OpenHostFolder::OpenHostFolder(const std::string& hostFolder) : path_(HostPathBelow(hostFolder, "")) {}
OpenHostFolder::~OpenHostFolder() = default;

std::string OpenHostFolder::PathOf(std::string_view name) const {
    return std::string(path_).append(name);
}

std::string HostParentOf(const std::string& hostPath) {
    const std::size_t end = hostPath.find_last_not_of("\\/");
    const std::size_t slash = hostPath.find_last_of("\\/", end);
    if (slash == std::string::npos) return hostPath.size() > 1 && hostPath[1] == ':' ? hostPath : ".";
    if (end == std::string::npos || slash < 2) return hostPath.substr(0, slash + 1);  // "\name", a share
    if (hostPath[slash - 1] == ':') return hostPath.substr(0, slash + 1);
    return hostPath.substr(0, slash);
}

std::string HostPathBelow(const std::string& hostFolder, std::string_view name) {
    std::string path = hostFolder;
    if (path.empty() || (path.back() != '\\' && path.back() != '/')) path.push_back('\\');
    return path.append(name);
}

std::string CanonicalHostPath(const std::string& hostPath) {
    const Handle entry(CreateFileW(WidePath(hostPath).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!entry.IsOpen()) return FromWidePath(WidePath(hostPath));
    const std::wstring path = Filled([&](wchar_t* buffer, DWORD size) {
        return GetFinalPathNameByHandleW(entry.Get(), buffer, size, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    });
    return FromWidePath(path.empty() ? WidePath(hostPath) : path);
}

std::string CurrentHostFolder() {
    const std::wstring folder = Filled([](wchar_t* b, DWORD size) { return GetCurrentDirectoryW(size, b); });
    return folder.empty() ? R"(C:\)" : FromWidePath(folder);
}

std::string ProgramHostFolder() {
    const std::wstring program =
        Filled([](wchar_t* b, DWORD size) { return GetModuleFileNameW(nullptr, b, size); });
    return program.empty() ? CurrentHostFolder() : HostParentOf(FromWidePath(program));
}

std::string SettingsHostFolder() {
    const std::string folder = EnvironmentText("APPDATA");
    return folder.empty() ? "" : HostPathBelow(folder, "Marrowkit");
}

std::string EnvironmentText(const char* name) {
    const std::wstring wideName = ToWide(name);
    return FromWide(
        Filled([&](wchar_t* b, DWORD size) { return GetEnvironmentVariableW(wideName.c_str(), b, size); }));
}

}  // namespace marrowkit
