#include "platform/jet/check/CheckTable.h"

#include <algorithm>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/Properties.h"

namespace marrowkit::jet::check {

CheckContext::CheckContext(const CheckFile& file_, CheckReport& report_)
    : file(file_),
      report(report_),
      owners(file_.PageCount()),
      marks(file_.PageCount()),
      isFree(file_.PageCount(), false),
      treePages(file_.PageCount(), false),
      mapOwner(owners.NewOwner("usage maps")),
      bitmapOwner(owners.NewOwner("bitmaps of usage maps")) {}

bool CheckContext::Claim(PageNumber page, PageOwners::Owner owner, std::string_view table) {
    const std::string number = "page " + std::to_string(page);
    if (!owners.IsInFile(page)) {
        report.Add(page, table, number + " of " + owners.NameOf(owner) + " lies beyond the end of the file");
        return false;
    }
    const PageOwners::Owner before = owners.Of(page);
    if (before == mapOwner && owner == mapOwner) return true;
    if (before != PageOwners::kNobody) {
        report.Add(page, table,
                   number + " belongs to " + owners.NameOf(before) + " and to " + owners.NameOf(owner));
        return false;
    }
    if (isFree[page]) {
        report.Add(page, table, number + " of " + owners.NameOf(owner) + " is marked free");
    }
    owners.Claim(page, owner);
    return true;
}

StoredMap CheckContext::ClaimMap(RowId where, std::string_view table, const std::string& what) {
    try {
        StoredMap map = ReadMap(file, where);
        if (!marks.Mark(where)) throw Damage(where.page, "its usage map serves something else too");
        if (!Claim(where.page, mapOwner, table)) return {};
        RequireWithinFile(map, where);
        for (const PageNumber bitmap : map.bitmapPages) {
            if (!Claim(bitmap, bitmapOwner, table)) return {};
        }
        return map;
    } catch (const Damage& damage) {
        report.Add(table, damage, what);
    } catch (const OutOfBounds& outside) {
        report.Add(where.page, table, what + ": " + outside.what());
    }
    return {};
}

namespace {

/// Claims the definition's pages, checks their framing and takes the definition apart.
TableDefinition ReadTable(CheckContext& context, const std::string& name, PageNumber page) {
    const Geometry& geometry = context.file.PageGeometry();
    const StoredDefinition stored = ReadDefinition(context.file, page);
    const PageOwners::Owner owner = context.owners.NewOwner("the definition of table " + name);
    for (const PageNumber part : stored.pages) {
        if (!context.Claim(part, owner, name)) throw Damage(part, "its definition cannot be relied on");
    }
    std::size_t left = stored.logical.size();
    for (const PageNumber part : stored.pages) {
        const std::size_t inPage = std::min<std::size_t>(left, geometry.pageBytes - (part == page ? 0 : 8));
        left -= inPage;
        const std::size_t used = inPage + (part == page ? 0 : 8);
        const std::size_t unused = geometry.pageBytes - used;
        const std::size_t expected =
            geometry.version == JetVersion::Jet3 ? 0x4356 : (unused < 8 ? 0 : unused - 8);
        const std::uint16_t found = context.file.Read(part).bytes.U16(2);
        if (found != expected) {
            context.report.Add(part, name,
                               "definition page " + std::to_string(part) + " has " + std::to_string(found) +
                                   " in its head instead of " + std::to_string(expected));
        }
    }
    TableDefinition definition = ParseTableDefinition(geometry, page, ByteView(stored.logical));
    if (SerializeTableDefinition(geometry, definition).size() != stored.logical.size()) {
        context.report.Add(page, name, "the table definition is longer than what it holds");
    }
    return definition;
}

/// What the table's properties demand of its rows. Properties are no part of the file's structure: a copy
/// carries them along as they are.
void ReadRules(CheckContext& context, const ListedTable& listed, CheckedTable& table) {
    if (listed.properties.empty()) return;
    try {
        const PropertyBlob properties =
            ParseProperties(context.file.Header().version, ByteView(listed.properties));
        for (const ColumnDefinition& column : table.definition.columns) {
            if (properties.Bool(column.name, "Required").value_or(false)) {
                table.requiredColumns.push_back(column.name);
            }
        }
    } catch (const OutOfBounds&) {
        context.report.Add(listed.definition, listed.name, "its properties do not hold together",
                           Severity::Content);
    }
}

void ClaimOwnedPages(CheckContext& context, CheckedTable& table) {
    const TableDefinition& definition = table.definition;
    const StoredMap owned = context.ClaimMap(definition.ownedMap, table.name, "map of its pages");
    const StoredMap free = context.ClaimMap(definition.freeMap, table.name, "map of its pages with room");
    const PageOwners::Owner owner = context.owners.NewOwner("the rows of table " + table.name);
    for (const PageNumber page : owned.members) {
        if (context.Claim(page, owner, table.name)) table.ownedPages.push_back(page);
    }
    if (!std::includes(owned.members.begin(), owned.members.end(), free.members.begin(),
                       free.members.end())) {
        context.report.Add(definition.freeMap.page, table.name,
                           "a page with room for rows is not one of the table's pages");
    }
}

}  // namespace

std::unique_ptr<CheckedTable> CheckTable(CheckContext& context, const ListedTable& listed) {
    const std::string& name = listed.name;
    const PageNumber page = listed.definition;
    auto table = std::make_unique<CheckedTable>();
    table->name = name;
    table->isSystem = listed.isSystem;
    try {
        table->definition = ReadTable(context, name, page);
        CheckDefinition(context, name, table->definition);
        ReadRules(context, listed, *table);
        ClaimOwnedPages(context, *table);
        CheckTableRows(context, *table);
        return table;
    } catch (const Damage& damage) {
        context.report.Add(name, damage);
    } catch (const OutOfBounds& outside) {
        context.report.Add(page, name, std::string("its definition: ") + outside.what());
    } catch (const RuntimeError& error) {
        context.report.Add(page, name, "its definition: " + error.description);
    }
    return nullptr;
}

}  // namespace marrowkit::jet::check
