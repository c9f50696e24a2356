#include "import/RomWalk.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "platform/errors/RuntimeError.h"
#include "platform/files/FolderSearch.h"
#include "platform/files/Wildcards.h"

namespace marrowkit {

namespace {

class Walk {
public:
    Walk(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress)
        : tables_(tables), progress_(progress) {
        if (!settings.MatchExtensionsOnly) {
            patterns_.emplace_back("*.*");
            return;
        }
        for (const std::string& type : tables.FileTypes) patterns_.emplace_back("*" + type);
        filtered_ = true;
    }

    void Folder(const std::string& path) {
        const std::string folder = WithTrailingBackslash(path);
        std::vector<std::string> subfolders;
        {
            // Read once for the subfolders and for every pattern.
            const std::vector<FoundFile> found = ListFolder(folder, FoundDetails::KindOnly);
            FindSubfolders(found, subfolders);
            FindFiles(folder, found);
        }
        for (const std::string& name : subfolders) {
            if (progress_.Cancelled()) return;
            Folder(folder + name);
            progress_.LetEventsRun();
        }
    }

private:
    bool StopAfterEvents() {
        progress_.LetEventsRun();
        return progress_.Cancelled();
    }

    void FindSubfolders(const std::vector<FoundFile>& found, std::vector<std::string>& subfolders) {
        // They are counted in 16 bits.
        constexpr std::size_t kMostSubfolders = std::numeric_limits<std::int16_t>::max();
        for (const FoundFile& entry : found) {
            if (entry.IsFolder()) {
                if (subfolders.size() == kMostSubfolders) Raise(RuntimeErrorNumber::Overflow);
                subfolders.push_back(entry.name);
            }
            if (StopAfterEvents()) return;
        }
    }

    void FindFiles(const std::string& folder, const std::vector<FoundFile>& found) {
        for (const Wildcards& pattern : patterns_) {
            for (const FoundFile& entry : found) {
                if (!pattern.Fits(entry.name)) continue;
                tables_.Files.emplace_back();
                std::string& file = tables_.Files.back().Path;
                file.reserve(folder.size() + entry.name.size());
                file.append(folder).append(entry.name);
                if (StopAfterEvents()) break;
            }
            if (filtered_ && StopAfterEvents()) return;
        }
    }

    ImportTables& tables_;
    ImportProgress& progress_;
    std::vector<Wildcards> patterns_;
    bool filtered_ = false;
};

}  // namespace

std::string PrepareFileList(const ImportSettings& settings, ImportTables& tables, ImportProgress& progress) {
    tables.Files.clear();
    try {
        Walk(settings, tables, progress).Folder(settings.RomPath);
        return {};
    } catch (const RuntimeError& error) {
        return ErrorText(error);
    }
}

}  // namespace marrowkit
