#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/dao/Dao.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// A value as it is written in expectations: NULL, numbers plain, texts as they are, True and False, dates in
/// ISO form.
std::string Show(const jet::Value& value);

/// The records of a query, a line each: values with "|" between them, lines with ";" between them.
std::string Records(dao::Database& database, const std::string& sql,
                    dao::RecordsetType type = dao::RecordsetType::Snapshot);

/// "3061 Too few parameters. Expected 1." of what the statement raises, or "none".
std::string ErrorOf(dao::Database& database, const std::string& sql);

/// A fresh database in a folder of its own, with the tables of a small collection of games:
///
///   Publishers (PU_Id counter primary key, Publisher text unique): 1 Ocean, 2 U.S. Gold, 3 ocean soft, 4
///   Null Games (GA_Id counter primary key, Name text, PU_Id indexed, Year integer indexed, Price currency,
///          Score double, Fav yes/no, Added date, Memo memo): seven rows, Nulls among them
class SampleDatabase {
public:
    explicit SampleDatabase(jet::JetVersion version);
    ~SampleDatabase();
    SampleDatabase(const SampleDatabase&) = delete;
    SampleDatabase& operator=(const SampleDatabase&) = delete;

    dao::Database& Open() { return *database_; }
    void Execute(const std::string& sql) { database_->Execute(sql); }
    std::string Path() const { return path_; }
    /// Closes, runs the full check and opens again; the problems found, empty for none.
    std::string Check();

private:
    TemporaryFolder folder_;
    std::string path_;
    std::unique_ptr<dao::Database> database_;
};

}  // namespace marrowkit::test
