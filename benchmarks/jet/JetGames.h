#pragma once

#include <memory>
#include <string>

#include "platform/jet/engine/Database.h"

namespace marrowkit::benchmark {

/// The workload on our engine.
class JetGames {
public:
    JetGames(const std::string& path, jet::JetVersion version);
    void Insert(int rows);
    void UpdateUnindexed();
    void UpdateIndexed();
    void DeleteEverySecond();
    /// Bytes of text met, so that nothing is optimised away.
    std::size_t ScanAll();
    std::size_t ScanTwo();
    void Close();
    /// Opens the file anew and reads the row of one key through its index.
    static std::size_t OpenAndReadOne(const std::string& path, int key);

private:
    template <typename Change>
    void ForEachRow(std::size_t column, Change change);

    std::string path_;
    std::shared_ptr<jet::Database> database_;
    std::shared_ptr<jet::Table> games_;
};

}  // namespace marrowkit::benchmark
