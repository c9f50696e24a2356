#pragma once

#include <memory>
#include <string>

#include "GamesTable.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::benchmark {

/// The workload on our engine.
class JetGames {
public:
    /// A new file.
    JetGames(const std::string& path, jet::JetVersion version);
    /// A file that one of these made.
    explicit JetGames(const std::string& path);
    void Insert(int rows) { Insert(1, rows); }
    /// The games `first` to `last`, in one transaction.
    void Insert(int first, int last, jet::Row (*rowOf)(int) = GameRow);
    void UpdateUnindexed();
    void UpdateIndexed();
    void DeleteEverySecond();
    /// Bytes of text met, so that nothing is optimised away.
    std::size_t ScanAll();
    std::size_t ScanTwo();
    void Close();
    /// Opens the file anew and reads the row of one key through its index.
    static std::size_t OpenAndReadOne(const std::string& path, int key);
    /// How many problems the check of the whole file finds.
    static std::size_t Check(const std::string& path);

private:
    template <typename Change>
    void ForEachRow(std::size_t column, Change change);

    std::string path_;
    std::shared_ptr<jet::Database> database_;
    std::shared_ptr<jet::Table> games_;
};

}  // namespace marrowkit::benchmark
