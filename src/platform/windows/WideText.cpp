#include "platform/windows/WideText.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/text/Utf16.h"

namespace marrowkit::windows {

namespace {

constexpr std::wstring_view kPrefix = LR"(\\?\)";
constexpr std::wstring_view kDevicePrefix = LR"(\\.\)";
constexpr std::wstring_view kSharePrefix = LR"(\\?\UNC\)";

bool IsLetter(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

bool StartsAtDriveRoot(std::wstring_view path) {
    return path.size() > 2 && IsLetter(path[0]) && path[1] == L':' && path[2] == L'\\';
}

/// The components one after the other, each behind a separator; "." and ".." worked out.
std::wstring Tidied(std::wstring_view path) {
    std::vector<std::wstring_view> components;
    while (!path.empty()) {
        const std::size_t end = path.find(L'\\');
        const std::wstring_view component = path.substr(0, end);
        path.remove_prefix(end == std::wstring_view::npos ? path.size() : end + 1);
        if (component.empty() || component == L".") continue;
        if (component != L"..") {
            components.push_back(component);
        } else if (!components.empty()) {
            components.pop_back();
        }
    }
    std::wstring text;
    for (const std::wstring_view component : components) text.append(1, L'\\').append(component);
    return text;
}

}  // namespace

std::wstring ToWide(std::string_view text) {
    const std::u16string units = Utf8ToUtf16(text);
    return {units.begin(), units.end()};
}

std::string FromWide(std::wstring_view units) {
    return Utf16ToUtf8(std::u16string(units.begin(), units.end()));
}

std::wstring WidePath(std::string_view path) {
    std::wstring wide = ToWide(path);
    std::replace(wide.begin(), wide.end(), L'/', L'\\');
    if (wide.starts_with(kPrefix) || wide.starts_with(kDevicePrefix)) return wide;
    if (StartsAtDriveRoot(wide)) {
        const std::wstring tail = Tidied(std::wstring_view(wide).substr(2));
        return std::wstring(kPrefix).append(wide, 0, 2).append(tail.empty() ? L"\\" : tail);
    }
    if (wide.starts_with(L"\\\\")) return std::wstring(kSharePrefix).append(Tidied(wide).substr(1));
    return wide;
}

std::string FromWidePath(std::wstring_view path) {
    if (path.starts_with(kSharePrefix)) {
        return "\\\\" + FromWide(path.substr(kSharePrefix.size()));
    }
    if (path.starts_with(kPrefix)) path.remove_prefix(kPrefix.size());
    return FromWide(path);
}

}  // namespace marrowkit::windows
