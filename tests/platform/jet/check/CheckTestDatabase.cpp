#include "platform/jet/check/CheckTestDatabase.h"

#include <algorithm>

#include "fault/MemoryStorage.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/check/CheckCatalog.h"
#include "platform/jet/check/CheckIndex.h"
#include "platform/jet/check/CheckOpenFile.h"
#include "platform/jet/engine/Database.h"
#include "support/TableDesigns.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

using jet::ColumnType;
using jet::PageNumber;

namespace {

void CreateTables(jet::Database& database) {
    jet::TableDesign owners;
    owners.name = "Owners";
    owners.columns = {MakeColumn("Id", ColumnType::Long), MakeColumn("Name", ColumnType::Text, 50)};
    owners.columns.front().autoNumber = true;
    owners.indexes = {MakeIndex("PrimaryKey", "Id", true)};
    database.CreateTable(owners);

    jet::TableDesign things;
    things.name = "Things";
    things.columns = {MakeColumn("Id", ColumnType::Long), MakeColumn("OwnerId", ColumnType::Long),
                      MakeColumn("Name", ColumnType::Text, 200), MakeColumn("Notes", ColumnType::Memo),
                      MakeColumn("Picture", ColumnType::Ole)};
    things.columns.front().autoNumber = true;
    things.indexes = {MakeIndex("PrimaryKey", "Id", true), MakeIndex("Name", "Name", false)};
    database.CreateTable(things);

    jet::Relationship relationship;
    relationship.name = "OwnersThings";
    relationship.table = "Owners";
    relationship.foreignTable = "Things";
    relationship.columns = {{"Id", "OwnerId"}};
    database.CreateRelationship(relationship);
}

/// `nameBytes`: length that names are brought to, 0 to leave them short.
void FillTables(jet::Database& database, int thingCount, std::size_t nameBytes) {
    const auto owners = database.OpenTable("Owners");
    for (int i = 0; i < 20; ++i) {
        const jet::Assignment name{1, "Owner " + std::to_string(i)};
        owners->Insert(std::span(&name, 1));
    }
    const auto things = database.OpenTable("Things");
    jet::RowId moving;
    for (int i = 0; i < thingCount; ++i) {
        // Every tenth row has no name; lengths go from inline over single rows to chains.
        std::vector<jet::Assignment> row{{1, std::int32_t{i % 20 + 1}}};
        std::string name = "Thing " + std::to_string(i / 2);
        name.resize(std::max(name.size(), nameBytes), 'x');
        if (i % 10 != 0) row.push_back({2, name});
        row.push_back({3, std::string(static_cast<std::size_t>(i % 50 == 7 ? 9000 : i % 7 * 20 + 1), 'n')});
        row.push_back({4, jet::Binary(static_cast<std::size_t>(i % 5 * 90 + 1), std::uint8_t{0xAB})});
        const jet::RowId id = things->Insert(row);
        if (i == 5) moving = id;
    }
    // Its page is full by now.
    const jet::Assignment longer{2, std::string(200, 'M')};
    things->Update(moving, std::span(&longer, 1));
}

std::vector<std::uint8_t> MakeDatabase(jet::JetVersion version, int thingCount, std::size_t nameBytes) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "check.mdb";
    {
        const auto database = jet::Database::Create(file.string(), version);
        CreateTables(*database);
        FillTables(*database, thingCount, nameBytes);
        database->GetPager().Flush();
    }
    const std::string bytes = ReadFile(file);
    return {bytes.begin(), bytes.end()};
}

}  // namespace

std::vector<std::uint8_t> MakeCheckDatabase(jet::JetVersion version) {
    return MakeDatabase(version, 1500, 0);
}

std::vector<std::uint8_t> MakeSmallCheckDatabase(jet::JetVersion version) {
    return MakeDatabase(version, 60, 120);
}

const jet::RealIndex& TableParts::Index(const std::string& logicalName) const {
    const auto found =
        std::find_if(definition.logicalIndexes.begin(), definition.logicalIndexes.end(),
                     [&](const jet::LogicalIndex& index) { return index.name == logicalName; });
    return definition.realIndexes.at(found->realIndex);
}

const jet::ColumnDefinition& TableParts::Column(const std::string& name) const {
    return *std::find_if(definition.columns.begin(), definition.columns.end(),
                         [&](const jet::ColumnDefinition& column) { return column.name == name; });
}

DatabaseBytes::DatabaseBytes(std::vector<std::uint8_t> bytes_)
    : bytes(std::move(bytes_)), geometry_(&jet::GeometryOf(static_cast<jet::JetVersion>(bytes.at(0x14)))) {}

jet::MutableByteView DatabaseBytes::Page(PageNumber page) {
    return jet::MutableByteView(bytes).Sub(std::size_t{page} * geometry_->pageBytes, geometry_->pageBytes);
}

TableParts DatabaseBytes::Table(const std::string& name) const {
    MemoryStorage storage;
    storage.Put("db", bytes);
    const jet::check::CheckFile file(storage, "db");
    jet::check::CheckReport report(100);
    jet::check::CheckContext context(file, report);
    const jet::check::CheckedCatalog catalog = jet::check::CheckCatalog(context);
    const jet::check::CheckedTable* found = catalog.FindTable(file.Header().version, name);
    TableParts parts{found->definition, found->ownedPages, {}};
    for (const jet::ColumnDefinition& column : parts.definition.columns) {
        if (!column.IsLongValue()) continue;
        const auto pages = jet::check::ReadMap(file, column.ownedMap).members;
        parts.longValuePages.insert(parts.longValuePages.end(), pages.begin(), pages.end());
    }
    return parts;
}

std::size_t DatabaseBytes::RowOffset(jet::RowId row) const {
    const std::size_t slot = geometry_->dataHeaderBytes + 2 * std::size_t{row.slot};
    const std::size_t page = std::size_t{row.page} * geometry_->pageBytes;
    return page + (jet::ByteView(bytes).U16(page + slot) & 0x1FFF);
}

void DatabaseBytes::PutDefinition(const jet::TableDefinition& definition) {
    const std::vector<std::uint8_t> logical = jet::SerializeTableDefinition(*geometry_, definition);
    if (logical.size() > geometry_->pageBytes) throw std::length_error("the definition needs a second page");
    // The framing of the page stays.
    Page(definition.page).PutBytes(8, std::span(logical).subspan(8));
}

std::vector<PageNumber> DatabaseBytes::Leaves(const jet::RealIndex& index) const {
    MemoryStorage storage;
    storage.Put("db", bytes);
    const jet::check::CheckFile file(storage, "db");
    std::vector<PageNumber> leaves;
    PageNumber number = index.rootPage;
    for (;;) {
        const jet::check::IndexPage page(*geometry_, file.Read(number));
        if (!page.IsNode()) break;
        number = page.Child(0);
    }
    for (; number != 0; number = jet::check::IndexPage(*geometry_, file.Read(number)).Next()) {
        leaves.push_back(number);
    }
    return leaves;
}

std::vector<std::string> DatabaseBytes::Check() const {
    MemoryStorage storage;
    storage.Put("db", bytes);
    std::vector<std::string> texts;
    for (const jet::Problem& problem : jet::Check("db", 1000, &storage)) texts.push_back(problem.ToText());
    return texts;
}

}  // namespace marrowkit::test
