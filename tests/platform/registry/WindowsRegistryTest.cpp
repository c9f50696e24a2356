#include <windows.h>

#include <gtest/gtest.h>

#include "platform/registry/RegistryStore.h"

namespace marrowkit {
namespace {

constexpr const char* kHive = "HKEY_LOCAL_MACHINE";
constexpr const char* kKey = "Software\\Marrowkit Test\\Settings";

/// Takes the key away again. Whoever may not write below HKEY_LOCAL_MACHINE tests nothing.
class WindowsRegistryTest : public testing::Test {
protected:
    void SetUp() override {
        HKEY key = nullptr;
        const LSTATUS opened = RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Marrowkit Test", 0, nullptr, 0,
                                               KEY_WRITE | KEY_WOW64_32KEY, nullptr, &key, nullptr);
        if (opened != ERROR_SUCCESS) GTEST_SKIP() << "writing the registry needs an administrator";
        RegCloseKey(key);
    }
    void TearDown() override {
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Marrowkit Test\\Settings", KEY_WOW64_32KEY, 0);
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Marrowkit Test", KEY_WOW64_32KEY, 0);
    }

    /// The type of a value as a program of that word size sees it; REG_NONE for none.
    static DWORD TypeSeenBy(REGSAM wordSize, const wchar_t* name) {
        HKEY key = nullptr;
        DWORD type = REG_NONE;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Marrowkit Test\\Settings", 0, KEY_READ | wordSize,
                          &key) != ERROR_SUCCESS) {
            return type;
        }
        RegQueryValueExW(key, name, nullptr, &type, nullptr, nullptr);
        RegCloseKey(key);
        return type;
    }
};

TEST_F(WindowsRegistryTest, KeepsTextsAndNumbersWhereA32BitProgramLooks) {
    RegistryStore store;
    store.WriteValue(kHive, kKey, "Text", std::string("Caf\xC3\xA9 \xE6\x97\xA5"));
    store.WriteValue(kHive, kKey, "Number", std::int32_t{-5});
    store.WriteValue(kHive, kKey, "Single", 2.5F);
    EXPECT_EQ(TypeSeenBy(KEY_WOW64_32KEY, L"Text"), REG_SZ);
    EXPECT_EQ(TypeSeenBy(KEY_WOW64_32KEY, L"Number"), REG_DWORD);
    EXPECT_EQ(TypeSeenBy(KEY_WOW64_32KEY, L"Single"), REG_SZ);
    EXPECT_EQ(TypeSeenBy(KEY_WOW64_64KEY, L"Text"), REG_NONE);

    RegistryVariant text = std::string();
    RegistryVariant number = std::int32_t{0};
    RegistryVariant single = 0.0F;
    std::int32_t status = -1;
    store.ReadValue(kHive, kKey, "Text", text, status);
    EXPECT_EQ(std::get<std::string>(text), "Caf\xC3\xA9 \xE6\x97\xA5");
    EXPECT_EQ(status, 0);
    store.ReadValue(kHive, kKey, "Number", number, status);
    EXPECT_EQ(std::get<std::int32_t>(number), -5);
    store.ReadValue(kHive, kKey, "Single", single, status);
    EXPECT_EQ(std::get<float>(single), 2.5F);
}

TEST_F(WindowsRegistryTest, AMissingValueLeavesTheVariableAlone) {
    RegistryVariant number = std::int32_t{7};
    std::int32_t status = 0;
    RegistryStore().ReadValue(kHive, kKey, "Nothing", number, status);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(std::get<std::int32_t>(number), 7);
}

TEST_F(WindowsRegistryTest, AValueKeepsItsType) {
    RegistryStore store;
    store.WriteValue(kHive, kKey, "NumFilters", std::string("12"));
    store.WriteValue(kHive, kKey, "NumFilters", std::int32_t{0});
    EXPECT_EQ(TypeSeenBy(KEY_WOW64_32KEY, L"NumFilters"), REG_SZ);
}

}  // namespace
}  // namespace marrowkit
