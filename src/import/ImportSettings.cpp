#include "import/ImportSettings.h"

namespace marrowkit {

std::string WithTrailingBackslash(std::string path) {
    if (!path.ends_with('\\')) path += '\\';
    return path;
}

ImportSettings& GlobalImportSettings() {
    static ImportSettings settings;
    return settings;
}

}  // namespace marrowkit
