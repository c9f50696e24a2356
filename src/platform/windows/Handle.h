#pragma once

#include <utility>
#include <windows.h>

namespace marrowkit::windows {

/// A handle of the kernel that closes itself.
class Handle {
public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { Close(); }

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr; }
    HANDLE Get() const { return handle_; }
    /// False, and GetLastError, when closing failed.
    bool Close() {
        const HANDLE handle = std::exchange(handle_, INVALID_HANDLE_VALUE);
        return handle == INVALID_HANDLE_VALUE || handle == nullptr || CloseHandle(handle) != 0;
    }

private:
    HANDLE handle_;
};

/// GetLastError, as RuntimeError.h takes system codes.
inline int LastError() {
    return static_cast<int>(GetLastError());
}

}  // namespace marrowkit::windows
