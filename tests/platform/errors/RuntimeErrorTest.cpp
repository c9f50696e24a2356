#include <cerrno>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"

namespace marrowkit {
namespace {

struct TextCase {
    int number;
    const char* text;
};

constexpr TextCase kTexts[] = {
    {5, "Invalid procedure call or argument"},
    {6, "Overflow"},
    {7, "Out of memory"},
    {13, "Type mismatch"},
    {52, "Bad file name or number"},
    {53, "File not found"},
    {57, "Device I/O error"},
    {58, "File already exists"},
    {61, "Disk full"},
    {62, "Input past end of file"},
    {70, "Permission denied"},
    {74, "Can't rename with different drive"},
    {75, "Path/File access error"},
    {76, "Path not found"},
    {91, "Object variable or With block variable not set"},
    {481, "Invalid picture"},
    {0, "Application-defined or object-defined error"},
    {-1, "Application-defined or object-defined error"},
    {3343, "Application-defined or object-defined error"},
};

TEST(RuntimeErrorText, IsTheRuntimesOwn) {
    for (const TextCase& c : kTexts) EXPECT_EQ(RuntimeErrorText(c.number), c.text) << c.number;
}

RuntimeError Caught(void (*raise)()) {
    try {
        raise();
    } catch (const RuntimeError& error) {
        return error;
    }
    return {0, "nothing was raised"};
}

TEST(Raise, CarriesNumberAndText) {
    const RuntimeError error = Caught([] { Raise(RuntimeErrorNumber::TypeMismatch); });
    EXPECT_EQ(error.number, 13);
    EXPECT_EQ(error.description, "Type mismatch");
    EXPECT_STREQ(error.what(), "Type mismatch");
}

TEST(Raise, AppendsTheDetail) {
    const RuntimeError error = Caught([] { Raise(RuntimeErrorNumber::PermissionDenied, "in use by 812"); });
    EXPECT_EQ(error.number, 70);
    EXPECT_EQ(error.description, "Permission denied: in use by 812");
}

TEST(ErrorText, NamesTheNumberAndTheLastPlatformCode) {
    ClearLastPlatformErrorCode();
    EXPECT_EQ(ErrorText({6, "Overflow"}), "Overflow  (6,0)");
    SetLastPlatformErrorCode(17);
    EXPECT_EQ(ErrorText({3022, "Duplicate values."}), "Duplicate values.  (3022,17)");
    ClearLastPlatformErrorCode();
    EXPECT_EQ(LastPlatformErrorCode(), 0);
}

TEST(ErrorText, DoesNotNameTheCodeOfAnEarlierFailure) {
    try {
        RaiseSystemError(2);
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.platformCode, 2);
        EXPECT_EQ(ErrorText({3075, "Syntax error."}), "Syntax error.  (3075,0)");
        EXPECT_EQ(ErrorText(error),
                  std::string(RuntimeErrorText(error.number)) + "  (" + std::to_string(error.number) + ",2)");
    }
}

#ifndef _WIN32
struct SystemCase {
    int code;
    int number;
};

constexpr SystemCase kSystemCodes[] = {
    {ENOENT, 53}, {ENOTDIR, 76}, {EACCES, 75}, {EISDIR, 75},       {EROFS, 75}, {ENOSPC, 61},
    {EFBIG, 61},  {EEXIST, 58},  {EXDEV, 74},  {EMFILE, 67},       {EIO, 57},   {ETXTBSY, 70},
    {EBUSY, 70},  {ENOMEM, 7},   {ENXIO, 68},  {ENAMETOOLONG, 52}, {12345, 57},
};

TEST(RaiseSystemError, MapsTheCodeAndRemembersIt) {
    for (const SystemCase& c : kSystemCodes) {
        ClearLastPlatformErrorCode();
        try {
            RaiseSystemError(c.code);
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, c.number) << c.code;
            EXPECT_EQ(error.description, RuntimeErrorText(c.number)) << c.code;
        }
        EXPECT_EQ(LastPlatformErrorCode(), c.code);
    }
    ClearLastPlatformErrorCode();
}
#endif

}  // namespace
}  // namespace marrowkit
