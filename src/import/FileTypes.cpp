#include "import/FileTypes.h"

#include <string>
#include <string_view>
#include <unordered_set>

#include "platform/text/Text.h"

namespace marrowkit {

bool BuildFileTypes(ImportTables& tables, ImportProgress& progress) {
    tables.FileTypes.clear();
    progress.SetBarRange(0, tables.EntryUpper());
    std::unordered_set<std::string> known;
    std::int32_t index = 0;
    for (const DatafileEntry& entry : tables.Entries) {
        const std::size_t dot = entry.FileName.rfind('.');
        if (dot != std::string::npos) {
            std::string extension = UCase(std::string_view(entry.FileName).substr(dot));
            if (known.insert(extension).second) {
                tables.RomExtensionList += extension;
                tables.RomExtensionList += ';';
                tables.FileTypes.push_back(std::move(extension));
            }
        }
        progress.SetBarValue(index++);
        progress.LetEventsRun();
        if (progress.Cancelled()) return false;
    }
    return !tables.FileTypes.empty();
}

}  // namespace marrowkit
