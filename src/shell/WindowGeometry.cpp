#include "shell/WindowGeometry.h"

#include <algorithm>
#include <cstdint>
#include <variant>

#include "platform/registry/RegistryStore.h"

namespace marrowkit {
namespace {

constexpr const char* kHive = "HKEY_LOCAL_MACHINE";
constexpr const char* kKey = R"(Software\Quillon\Marrowkit\Window)";

}  // namespace

WindowGeometry StartGeometry(const WindowGeometry& saved, float screenWidth, float screenHeight,
                             float designWidth, float designHeight) {
    WindowGeometry start = saved;
    start.width = saved.width >= kMinSavedTwips ? std::min(saved.width, screenWidth) : kFirstRunWidthTwips;
    start.height =
        saved.height >= kMinSavedTwips ? std::min(saved.height, screenHeight) : kFirstRunHeightTwips;
    if (saved.left > screenWidth || saved.left < 0 || saved.top > screenHeight || saved.top < 0) {
        start.top = screenHeight / 2 - designHeight / 2;
        start.left = screenWidth / 2 - designWidth / 2;
    }
    return start;
}

WindowGeometry ReadSavedGeometry() {
    RegistryStore store;
    const auto read = [&store](const char* name) {
        RegistryVariant value = 0.0F;
        std::int32_t status = 0;
        store.ReadValue(kHive, kKey, name, value, status, true);
        return std::get<float>(value);
    };
    WindowGeometry saved;
    saved.width = read("MainWidth");
    saved.height = read("MainHeight");
    saved.top = read("MainTop");
    saved.left = read("MainLeft");
    return saved;
}

void WriteSavedGeometry(const WindowGeometry& geometry) {
    RegistryStore store;
    store.WriteValue(kHive, kKey, "MainWidth", geometry.width);
    store.WriteValue(kHive, kKey, "MainHeight", geometry.height);
    store.WriteValue(kHive, kKey, "MainTop", geometry.top);
    store.WriteValue(kHive, kKey, "MainLeft", geometry.left);
}

}  // namespace marrowkit
