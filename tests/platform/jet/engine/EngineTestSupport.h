#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/engine/Database.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::jet::test {

inline const std::vector<JetVersion> kBothVersions{JetVersion::Jet3, JetVersion::Jet4};

inline std::string VersionName(const ::testing::TestParamInfo<JetVersion>& info) {
    return info.param == JetVersion::Jet3 ? "Jet3" : "Jet4";
}

/// A new, empty database in a temporary folder, once per format.
class NewDatabaseTest : public ::testing::TestWithParam<JetVersion> {
protected:
    NewDatabaseTest()
        : path_((folder_ / "test.mdb").string()), database_(Database::Create(path_, GetParam())) {}
    ~NewDatabaseTest() override { ExpectSound(); }

    Table& T(std::string_view name) { return *database_->OpenTable(name); }
    /// Closes the file and opens it anew, so that nothing comes from caches.
    void Reopen();
    /// The full check finds nothing.
    void ExpectSound();

    marrowkit::test::TemporaryFolder folder_;
    std::string path_;
    std::shared_ptr<Database> database_;
};

/// Number of the RuntimeError that the call throws; 0 when it throws none.
template <typename Call>
int ErrorOf(Call&& call) {
    try {
        call();
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

Column LongColumn(std::string name);
Column AutoNumberColumn(std::string name);
Column TextColumn(std::string name, int size = 50);
Column ColumnOf(std::string name, ColumnType type);
Index PrimaryKey(std::vector<std::string> columns);
Index IndexOn(std::string name, std::vector<std::string> columns);
Index UniqueOn(std::string name, std::vector<std::string> columns);
Relationship RelationshipOf(std::string name, std::string table, std::string column, std::string foreignTable,
                            std::string foreignColumn);

/// Adds a row, its columns by name.
using Values = std::vector<std::pair<std::string, Value>>;
RowId Insert(Table& table, const Values& values);
void Update(Table& table, RowId row, const Values& values);
std::vector<Assignment> AssignmentsOf(const Table& table, const Values& values);

/// All rows in storage order; all columns in display order.
std::vector<Row> RowsOf(const Table& table);
/// One column of all rows, in storage order.
std::vector<Value> ColumnValues(const Table& table, std::string_view column);
Value ValueOf(const Table& table, RowId row, std::string_view column);
/// One column of the rows that an index walk meets.
std::vector<Value> Walk(const Table& table, std::string_view index, const IndexRange& range,
                        std::string_view column, bool backwards = false);

}  // namespace marrowkit::jet::test
