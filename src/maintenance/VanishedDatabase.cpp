#include "maintenance/VanishedDatabase.h"

namespace marrowkit {

void ReportVanishedDatabase(UserInterface& ui) {
    ui.ShowMessage("Huh? This database doesn't exist!", MessageIcon::None, std::string(kApplicationTitle));
    ui.RefreshLibraryTree();
}

}  // namespace marrowkit
