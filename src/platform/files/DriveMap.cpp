#include "platform/files/DriveMap.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/files/Paths.h"

namespace marrowkit {

namespace {

char UpperLetter(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

void AddComponent(std::vector<std::string>& components, std::string_view component) {
    if (component.empty() || component == ".") return;
    if (component == "..") {
        if (!components.empty()) components.pop_back();
        return;
    }
    const std::size_t end = component.find_last_not_of(". ");
    if (end == std::string_view::npos) return;
    component = component.substr(0, end + 1);
    if (!IsWindowsFileName(component)) Raise(RuntimeErrorNumber::BadFileName);
    components.emplace_back(component);
}

}  // namespace

DriveMap::DriveMap(std::vector<Drive> drives, std::string winePrefix)
    : drives_(std::move(drives)), winePrefix_(std::move(winePrefix)) {
    for (Drive& drive : drives_) drive.letter = UpperLetter(drive.letter);
    std::sort(drives_.begin(), drives_.end(),
              [](const Drive& a, const Drive& b) { return a.letter < b.letter; });
}

const DriveMap::Drive* DriveMap::FindDrive(char letter) const {
    const auto drive = std::find_if(drives_.begin(), drives_.end(),
                                    [letter](const Drive& d) { return d.letter == UpperLetter(letter); });
    return drive == drives_.end() ? nullptr : &*drive;
}

std::vector<std::string> PathComponents(std::string_view path) {
    std::vector<std::string> components;
    std::size_t from = 0;
    for (;;) {
        const std::size_t at = path.find_first_of("\\/", from);
        AddComponent(components, path.substr(from, at == std::string_view::npos ? at : at - from));
        if (at == std::string_view::npos) return components;
        from = at + 1;
    }
}

}  // namespace marrowkit
