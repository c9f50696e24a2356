#include <array>
#include <cerrno>
#include <utility>

#include "platform/errors/RuntimeError.h"

namespace marrowkit {

namespace {

struct NumberedText {
    int number;
    std::string_view text;
};

constexpr std::array kTexts = {
    NumberedText{3, "Return without GoSub"},
    NumberedText{5, "Invalid procedure call or argument"},
    NumberedText{6, "Overflow"},
    NumberedText{7, "Out of memory"},
    NumberedText{9, "Subscript out of range"},
    NumberedText{10, "This array is fixed or temporarily locked"},
    NumberedText{11, "Division by zero"},
    NumberedText{13, "Type mismatch"},
    NumberedText{14, "Out of string space"},
    NumberedText{16, "Expression too complex"},
    NumberedText{17, "Can't perform requested operation"},
    NumberedText{18, "User interrupt occurred"},
    NumberedText{20, "Resume without error"},
    NumberedText{28, "Out of stack space"},
    NumberedText{35, "Sub, Function, or Property not defined"},
    NumberedText{47, "Too many DLL application clients"},
    NumberedText{48, "Error in loading DLL"},
    NumberedText{49, "Bad DLL calling convention"},
    NumberedText{51, "Internal error"},
    NumberedText{52, "Bad file name or number"},
    NumberedText{53, "File not found"},
    NumberedText{54, "Bad file mode"},
    NumberedText{55, "File already open"},
    NumberedText{57, "Device I/O error"},
    NumberedText{58, "File already exists"},
    NumberedText{59, "Bad record length"},
    NumberedText{61, "Disk full"},
    NumberedText{62, "Input past end of file"},
    NumberedText{63, "Bad record number"},
    NumberedText{67, "Too many files"},
    NumberedText{68, "Device unavailable"},
    NumberedText{70, "Permission denied"},
    NumberedText{71, "Disk not ready"},
    NumberedText{74, "Can't rename with different drive"},
    NumberedText{75, "Path/File access error"},
    NumberedText{76, "Path not found"},
    NumberedText{91, "Object variable or With block variable not set"},
    NumberedText{93, "Invalid pattern string"},
    NumberedText{92, "For loop not initialized"},
    NumberedText{93, "Invalid pattern string"},
    NumberedText{94, "Invalid use of Null"},
    NumberedText{321, "Invalid file format"},
    NumberedText{322, "Can't create necessary temporary file"},
    NumberedText{325, "Invalid format in resource file"},
    NumberedText{326, "Resource with identifier not found"},
    NumberedText{380, "Invalid property value"},
    NumberedText{424, "Object required"},
    NumberedText{429, "ActiveX component can't create object"},
    NumberedText{438, "Object doesn't support this property or method"},
    NumberedText{440, "Automation error"},
    NumberedText{445, "Object doesn't support this action"},
    NumberedText{449, "Argument not optional"},
    NumberedText{450, "Wrong number of arguments or invalid property assignment"},
    NumberedText{457, "This key is already associated with an element of this collection"},
    NumberedText{481, "Invalid picture"},
    NumberedText{482, "Printer error"},
};

constexpr std::string_view kUnknownText = "Application-defined or object-defined error";

struct SystemCode {
    int code;
    RuntimeErrorNumber number;
};

#ifdef _WIN32
// Codes of winerror.h, spelled out so that this folder does not pull in the Windows headers.
constexpr std::array kSystemCodes = {
    SystemCode{2, RuntimeErrorNumber::FileNotFound},         // ERROR_FILE_NOT_FOUND
    SystemCode{3, RuntimeErrorNumber::PathNotFound},         // ERROR_PATH_NOT_FOUND
    SystemCode{4, RuntimeErrorNumber::TooManyFiles},         // ERROR_TOO_MANY_OPEN_FILES
    SystemCode{5, RuntimeErrorNumber::PathFileAccess},       // ERROR_ACCESS_DENIED
    SystemCode{8, RuntimeErrorNumber::OutOfMemory},          // ERROR_NOT_ENOUGH_MEMORY
    SystemCode{14, RuntimeErrorNumber::OutOfMemory},         // ERROR_OUTOFMEMORY
    SystemCode{15, RuntimeErrorNumber::PathNotFound},        // ERROR_INVALID_DRIVE
    SystemCode{17, RuntimeErrorNumber::RenameAcrossDrives},  // ERROR_NOT_SAME_DEVICE
    SystemCode{19, RuntimeErrorNumber::PermissionDenied},    // ERROR_WRITE_PROTECT
    SystemCode{21, RuntimeErrorNumber::DiskNotReady},        // ERROR_NOT_READY
    SystemCode{32, RuntimeErrorNumber::PermissionDenied},    // ERROR_SHARING_VIOLATION
    SystemCode{33, RuntimeErrorNumber::PermissionDenied},    // ERROR_LOCK_VIOLATION
    SystemCode{38, RuntimeErrorNumber::InputPastEnd},        // ERROR_HANDLE_EOF
    SystemCode{39, RuntimeErrorNumber::DiskFull},            // ERROR_HANDLE_DISK_FULL
    SystemCode{53, RuntimeErrorNumber::PathNotFound},        // ERROR_BAD_NETPATH
    SystemCode{55, RuntimeErrorNumber::DeviceUnavailable},   // ERROR_DEV_NOT_EXIST
    SystemCode{67, RuntimeErrorNumber::PathNotFound},        // ERROR_BAD_NET_NAME
    SystemCode{80, RuntimeErrorNumber::FileAlreadyExists},   // ERROR_FILE_EXISTS
    SystemCode{112, RuntimeErrorNumber::DiskFull},           // ERROR_DISK_FULL
    SystemCode{123, RuntimeErrorNumber::BadFileName},        // ERROR_INVALID_NAME
    SystemCode{145, RuntimeErrorNumber::PathFileAccess},     // ERROR_DIR_NOT_EMPTY
    SystemCode{161, RuntimeErrorNumber::BadFileName},        // ERROR_BAD_PATHNAME
    SystemCode{183, RuntimeErrorNumber::FileAlreadyExists},  // ERROR_ALREADY_EXISTS
    SystemCode{206, RuntimeErrorNumber::BadFileName},        // ERROR_FILENAME_EXCED_RANGE
    SystemCode{267, RuntimeErrorNumber::PathNotFound},       // ERROR_DIRECTORY
    SystemCode{1224, RuntimeErrorNumber::PermissionDenied},  // ERROR_USER_MAPPED_FILE
    SystemCode{1295, RuntimeErrorNumber::DiskFull},          // ERROR_DISK_QUOTA_EXCEEDED
    SystemCode{1392, RuntimeErrorNumber::DeviceIoError},     // ERROR_FILE_CORRUPT
};
#else
constexpr std::array kSystemCodes = {
    SystemCode{ENOENT, RuntimeErrorNumber::FileNotFound},
    SystemCode{ENOTDIR, RuntimeErrorNumber::PathNotFound},
    SystemCode{ELOOP, RuntimeErrorNumber::PathNotFound},
    SystemCode{EACCES, RuntimeErrorNumber::PathFileAccess},
    SystemCode{EPERM, RuntimeErrorNumber::PathFileAccess},
    SystemCode{EISDIR, RuntimeErrorNumber::PathFileAccess},
    SystemCode{ENOTEMPTY, RuntimeErrorNumber::PathFileAccess},
    SystemCode{EROFS, RuntimeErrorNumber::PathFileAccess},
    SystemCode{EBUSY, RuntimeErrorNumber::PermissionDenied},
    SystemCode{ETXTBSY, RuntimeErrorNumber::PermissionDenied},
    SystemCode{EAGAIN, RuntimeErrorNumber::PermissionDenied},
    SystemCode{EEXIST, RuntimeErrorNumber::FileAlreadyExists},
    SystemCode{ENOSPC, RuntimeErrorNumber::DiskFull},
    SystemCode{EDQUOT, RuntimeErrorNumber::DiskFull},
    SystemCode{EFBIG, RuntimeErrorNumber::DiskFull},
    SystemCode{EMFILE, RuntimeErrorNumber::TooManyFiles},
    SystemCode{ENFILE, RuntimeErrorNumber::TooManyFiles},
    SystemCode{ENOMEM, RuntimeErrorNumber::OutOfMemory},
    SystemCode{ENAMETOOLONG, RuntimeErrorNumber::BadFileName},
    SystemCode{EINVAL, RuntimeErrorNumber::BadFileName},
    SystemCode{EXDEV, RuntimeErrorNumber::RenameAcrossDrives},
    SystemCode{ENXIO, RuntimeErrorNumber::DeviceUnavailable},
    SystemCode{ENODEV, RuntimeErrorNumber::DeviceUnavailable},
};
#endif

int lastPlatformErrorCode = 0;
int codeOfNextError = 0;

}  // namespace

RuntimeError::RuntimeError(int number_, std::string description_)
    : number(number_),
      description(std::move(description_)),
      platformCode(std::exchange(codeOfNextError, 0)) {}

std::string_view RuntimeErrorText(int number) {
    for (const NumberedText& entry : kTexts) {
        if (entry.number == number) return entry.text;
    }
    return kUnknownText;
}

void Raise(RuntimeErrorNumber number) {
    throw RuntimeError(static_cast<int>(number), std::string(RuntimeErrorText(static_cast<int>(number))));
}

void Raise(RuntimeErrorNumber number, std::string_view detail) {
    std::string text(RuntimeErrorText(static_cast<int>(number)));
    text.append(": ").append(detail);
    throw RuntimeError(static_cast<int>(number), std::move(text));
}

RuntimeErrorNumber RuntimeErrorOfSystemCode(int systemCode) {
    for (const SystemCode& entry : kSystemCodes) {
        if (entry.code == systemCode) return entry.number;
    }
    return RuntimeErrorNumber::DeviceIoError;
}

void RaiseSystemError(int systemCode) {
    SetLastPlatformErrorCode(systemCode);
    Raise(RuntimeErrorOfSystemCode(systemCode));
}

int LastPlatformErrorCode() {
    return lastPlatformErrorCode;
}
void SetLastPlatformErrorCode(int systemCode) {
    lastPlatformErrorCode = codeOfNextError = systemCode;
}
void ClearLastPlatformErrorCode() {
    lastPlatformErrorCode = codeOfNextError = 0;
}

std::string ErrorText(const RuntimeError& error) {
    return error.description + "  (" + std::to_string(error.number) + "," +
           std::to_string(error.platformCode) + ")";
}

}  // namespace marrowkit
