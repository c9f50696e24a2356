#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace marrowkit {

/// The one exception of the program: a numbered error of the classic BASIC runtime (5, 13, 53, 70 ...) or of
/// DAO (3000 and up), with the text that is shown to the user.
///
/// Conditions that a caller expects (a missing file, a version too old) are asked about and answered, not
/// thrown.
struct RuntimeError : std::exception {
    /// Takes along the code of the system call that has just failed, when SetLastPlatformErrorCode told one.
    RuntimeError(int number_, std::string description_);

    const char* what() const noexcept override { return description.c_str(); }

    int number;
    std::string description;
    /// errno (GetLastError on Windows) of the failed system call that this error tells of; 0 when it tells of
    /// none, whatever else may have failed and been dealt with before.
    int platformCode;
};

/// Numbers of the runtime's own errors, as far as anything here raises them. DAO's numbers are in
/// platform/jet/format/JetErrors.h.
enum class RuntimeErrorNumber : int {
    InvalidProcedureCall = 5,
    Overflow = 6,
    OutOfMemory = 7,
    TypeMismatch = 13,
    UserInterrupt = 18,
    InternalError = 51,
    BadFileName = 52,
    FileNotFound = 53,
    BadFileMode = 54,
    FileAlreadyOpen = 55,
    DeviceIoError = 57,
    FileAlreadyExists = 58,
    DiskFull = 61,
    InputPastEnd = 62,
    TooManyFiles = 67,
    DeviceUnavailable = 68,
    PermissionDenied = 70,
    DiskNotReady = 71,
    RenameAcrossDrives = 74,
    PathFileAccess = 75,
    PathNotFound = 76,
    ObjectNotSet = 91,
    InvalidPattern = 93,
    ComponentCannotCreate = 429,
    InvalidPicture = 481,
};

/// The runtime's English text for a number ("File not found"), or "Application-defined or object-defined
/// error" for a number it does not know.
std::string_view RuntimeErrorText(int number);

/// A RuntimeError with the runtime's own text.
[[noreturn]] void Raise(RuntimeErrorNumber number);

/// The same with more said: "Permission denied: the registry file is in use by wineserver (process 812)".
[[noreturn]] void Raise(RuntimeErrorNumber number, std::string_view detail);

/// Raises what a failed system call means to the runtime (ENOENT -> 53, ENOTDIR -> 76, EACCES -> 70 or 75,
/// ENOSPC -> 61 ...) and records `systemCode` as the last platform error code. `systemCode` is an errno
/// value, on Windows one of GetLastError. The number is the one that opening or reading a file raises.
[[noreturn]] void RaiseSystemError(int systemCode);

/// The number that RaiseSystemError raises for a system code; 57 (device I/O error) for one it does not know.
RuntimeErrorNumber RuntimeErrorOfSystemCode(int systemCode);

/// errno (GetLastError on Windows) of the system call that failed last in our own calls; 0 if none has since
/// the program or ClearLastPlatformErrorCode().
int LastPlatformErrorCode();
/// Also the platform code of the RuntimeError that is made next, and of no other: call it right before.
void SetLastPlatformErrorCode(int systemCode);
void ClearLastPlatformErrorCode();

/// What an import stage returns for a trapped error: description, two blanks, "(number,code)", where code is
/// the error's platform code. An empty text means success everywhere else.
std::string ErrorText(const RuntimeError& error);

}  // namespace marrowkit
