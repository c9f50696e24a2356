#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace marrowkit {

/// The extension list of a scan of all files: what follows the first dot of each file name, in lower case,
/// each once and followed by ";". "Once" means that ";" + text + ";" does not occur in the list yet, so a
/// text that itself holds semicolons can be covered by its neighbours. Equal lists whatever the number of
/// names: each is looked up by hashing.
class RomExtensions {
public:
    /// A name without a dot adds nothing.
    void Add(std::string_view fileName);
    /// "zip;part2.zip;"
    std::string List() const { return list_.substr(1); }

private:
    bool Holds(const std::string& extension) const;

    std::string list_ = ";";
    std::unordered_set<std::string> between_;  ///< every text that stands between two semicolons of list_
};

}  // namespace marrowkit
