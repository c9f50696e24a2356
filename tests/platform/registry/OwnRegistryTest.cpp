#include <cstdlib>
#include <filesystem>
#include <unistd.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/registry/RegistryStore.h"
#include "platform/text/ByteOrderMark.h"
#include "support/TemporaryFolder.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* kHive = "HKEY_LOCAL_MACHINE";
constexpr const char* kWindow = "Software\\Quillon\\Marrowkit\\Window";

template <typename Action>
int RaisedBy(Action action) {
    try {
        action();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

class OwnRegistryTest : public testing::Test {
protected:
    std::string File() const { return (folder_.Path() / "config/registry.reg").string(); }
    RegistryStore Store() const { return RegistryStore(MakeOwnRegistry(File())); }
    std::string Text() const {
        const std::string bytes = test::ReadFile(File());
        return DecodeMarked(bytes, FileEncodingOf(bytes));
    }
    void Put(std::string_view text) const {
        test::WriteFile(File(), EncodeMarked(text, FileEncoding::Utf16LittleEndian));
    }
    RegistryVariant Read(RegistryVariant value, const char* name, const char* key = kWindow) const {
        std::int32_t status = 0;
        Store().ReadValue(kHive, key, name, value, status);
        return value;
    }

private:
    test::TemporaryFolder folder_;
};

TEST_F(OwnRegistryTest, AMissingValueLeavesTheDefault) {
    EXPECT_EQ(Read(0.0F, "MainWidth"), RegistryVariant(0.0F));
    EXPECT_EQ(Read("C:\\", "Path"), RegistryVariant("C:\\"));
    RegistryVariant value = 5;
    std::int32_t status = 0;
    Store().ReadValue(kHive, kWindow, "x", value, status, true);
    EXPECT_EQ(value, RegistryVariant(5));
    EXPECT_EQ(status, 2);
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(OwnRegistryTest, ValuesComeBackInTheirTypes) {
    Store().WriteValue(kHive, kWindow, "MainWidth", 4770.0F);
    Store().WriteValue(kHive, kWindow, "MainTop", -1.5F);
    Store().WriteValue(kHive, kWindow, "Tiny", 1.17549435e-38F);
    Store().WriteValue(kHive, kWindow, "Count", -2);
    Store().WriteValue(kHive, kWindow, "Path", "C:\\Röms € \"x\" α😀");
    EXPECT_EQ(Read(0.0F, "MAINWIDTH"), RegistryVariant(4770.0F));
    EXPECT_EQ(Read(0.0F, "MainTop"), RegistryVariant(-1.5F));
    EXPECT_EQ(Read(0.0F, "Tiny"), RegistryVariant(1.17549435e-38F));
    EXPECT_EQ(Read(0, "Count"), RegistryVariant(-2));
    EXPECT_EQ(Read("", "Path", "SOFTWARE\\quillon\\MARROWKIT\\window"),
              RegistryVariant("C:\\Röms € \"x\" α😀"));
    EXPECT_EQ(Text(),
              "Windows Registry Editor Version 5.00\r\n"
              "\r\n"
              "[HKEY_LOCAL_MACHINE\\Software\\Quillon\\Marrowkit\\Window]\r\n"
              "\"MainWidth\"=\"4770\"\r\n"
              "\"MainTop\"=\"-1.5\"\r\n"
              "\"Tiny\"=\"1.1754944e-38\"\r\n"
              "\"Count\"=dword:fffffffe\r\n"
              "\"Path\"=\"C:\\\\Röms € \\\"x\\\" α😀\"\r\n");
    EXPECT_EQ(test::ReadFile(File()).substr(0, 4), std::string_view("\xFF\xFEW\0", 4));
}

TEST_F(OwnRegistryTest, ValuesAreConvertedToWhatIsAskedFor) {
    Put("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\" + std::string(kWindow) +
        "]\r\n\"n\"=dword:0000002a\r\n\"t\"=\"7\"\r\n\"bad\"=\"seven\"\r\n\"big\"=\"99999999999\"\r\n\"b\"="
        "hex:01\r\n");
    EXPECT_EQ(Read(0.0F, "n"), RegistryVariant(42.0F));
    EXPECT_EQ(Read("", "n"), RegistryVariant("42"));
    EXPECT_EQ(Read(0, "t"), RegistryVariant(7));
    EXPECT_EQ(Read(0.0F, "t"), RegistryVariant(7.0F));
    EXPECT_EQ(Read("default", "b"), RegistryVariant("default"));
    EXPECT_EQ(RaisedBy([this] { Read(0.0F, "bad"); }), 13);
    EXPECT_EQ(RaisedBy([this] { Read(0, "bad"); }), 13);
    EXPECT_EQ(RaisedBy([this] { Read(0, "big"); }), 6);
}

TEST_F(OwnRegistryTest, AnExistingTypeIsKept) {
    const std::string before =
        "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n"
        "\"text\"=\"3\"\r\n\"number\"=dword:00000003\r\n\"other\"=hex:01\r\n";
    Put(before);
    Store().WriteValue(kHive, "A", "text", 0);
    Store().WriteValue(kHive, "A", "number", 12.0F);
    Store().WriteValue(kHive, "A", "other", 5);
    EXPECT_EQ(Text(),
              "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\A]\r\n"
              "\"text\"=\"0\"\r\n\"number\"=dword:0000000c\r\n\"other\"=dword:00000005\r\n");
    Store().WriteValue(kHive, "A", "number", "no number");
    EXPECT_EQ(Read("", "number", "A"), RegistryVariant("no number"));
}

TEST_F(OwnRegistryTest, AForeignFileIsLeftAlone) {
    for (const char* bytes : {"just some notes\r\n", "REGEDIT5\r\n[A]\r\n"}) {
        test::WriteFile(File(), bytes);
        EXPECT_EQ(RaisedBy([this] { Store().WriteValue(kHive, "A", "x", 1); }), 75);
        EXPECT_EQ(test::ReadFile(File()), bytes);
        EXPECT_EQ(Read("default", "x", "A"), RegistryVariant("default"));
    }
}

TEST_F(OwnRegistryTest, AnOldFileStaysInTheCodePage) {
    test::WriteFile(File(), "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\\xC4]\r\n\"x\"=\"\x80\x81\"\r\n");
    EXPECT_EQ(Read("", "x", "ä"), RegistryVariant("€\xC2\x81"));
    Store().WriteValue(kHive, "Ä", "y", "ü");
    EXPECT_EQ(test::ReadFile(File()),
              "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\\xC4]\r\n\"x\"=\"\x80\x81\"\r\n\"y\"=\"\xFC\"\r\n");
}

TEST_F(OwnRegistryTest, OnlyTheMachineHiveIsServed) {
    RegistryVariant value;
    std::int32_t status = 0;
    EXPECT_EQ(RaisedBy([&] { Store().ReadValue("HKEY_CURRENT_USER", "A", "x", value, status); }), 5);
    EXPECT_EQ(RaisedBy([&] { Store().WriteValue("", "A", "x", 1); }), 5);
    EXPECT_EQ(RaisedBy([&] { Store().WriteValue(kHive, "", "x", 1); }), 5);
}

TEST_F(OwnRegistryTest, ProcessesDoNotLoseEachOthersValues) {
    constexpr int kProcesses = 4;
    constexpr int kValues = 25;
    for (int p = 0; p < kProcesses; ++p) {
        if (fork() != 0) continue;
        for (int i = 0; i < kValues; ++i) Store().WriteValue(kHive, "A", std::to_string(p * kValues + i), i);
        _exit(0);
    }
    for (int p = 0; p < kProcesses; ++p) {
        int status = 0;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    for (int i = 0; i < kProcesses * kValues; ++i) {
        EXPECT_EQ(Read(-1, std::to_string(i).c_str(), "A"), RegistryVariant(i % kValues));
    }
}

/// An environment variable for the time of a scope; nullptr removes it.
class Environment {
public:
    Environment(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        Set(value);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() { Set(old_ ? old_->c_str() : nullptr); }

private:
    void Set(const char* value) const {
        if (value != nullptr) {
            setenv(name_, value, 1);
        } else {
            unsetenv(name_);
        }
    }
    const char* name_;
    std::optional<std::string> old_;
};

TEST(OwnRegistryPlace, IsTheUsersConfigFolder) {
    const test::TemporaryFolder folder;
    UseDrives(DriveMap());
    {
        const Environment config("XDG_CONFIG_HOME", (folder.Path() / "config").c_str());
        RegistryStore().WriteValue(kHive, "A", "x", 1);
        EXPECT_TRUE(fs::exists(folder / "config/marrowkit/registry.reg"));
    }
    const Environment home("HOME", folder.Path().c_str());
    for (const char* ignored : {static_cast<const char*>(nullptr), "", "relative"}) {
        const Environment config("XDG_CONFIG_HOME", ignored);
        RegistryStore().WriteValue(kHive, "A", "x", 1);
        EXPECT_TRUE(fs::exists(folder / ".config/marrowkit/registry.reg"));
        fs::remove_all(folder / ".config");
    }
}

TEST(OwnRegistryPlace, WithoutAHomeWritingSaysSo) {
    UseDrives(DriveMap());
    const Environment config("XDG_CONFIG_HOME", nullptr);
    const Environment home("HOME", nullptr);
    RegistryVariant value = "default";
    std::int32_t status = 0;
    RegistryStore().ReadValue(kHive, "A", "x", value, status);
    EXPECT_EQ(value, RegistryVariant("default"));
    try {
        RegistryStore().WriteValue(kHive, "A", "x", 1);
        ADD_FAILURE() << "nothing was raised";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 76);
        EXPECT_EQ(error.description,
                  "Path not found: settings have no place to go, neither XDG_CONFIG_HOME nor HOME is set");
    }
}

TEST(OwnRegistryPlace, AFileInTheWayIsAnError) {
    const test::TemporaryFolder folder;
    UseDrives(DriveMap());
    test::WriteFile(folder / "config", "a file");
    const Environment config("XDG_CONFIG_HOME", (folder.Path() / "config").c_str());
    EXPECT_EQ(RaisedBy([] { RegistryStore().WriteValue(kHive, "A", "x", 1); }), 76);
}

}  // namespace
}  // namespace marrowkit
