#include "import/ImportSettings.h"

namespace marrowkit {

ImportSettings& GlobalImportSettings() {
    static ImportSettings settings;
    return settings;
}

}  // namespace marrowkit
