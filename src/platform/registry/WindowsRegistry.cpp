#include <algorithm>
#include <utility>
#include <vector>
#include <windows.h>

#include "platform/errors/RuntimeError.h"
#include "platform/registry/RegistryBackend.h"
#include "platform/text/Utf16.h"
#include "platform/windows/WideText.h"

namespace marrowkit {

using windows::ToWide;

namespace {

/// An open key; the 32-bit view, because the frontend is a 32-bit program.
class Key {
public:
    explicit Key(HKEY key) : key_(key) {}
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() { RegCloseKey(key_); }
    HKEY Get() const { return key_; }

private:
    HKEY key_;
};

std::optional<RegistryData> ReadFrom(HKEY key, const std::wstring& name) {
    DWORD type = 0;
    DWORD bytes = 0;
    LSTATUS result = RegQueryValueExW(key, name.c_str(), nullptr, &type, nullptr, &bytes);
    std::vector<std::uint8_t> data;
    do {
        data.resize(bytes);
        if (result == ERROR_FILE_NOT_FOUND) return std::nullopt;
        result = RegQueryValueExW(key, name.c_str(), nullptr, &type, data.data(), &bytes);
    } while (result == ERROR_MORE_DATA);
    if (result == ERROR_FILE_NOT_FOUND) return std::nullopt;
    if (result != ERROR_SUCCESS) RaiseSystemError(static_cast<int>(result));
    data.resize(bytes);

    using Type = RegistryData::Type;
    if (type == REG_DWORD && data.size() == 4) {
        const std::uint32_t number =
            data[0] | (data[1] << 8U) | (data[2] << 16U) | (static_cast<std::uint32_t>(data[3]) << 24U);
        return RegistryData{Type::Number, "", number};
    }
    if (type != REG_SZ && type != REG_EXPAND_SZ) return RegistryData{Type::Other, "", 0};
    std::string text = Utf16LeToUtf8(data);
    text.resize(std::min(text.size(), text.find('\0')));
    return RegistryData{type == REG_SZ ? Type::Text : Type::ExpandableText, std::move(text), 0};
}

class WindowsRegistry : public RegistryBackend {
public:
    std::optional<RegistryData> Read(std::string_view keyPath, std::string_view valueName) override {
        HKEY handle = nullptr;
        const LSTATUS result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, ToWide(keyPath).c_str(), 0,
                                             KEY_QUERY_VALUE | KEY_WOW64_32KEY, &handle);
        if (result == ERROR_FILE_NOT_FOUND) return std::nullopt;
        if (result != ERROR_SUCCESS) RaiseSystemError(static_cast<int>(result));
        const Key key(handle);
        return ReadFrom(key.Get(), ToWide(valueName));
    }

    void Write(std::string_view keyPath, std::string_view valueName, const RegistryVariant& value,
               Choose choose) override {
        HKEY handle = nullptr;
        const LSTATUS opened =
            RegCreateKeyExW(HKEY_LOCAL_MACHINE, ToWide(keyPath).c_str(), 0, nullptr, 0,
                            KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_WOW64_32KEY, nullptr, &handle, nullptr);
        if (opened != ERROR_SUCCESS) RaiseSystemError(static_cast<int>(opened));
        const Key key(handle);
        const std::wstring name = ToWide(valueName);
        const RegistryData data = choose(value, ReadFrom(key.Get(), name));

        LSTATUS result = ERROR_SUCCESS;
        if (data.type == RegistryData::Type::Number) {
            const DWORD number = data.number;
            result = RegSetValueExW(key.Get(), name.c_str(), 0, REG_DWORD,
                                    reinterpret_cast<const BYTE*>(&number), sizeof number);
        } else {
            const std::wstring text = ToWide(data.text);
            const DWORD type = data.type == RegistryData::Type::Text ? REG_SZ : REG_EXPAND_SZ;
            result =
                RegSetValueExW(key.Get(), name.c_str(), 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
        }
        if (result != ERROR_SUCCESS) RaiseSystemError(static_cast<int>(result));
    }
};

}  // namespace

std::unique_ptr<RegistryBackend> MakeWindowsRegistry() {
    return std::make_unique<WindowsRegistry>();
}

}  // namespace marrowkit
