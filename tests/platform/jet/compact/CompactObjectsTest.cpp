// Source and result of a compaction, object by object: catalog, properties, definitions, rows, long values
// and index entries, read out of both files by a reader that shares nothing with the compactor.

#include <algorithm>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/jet/check/CheckTestDatabase.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/ValueText.h"
#include "support/RawJetFile.h"
#include "support/TemporaryFolder.h"
#include "support/TestData.h"

namespace marrowkit::test {
namespace {

namespace fs = std::filesystem;
using jet::ColumnDefinition;
using jet::LogicalIndex;
using jet::RealIndex;
using jet::TableDefinition;
using Texts = std::vector<std::string>;

std::string HexText(std::span<const std::uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

/// One file taken apart. Numbers of tables, which a compaction gives anew, are shown as the tables' names.
class Reading {
public:
    explicit Reading(const fs::path& path) : file_(path), objects_(file_.Objects()) {
        for (const RawJetFile::Object& object : objects_) {
            // Linked tables have a number of their own and no definition here.
            if (object.IsTable()) tableNames_[object.DefinitionPage()] = object.name;
            names_[object.id] = object.name;
        }
    }

    Texts Objects() const {
        Texts texts;
        for (const RawJetFile::Object& object : objects_) {
            texts.push_back(object.name + ", type " + std::to_string(object.type) + ", flags " +
                            std::to_string(object.flags) + ", in " + NameOf(object.parentId) + ", owner " +
                            HexText(object.owner) + ", properties " + HexText(object.properties));
        }
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    std::map<std::string, TableDefinition> Tables() const {
        std::map<std::string, TableDefinition> tables;
        for (const auto& [page, name] : tableNames_) tables.emplace(name, file_.Definition(page));
        return tables;
    }

    static Texts Columns(const TableDefinition& table) {
        Texts texts;
        for (const ColumnDefinition& column : table.columns) {
            texts.push_back(column.name + " " + std::to_string(static_cast<int>(column.type)) + " number " +
                            std::to_string(column.number) + " at " + std::to_string(column.fixedOffset) +
                            " " + std::to_string(column.variableIndex) + " flags " +
                            std::to_string(column.flags) + " length " + std::to_string(column.lengthBytes) +
                            " scale " + std::to_string(column.scale));
        }
        return texts;
    }

    Texts Indexes(const TableDefinition& table) const {
        Texts texts;
        for (const LogicalIndex& index : table.logicalIndexes) {
            std::string text = index.name + " kind " + std::to_string(static_cast<int>(index.kind));
            if (index.partnerTable != 0) text += " with " + tableNames_.at(index.partnerTable);
            const RealIndex& real = table.realIndexes.at(index.realIndex);
            text += " flags " + std::to_string(real.flags) + " on";
            for (const jet::IndexColumn& part : real.columns) {
                text += " " + std::to_string(part.columnNumber) + (part.ascending ? " up" : " down");
            }
            texts.push_back(text);
        }
        return texts;
    }

    /// All values of every row, sorted.
    Texts Rows(const TableDefinition& table) const {
        Texts texts;
        for (const RawJetFile::StoredRow& row : file_.Rows(table)) {
            const jet::RowView view = file_.View(table, row);
            std::string text;
            for (const ColumnDefinition& column : table.columns) text += ValueOf(table, view, column) + "|";
            texts.push_back(std::move(text));
        }
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    /// The keys of every index, in the order of the tree; which row each belongs to is the full check's
    /// matter.
    Texts Keys(const TableDefinition& table) const {
        Texts texts;
        for (const RealIndex& index : table.realIndexes) {
            texts.emplace_back("index");
            for (const RawJetFile::IndexEntry& entry : file_.IndexEntries(table.page, index)) {
                texts.push_back(HexText(entry.key));
            }
        }
        return texts;
    }

private:
    std::string NameOf(std::int32_t id) const {
        const auto found = names_.find(id);
        return found == names_.end() ? std::to_string(id) : found->second;
    }

    std::string ValueOf(const TableDefinition& table, const jet::RowView& row,
                        const ColumnDefinition& column) const {
        const jet::Value value = file_.ValueOf(row, column);
        const auto* number = std::get_if<std::int32_t>(&value);
        const std::string& name = tableNames_.at(table.page);
        const bool isId = (name == "MSysObjects" && (column.name == "Id" || column.name == "ParentId")) ||
                          (name == "MSysACEs" && column.name == "ObjectId") ||
                          (name == "MSysQueries" && column.name == "ObjectId");
        if (number != nullptr && isId) return NameOf(*number);
        return jet::IsNull(value) ? "(Null)" : jet::ValueText(value);
    }

    RawJetFile file_;
    std::vector<RawJetFile::Object> objects_;
    std::map<jet::PageNumber, std::string> tableNames_;
    std::map<std::int32_t, std::string> names_;
};

/// Tables whose keys hold numbers of objects: a new number is a new key, and may stand elsewhere.
bool HasObjectNumbers(const std::string& table) {
    return table == "MSysObjects" || table == "MSysACEs" || table == "MSysQueries";
}

void ExpectSameObjects(const fs::path& source, const fs::path& copy) {
    const Reading before(source);
    const Reading after(copy);
    EXPECT_EQ(before.Objects(), after.Objects());
    const auto tables = before.Tables();
    const auto copies = after.Tables();
    ASSERT_EQ(tables.size(), copies.size());
    for (const auto& [name, table] : tables) {
        SCOPED_TRACE("table " + name);
        ASSERT_TRUE(copies.contains(name));
        const TableDefinition& other = copies.at(name);
        EXPECT_EQ(Reading::Columns(table), Reading::Columns(other));
        EXPECT_EQ(before.Indexes(table), after.Indexes(other));
        EXPECT_EQ(before.Rows(table), after.Rows(other));
        if (HasObjectNumbers(name)) continue;
        EXPECT_EQ(before.Keys(table), after.Keys(other));
    }
}

fs::path Compacted(const TemporaryFolder& folder, const fs::path& source) {
    const fs::path copy = folder / ("compacted-" + source.filename().string());
    jet::Compact(source.string(), copy.string());
    return copy;
}

TEST(CompactObjects, AreTheSameInEveryGenuineFile) {
    MARROWKIT_NEED_TEST_DATA();
    int files = 0;
    for (const char* samples : {"mdb", "template"}) {
        for (const fs::path& sample : SampleFiles(samples, ".mdb")) {
            const std::string name = sample.filename().string();
            SCOPED_TRACE(name);
            // A database with a password is not opened, so not compacted either.
            if (name.starts_with("password")) continue;
            const TemporaryFolder folder;
            const fs::path source = CopySample(sample, folder);
            ExpectSameObjects(source, Compacted(folder, source));
            ++files;
        }
    }
    EXPECT_GT(files, 20);
}

TEST(CompactObjects, AreTheSameInOurOwnFiles) {
    for (const jet::JetVersion version : {jet::JetVersion::Jet3, jet::JetVersion::Jet4}) {
        const TemporaryFolder folder;
        const auto bytes = MakeCheckDatabase(version);
        WriteFile(folder / "own.mdb", std::string(bytes.begin(), bytes.end()));
        ExpectSameObjects(folder / "own.mdb", Compacted(folder, folder / "own.mdb"));
    }
}

/// A table of records with an index on their texts; those that are a multiple of `every` only.
void MakeRecords(const fs::path& path, jet::JetVersion version, int count, int every) {
    const auto database = jet::Database::Create(path.string(), version);
    jet::TableDesign design;
    design.name = "Records";
    design.columns.resize(3);
    design.columns[0].name = "Id";
    design.columns[1].name = "Name";
    design.columns[1].type = jet::ColumnType::Text;
    design.columns[1].size = 100;
    design.columns[2].name = "Notes";
    design.columns[2].type = jet::ColumnType::Memo;
    design.indexes = {{"PrimaryKey", {{"Id", true}}, true, true, true}, {"Name", {{"Name", true}}}};
    database->CreateTable(design);
    const auto table = database->OpenTable("Records");
    jet::Unit unit(database->GetPager());
    for (int i = 0; i < count; ++i) {
        if (i % every != 0) continue;
        const jet::Assignment row[] = {{0, i},
                                       {1, "record " + std::to_string(i * 7919 % count)},
                                       {2, std::string(static_cast<std::size_t>(i % 400), 'n')}};
        table->Insert(row);
    }
    unit.Commit();
    database->GetPager().Flush();
}

TEST(CompactObjects, AFileWithNinetyPercentOfItsRowsDeletedBecomesAsSmallAsAFreshOne) {
    constexpr int kRecords = 20000;
    for (const jet::JetVersion version : {jet::JetVersion::Jet3, jet::JetVersion::Jet4}) {
        const TemporaryFolder folder;
        MakeRecords(folder / "fresh.mdb", version, kRecords, 10);
        MakeRecords(folder / "full.mdb", version, kRecords, 1);
        {
            const auto database = jet::Database::Open((folder / "full.mdb").string());
            const auto table = database->OpenTable("Records");
            jet::Unit unit(database->GetPager());
            const auto scan = table->OpenScan({0});
            while (scan->Next()) {
                if (std::get<std::int32_t>(scan->Values()[0]) % 10 != 0) table->Delete(scan->Id());
            }
            unit.Commit();
            database->GetPager().Flush();
        }
        const auto fresh = static_cast<double>(fs::file_size(folder / "fresh.mdb"));
        const auto full = static_cast<double>(fs::file_size(folder / "full.mdb"));
        const fs::path compacted = Compacted(folder, folder / "full.mdb");
        const auto size = static_cast<double>(fs::file_size(compacted));
        EXPECT_GT(full, 5 * fresh) << "deleting gave pages back to the system";
        EXPECT_LE(size, 1.05 * fresh);
        ExpectSameObjects(folder / "full.mdb", compacted);
        EXPECT_EQ(fs::file_size(Compacted(folder, compacted)), fs::file_size(compacted));
    }
}

}  // namespace
}  // namespace marrowkit::test
