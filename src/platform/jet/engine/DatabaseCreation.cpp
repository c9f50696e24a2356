#include "platform/jet/engine/DatabaseCreation.h"

#include <algorithm>
#include <array>

#include "platform/jet/engine/CatalogEditing.h"
#include "platform/jet/engine/TableCreation.h"
#include "platform/jet/expression/Calendar.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/RowCodec.h"

namespace marrowkit::jet {

namespace {

// On all columns of the four system tables, with an unknown meaning.
constexpr std::uint8_t kSystemColumnFlag = 0x10;
constexpr std::uint8_t kVariable = kSystemColumnFlag | ColumnDefinition::kOrdinaryFlag;
constexpr std::uint8_t kFixed = kVariable | ColumnDefinition::kFixedFlag;
constexpr std::uint8_t kScrambled = kVariable | ColumnDefinition::kScrambledFlag;

struct SystemColumn {
    std::string_view name;
    ColumnType type;
    std::uint8_t flags;
};

struct SystemIndex {
    std::string_view name;
    std::vector<std::uint16_t> columns;
    std::uint8_t flags;
    LogicalIndex::Kind kind;
};

struct SystemTable {
    std::string_view name;
    std::vector<SystemColumn> columns;  ///< by number
    std::vector<SystemIndex> indexes;   ///< by number
};

std::array<SystemTable, 4> SystemTables(JetVersion version) {
    constexpr std::uint8_t kUnique = RealIndex::kUniqueFlag;
    constexpr auto kOrdinary = LogicalIndex::Kind::Ordinary;
    constexpr auto kPrimaryKey = LogicalIndex::Kind::PrimaryKey;
    using enum ColumnType;
    SystemTable objects{"MSysObjects",
                        {{"Id", Long, kFixed},
                         {"ParentId", Long, kFixed},
                         {"Name", Text, kVariable},
                         {"Type", Integer, kFixed},
                         {"DateCreate", ColumnType::DateTime, kFixed},
                         {"DateUpdate", ColumnType::DateTime, kFixed},
                         {"Owner", ColumnType::Binary, kScrambled},
                         {"Flags", Long, kFixed},
                         {"Database", Memo, kVariable},
                         {"Connect", Memo, kVariable},
                         {"ForeignName", Text, kVariable},
                         {"RmtInfoShort", ColumnType::Binary, kVariable},
                         {"RmtInfoLong", Ole, kVariable},
                         {"Lv", Ole, kVariable},
                         {"LvProp", Ole, kVariable},
                         {"LvModule", Ole, kVariable},
                         {"LvExtra", Ole, kVariable}},
                        {{"ParentIdName", {1, 2}, kUnique, kOrdinary}, {"Id", {0}, kUnique, kPrimaryKey}}};
    SystemTable aces{"MSysACEs",
                     {{"ObjectId", Long, kFixed},
                      {"SID", ColumnType::Binary, kScrambled},
                      {"ACM", Long, kFixed},
                      {"FInheritable", Boolean, kFixed}},
                     {{"ObjectId", {0}, RealIndex::kRequiredFlag, kOrdinary}}};
    SystemTable queries{"MSysQueries",
                        {{"ObjectId", Long, kFixed},
                         {"Attribute", Byte, kFixed},
                         {"Order", ColumnType::Binary, kVariable},
                         {"Name1", Text, kVariable},
                         {"Name2", Text, kVariable},
                         {"Expression", Memo, kVariable},
                         {"Flag", Integer, kFixed}},
                        {{"ObjectIdAttribute", {0, 1, 2}, kUnique, kPrimaryKey}}};
    if (version == JetVersion::Jet4) queries.columns.push_back({"LvExtra", Long, kFixed});
    SystemTable relationships{"MSysRelationships",
                              {{"szRelationship", Text, kVariable},
                               {"grbit", Long, kFixed},
                               {"ccolumn", Long, kFixed},
                               {"icolumn", Long, kFixed},
                               {"szObject", Text, kVariable},
                               {"szColumn", Text, kVariable},
                               {"szReferencedObject", Text, kVariable},
                               {"szReferencedColumn", Text, kVariable}},
                              {{"szRelationship", {0}, RealIndex::kIgnoreNullsFlag, kOrdinary},
                               {"szObject", {4}, RealIndex::kIgnoreNullsFlag, kOrdinary},
                               {"szReferencedObject", {6}, RealIndex::kIgnoreNullsFlag, kOrdinary}}};
    return {std::move(objects), std::move(aces), std::move(queries), std::move(relationships)};
}

std::uint16_t SystemLength(JetVersion version, ColumnType type) {
    switch (type) {
        case ColumnType::Boolean:
            return 1;
        case ColumnType::Text:
        case ColumnType::Binary:
            return version == JetVersion::Jet3 ? 255 : 510;
        default:
            return static_cast<std::uint16_t>(FixedWidth(type));
    }
}

void AddSystemColumns(const DatabaseHeader& header, const SystemTable& design, TableDefinition& table) {
    for (const SystemColumn& column : design.columns) {
        ColumnDefinition definition;
        definition.name = column.name;
        definition.type = column.type;
        definition.flags = column.flags;
        definition.number = table.maxColumns++;
        definition.variableIndex = table.variableColumns;
        definition.sortOrder = header.sortOrder;
        definition.countryCode = header.countryCode;
        definition.codePage = header.codePage;
        definition.lengthBytes = SystemLength(header.version, column.type);
        if (definition.IsFixed()) {
            definition.fixedOffset = static_cast<std::uint16_t>(table.FixedAreaBytes());
        } else {
            ++table.variableColumns;
        }
        table.columns.push_back(std::move(definition));
    }
}

TableDefinition DefineSystemTable(const DatabaseHeader& header, const SystemTable& design) {
    TableDefinition table;
    table.tableType = TableDefinition::kSystemTable;
    AddSystemColumns(header, design, table);
    for (const SystemIndex& index : design.indexes) {
        RealIndex real;
        for (const std::uint16_t column : index.columns) real.columns.push_back({column, true});
        real.flags = static_cast<std::uint8_t>(
            index.flags | (header.version == JetVersion::Jet4 ? RealIndex::kJet4Flag : 0));
        LogicalIndex logical;
        logical.name = index.name;
        logical.kind = index.kind;
        logical.number = static_cast<std::uint32_t>(table.realIndexes.size());
        logical.realIndex = logical.number;
        table.realIndexes.push_back(std::move(real));
        table.logicalIndexes.push_back(std::move(logical));
    }
    std::ranges::sort(table.logicalIndexes, {}, &LogicalIndex::name);
    // Jet 4 lists the columns of its own tables by name; their numbers say what they are.
    if (header.version == JetVersion::Jet4) std::ranges::sort(table.columns, {}, &ColumnDefinition::name);
    return table;
}

struct NewRow {
    std::int32_t id;
    std::int32_t parentId;
    std::string_view name;
    CatalogObject::Type type;
    std::span<const std::uint8_t> owner;
};

struct NewPermission {
    std::int32_t object;
    std::int32_t mask;
    bool inheritable;
    std::span<const std::uint8_t> account;
};

/// System objects created with a database carry this bit, and no other.
constexpr std::int32_t kCreatedWithDatabase = static_cast<std::int32_t>(0x80000000U);

}  // namespace

double CreationTime() {
    return expression::CurrentMoment().days;
}

namespace {

void AddObjects(LocalDatabase& database, ChangeScope& scope, std::span<const PageNumber, 4> tables) {
    using Type = CatalogObject::Type;
    const auto page = [&](std::size_t table) { return static_cast<std::int32_t>(tables[table]); };
    const std::array<NewRow, 8> rows{{
        {catalog::kTables, catalog::kRoot, "Tables", Type::Container, sid::kEngine},
        {catalog::kDatabases, catalog::kRoot, "Databases", Type::Container, sid::kEngine},
        {catalog::kRelationships, catalog::kRoot, "Relationships", Type::Container, sid::kEngine},
        {catalog::kDatabase, catalog::kDatabases, "MSysDb", Type::Database, sid::kAdmin},
        {page(0), catalog::kTables, "MSysObjects", Type::Table, sid::kEngine},
        {page(1), catalog::kTables, "MSysACEs", Type::Table, sid::kEngine},
        {page(2), catalog::kTables, "MSysQueries", Type::Table, sid::kEngine},
        {page(3), catalog::kTables, "MSysRelationships", Type::Table, sid::kEngine},
    }};
    // The catalog does not know its own tables yet, so they cannot be asked for by name.
    const CatalogEntry bootstrap{{static_cast<std::int32_t>(kCatalogPage), catalog::kTables, "MSysObjects",
                                  Type::Table, static_cast<std::uint32_t>(kCreatedWithDatabase)},
                                 {},
                                 {}};
    LocalTable objects(database, bootstrap,
                       LoadLayout(database.GetPager(), {kCatalogPage, "MSysObjects", true, {}}));
    const DateTime now{CreationTime()};
    for (const NewRow& row : rows) {
        NamedValues values(objects);
        values.Add("Id", row.id)
            .Add("ParentId", row.parentId)
            .Add("Name", std::string(row.name))
            .Add("Type", static_cast<std::int16_t>(row.type))
            .Add("DateCreate", now)
            .Add("DateUpdate", now)
            .Add("Owner", ScrambleSid(database.GetPager().Header(), row.owner))
            .Add("Flags", kCreatedWithDatabase);
        objects.InsertRow(scope, values.Assignments());
    }
    database.InvalidateDesign();
}

void AddPermissions(LocalDatabase& database, ChangeScope& scope, std::span<const PageNumber, 4> tables) {
    const auto page = [&](std::size_t table) { return static_cast<std::int32_t>(tables[table]); };
    const std::int32_t usersOnTables = database.Version() == JetVersion::Jet4 ? 0xFFEFF : 0xFFFFF;
    const std::array<NewPermission, 16> permissions{{
        {page(0), 0x60000, false, sid::kAdmin},
        {page(1), 0x60000, false, sid::kAdmin},
        {page(2), 0x60000, false, sid::kAdmin},
        {page(3), 0xE0000, false, sid::kAdmin},
        {catalog::kTables, 0xF00FE, true, sid::kCreator},
        {catalog::kTables, 0x60001, false, sid::kAdmin},
        {catalog::kRelationships, 0xF00FE, true, sid::kCreator},
        {catalog::kRelationships, 0x60001, false, sid::kAdmin},
        {catalog::kDatabases, 0x60000, false, sid::kAdmin},
        {catalog::kDatabase, 0x6000E, false, sid::kAdmin},
        {catalog::kDatabase, 0xE, false, sid::kUsers},
        {page(2), 0x14, false, sid::kUsers},
        {page(3), 0x14, false, sid::kUsers},
        {page(0), 0x14, false, sid::kUsers},
        {catalog::kTables, usersOnTables, true, sid::kUsers},
        {catalog::kRelationships, 0xFFFFF, true, sid::kUsers},
    }};
    LocalTable& aces = database.TableNamed("MSysACEs");
    for (const NewPermission& permission : permissions) {
        NamedValues values(aces);
        values.Add("ObjectId", permission.object)
            .Add("SID", ScrambleSid(database.GetPager().Header(), permission.account))
            .Add("ACM", permission.mask)
            .Add("FInheritable", permission.inheritable);
        aces.InsertRow(scope, values.Assignments());
    }
}

}  // namespace

void WriteSystemTables(LocalDatabase& database) {
    Pager& pager = database.GetPager();
    ChangeScope scope(pager);
    scope.MarkChanging();
    // The first page given out is page 2, where everybody looks for MSysObjects.
    std::array<PageNumber, 4> pages{};
    for (PageNumber& page : pages) page = pager.Allocate().Number();
    if (pages[0] != kCatalogPage) RaiseCorrupt(pager.Path(), "a new database must begin with its catalog");
    const std::array<SystemTable, 4> designs = SystemTables(database.Version());
    for (std::size_t i = 0; i < designs.size(); ++i) {
        TableDefinition definition = DefineSystemTable(pager.Header(), designs[i]);
        definition.page = pages[i];
        AllocateTable(pager, definition);
    }
    AddObjects(database, scope, pages);
    AddPermissions(database, scope, pages);
    scope.Commit();
}

}  // namespace marrowkit::jet
