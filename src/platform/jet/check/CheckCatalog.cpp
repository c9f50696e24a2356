#include "platform/jet/check/CheckCatalog.h"

#include <algorithm>
#include <map>
#include <set>

#include "platform/jet/format/Collation.h"

namespace marrowkit::jet::check {

namespace {

constexpr std::int32_t kRootId = 0x0F000000;

std::int32_t IntegerOr(const Value& value, std::int32_t fallback) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    if (const auto* number = std::get_if<std::int16_t>(&value)) return *number;
    return fallback;
}

std::string TextOf(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text ? *text : std::string();
}

/// `properties`: those of tables, by object.
void ReadObjects(CheckContext& context, const CheckedTable& table, std::vector<CatalogObject>& objects,
                 std::map<std::int32_t, std::vector<std::uint8_t>>& properties) {
    ReadSystemTable(context.file, table, {"Id", "ParentId", "Name", "Type", "Flags", "LvProp"},
                    [&](RowId row, const std::vector<Value>& values) {
                        CatalogObject object;
                        object.id = IntegerOr(values[0], 0);
                        object.parentId = IntegerOr(values[1], 0);
                        object.name = TextOf(values[2]);
                        object.type = static_cast<CatalogObject::Type>(IntegerOr(values[3], 0));
                        object.flags = static_cast<std::uint32_t>(IntegerOr(values[4], 0));
                        if (object.name.empty()) {
                            context.report.Add(row.page, table.name, RowText(row) + " has no name");
                        }
                        const auto* stored = std::get_if<Binary>(&values[5]);
                        if (stored != nullptr && object.type == CatalogObject::Type::Table) {
                            properties[object.id] = *stored;
                        }
                        objects.push_back(std::move(object));
                    });
}

void CheckIds(CheckContext& context, const std::vector<CatalogObject>& objects) {
    std::set<std::int32_t> ids;
    for (const CatalogObject& object : objects) {
        if (!ids.insert(object.id).second) {
            context.report.Add(kCatalogPage, "MSysObjects",
                               "object " + object.name + ": its Id is used twice");
        }
    }
    for (const CatalogObject& object : objects) {
        if (object.parentId != kRootId && !ids.contains(object.parentId)) {
            context.report.Add(kCatalogPage, "MSysObjects",
                               "object " + object.name + ": its container does not exist");
        }
    }
}

void CheckObjectReferences(CheckContext& context, const CheckedCatalog& catalog, std::string_view tableName) {
    const CheckedTable* table = catalog.FindTable(context.file.Header().version, tableName);
    if (table == nullptr) {
        context.report.Add(kCatalogPage, "MSysObjects", "table " + std::string(tableName) + " is missing");
        return;
    }
    std::set<std::int32_t> ids{kRootId};
    for (const CatalogObject& object : catalog.objects) ids.insert(object.id);
    ReadSystemTable(context.file, *table, {"ObjectId"}, [&](RowId row, const std::vector<Value>& values) {
        if (!ids.contains(IntegerOr(values[0], 0))) {
            context.report.Add(row.page, table->name, RowText(row) + " names an object that does not exist",
                               Severity::Content);
        }
    });
}

/// A damaged long value costs itself only, not the row it belongs to.
Value ReadOrNull(const CheckFile& file, const RowView& row, const ColumnDefinition& column) {
    if (!column.IsLongValue()) return ReadValue(file, row, column);
    try {
        return ReadValue(file, row, column);
    } catch (const Damage&) {
        return Null{};
    } catch (const OutOfBounds&) {
        return Null{};
    }
}

}  // namespace

const CheckedTable* CheckedCatalog::FindTable(PageNumber definition) const {
    for (const auto& table : tables) {
        if (table->definition.page == definition) return table.get();
    }
    return nullptr;
}

const CheckedTable* CheckedCatalog::FindTable(JetVersion version, std::string_view name) const {
    for (const auto& table : tables) {
        if (CompareText(version, table->name, name) == 0) return table.get();
    }
    return nullptr;
}

void ReadSystemTable(const CheckFile& file, const CheckedTable& table,
                     const std::vector<std::string>& columns,
                     const std::function<void(RowId, const std::vector<Value>&)>& visit) {
    std::vector<const ColumnDefinition*> wanted;
    for (const std::string& name : columns) {
        const auto found = std::find_if(table.definition.columns.begin(), table.definition.columns.end(),
                                        [&](const ColumnDefinition& column) { return column.name == name; });
        wanted.push_back(found == table.definition.columns.end() ? nullptr : &*found);
    }
    std::vector<Value> values(wanted.size());
    RowWalk(file, table.definition.page, table.ownedPages)
        .Run(
            [&](RowId row, ByteView bytes) {
                const RowView view(file.PageGeometry(), table.definition, bytes);
                for (std::size_t i = 0; i < wanted.size(); ++i) {
                    values[i] = wanted[i] == nullptr ? Value{} : ReadOrNull(file, view, *wanted[i]);
                }
                visit(row, values);
            },
            // What cannot be read was reported when the table was verified.
            [](const Damage&) {});
}

CheckedCatalog CheckCatalog(CheckContext& context) {
    CheckedCatalog catalog;
    auto objectsTable = CheckTable(context, {"MSysObjects", kCatalogPage, true, {}});
    if (!objectsTable) return catalog;
    std::map<std::int32_t, std::vector<std::uint8_t>> properties;
    ReadObjects(context, *objectsTable, catalog.objects, properties);
    catalog.tables.push_back(std::move(objectsTable));
    CheckIds(context, catalog.objects);

    std::set<PageNumber> definitions{kCatalogPage};
    bool listsItself = false;
    for (const CatalogObject& object : catalog.objects) {
        if (object.type != CatalogObject::Type::Table) continue;
        const PageNumber page = static_cast<std::uint32_t>(object.id) & 0x00FFFFFF;
        listsItself = listsItself || page == kCatalogPage;
        if (!definitions.insert(page).second) continue;
        if (context.report.IsFull()) break;
        const bool isSystem = object.IsSystem() || object.name.starts_with("MSys");
        if (auto table =
                CheckTable(context, {object.name, page, isSystem, std::move(properties[object.id])})) {
            catalog.tables.push_back(std::move(table));
        }
    }
    if (!listsItself) context.report.Add(kCatalogPage, "MSysObjects", "the catalog does not list itself");
    CheckObjectReferences(context, catalog, "MSysACEs");
    CheckObjectReferences(context, catalog, "MSysQueries");
    return catalog;
}

}  // namespace marrowkit::jet::check
