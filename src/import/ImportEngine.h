#pragma once

#include <functional>
#include <string>

#include "global/UserInterface.h"
#include "import/ImportProgress.h"
#include "import/ImportSettings.h"
#include "import/ImportTables.h"

namespace marrowkit {

/// Places where an import can be watched or changed; an empty function is left out.
struct ImportHooks {
    /// After the ROM scan, while tables.Files is still there; also after an import that scans nothing.
    std::function<void(const ImportTables&)> scanned;
    /// Before anything is created or written. False ends the import here, in silence.
    std::function<bool(const ImportTables&)> writing;
};

/// The whole import, stage after stage, as settings tell. Failures are shown as messages; success and
/// cancelling end in silence. Outcome: settings.ImportSucceeded (set before the first game is written, so it
/// stays set when writing fails) and settings.NewDatabaseKey.
///
/// Nothing is undone after a failure or a cancel. The plain loader's errors are not trapped: they leave this
/// function. True when the import ran to its end.
bool RunImport(ImportSettings& settings, ImportTables& tables, ImportProgress& progress, UserInterface& ui,
               const ImportHooks& hooks = {});

}  // namespace marrowkit
