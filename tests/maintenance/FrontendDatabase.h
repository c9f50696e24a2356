#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "maintenance/SelectedNode.h"
#include "platform/dao/Dao.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// A database folder of the frontend in a library of its own, with the schema that a version of the frontend
/// had: a field or table that came later is missing, so that a statement on it fails.
class FrontendDatabase {
public:
    /// Version `major`.`minor`, with the fixed rows of the lookup tables and nothing else.
    FrontendDatabase(int major, int minor, jet::JetVersion format = jet::JetVersion::Jet4);
    /// A copy of a sample file ("template/Empty.mdb").
    explicit FrontendDatabase(const std::string& sample);

    /// Windows path of the database file, C:\...\Arcade\Arcade.mdb.
    const std::string& Path() const { return path_; }
    std::filesystem::path HostFile() const { return library_ / "Arcade/Arcade.mdb"; }
    /// Of the library, ends in "\".
    const std::string& LibraryRoot() const { return libraryRoot_; }
    const std::filesystem::path& LibraryFolder() const { return library_.Path(); }
    SelectedNode Node() const;

    /// Each in a connection of its own.
    void Execute(std::string_view sql) const;
    /// Rows as texts, values separated by "|", Null as "NULL".
    std::vector<std::string> Rows(std::string_view sql) const;
    /// Of a query with one row and column.
    std::string One(std::string_view sql) const;

    /// What the full check of the file complains about.
    std::vector<std::string> Problems() const;

private:
    TemporaryFolder library_;
    std::string libraryRoot_;
    std::string path_;
};

}  // namespace marrowkit::test
