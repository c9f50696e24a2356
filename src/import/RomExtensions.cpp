#include "import/RomExtensions.h"

#include "platform/text/Text.h"

namespace marrowkit {

void RomExtensions::Add(std::string_view fileName) {
    const std::size_t dot = fileName.find('.');
    if (dot == std::string_view::npos) return;
    const std::string extension = LCase(fileName.substr(dot + 1));
    if (Holds(extension)) return;
    for (const std::string_view piece : Split(extension, ";")) between_.emplace(piece);
    list_ += extension;
    list_ += ';';
}

bool RomExtensions::Holds(const std::string& extension) const {
    if (extension.find(';') == std::string::npos) return between_.contains(extension);
    return list_.find(';' + extension + ';') != std::string::npos;
}

}  // namespace marrowkit
