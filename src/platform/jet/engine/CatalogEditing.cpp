#include "platform/jet/engine/CatalogEditing.h"

#include <algorithm>
#include <chrono>

#include "platform/jet/expression/Calendar.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

struct Permission {
    Binary account;
    std::int32_t mask = 0;
};

Binary StoredSid(LocalDatabase& database, std::span<const std::uint8_t> plain) {
    return ScrambleSid(database.GetPager().Header(), plain);
}

std::size_t ColumnOf(const Table& table, std::string_view name) {
    const auto column = table.FindColumn(name);
    if (!column) {
        throw RuntimeError(
            static_cast<int>(JetError::Corrupt),
            JetErrorText(JetError::Corrupt, {table.Name()}) + " (no column '" + std::string(name) + "')");
    }
    return *column;
}

/// What new objects in a container get: its inheritable permissions, with the creating user in place of the
/// placeholder unless that user has a permission of its own.
std::vector<Permission> InheritedPermissions(LocalDatabase& database, std::int32_t container) {
    LocalTable& aces = database.TableNamed("MSysACEs");
    const std::vector<std::size_t> columns{ColumnOf(aces, "ObjectId"), ColumnOf(aces, "SID"),
                                           ColumnOf(aces, "ACM"), ColumnOf(aces, "FInheritable")};
    const Binary creator = StoredSid(database, sid::kCreator);
    const Binary admin = StoredSid(database, sid::kAdmin);
    std::vector<Permission> permissions;
    std::optional<std::int32_t> creatorMask;
    const auto scan = aces.OpenScan(columns);
    while (scan->Next()) {
        const Row& row = scan->Values();
        const auto* object = std::get_if<std::int32_t>(&row[0]);
        const auto* account = std::get_if<Binary>(&row[1]);
        const auto* mask = std::get_if<std::int32_t>(&row[2]);
        if (object == nullptr || *object != container || account == nullptr || mask == nullptr) continue;
        if (!std::get<bool>(row[3])) continue;
        if (*account == creator) {
            creatorMask = *mask;
        } else {
            permissions.push_back({*account, *mask});
        }
    }
    const bool hasAdmin = std::ranges::any_of(
        permissions, [&](const Permission& permission) { return permission.account == admin; });
    if (creatorMask && !hasAdmin) permissions.insert(permissions.begin(), {admin, *creatorMask});
    return permissions;
}

Binary OwnerOfNewObjects(LocalDatabase& database) {
    for (const CatalogEntry& entry : database.GetCatalog().Entries()) {
        if (entry.object.id != catalog::kDatabase) continue;
        LocalTable& objects = database.ObjectsTable();
        const std::size_t owner = ColumnOf(objects, "Owner");
        const auto row = objects.Read(entry.row, std::span(&owner, 1));
        if (row) {
            if (const auto* bytes = std::get_if<Binary>(&row->front())) return *bytes;
        }
    }
    return StoredSid(database, sid::kAdmin);
}

}  // namespace

NamedValues& NamedValues::Add(std::string_view column, Value value) {
    assignments_.push_back({ColumnOf(*table_, column), std::move(value)});
    return *this;
}

DateTime CatalogTime() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto fraction = std::chrono::duration_cast<std::chrono::microseconds>(now).count() % 1'000'000;
    constexpr double kMicrosecondsPerDay = 86'400e6;
    return DateTime{expression::CurrentMoment().days + static_cast<double>(fraction) / kMicrosecondsPerDay};
}

void AddCatalogObject(LocalDatabase& database, ChangeScope& scope, const NewObject& object) {
    LocalTable& objects = database.ObjectsTable();
    const DateTime now = CatalogTime();
    NamedValues values(objects);
    values.Add("Id", object.id)
        .Add("ParentId", object.parentId)
        .Add("Name", object.name)
        .Add("Type", static_cast<std::int16_t>(object.type))
        .Add("DateCreate", now)
        .Add("DateUpdate", now)
        .Add("Owner", OwnerOfNewObjects(database))
        .Add("Flags", std::int32_t{0});
    if (!object.properties.empty()) values.Add("LvProp", object.properties);
    objects.InsertRow(scope, values.Assignments());

    LocalTable& aces = database.TableNamed("MSysACEs");
    for (const Permission& permission : InheritedPermissions(database, object.parentId)) {
        NamedValues ace(aces);
        ace.Add("ObjectId", object.id)
            .Add("SID", permission.account)
            .Add("ACM", permission.mask)
            .Add("FInheritable", false);
        aces.InsertRow(scope, ace.Assignments());
    }
}

void RemoveCatalogObject(LocalDatabase& database, ChangeScope& scope, const CatalogEntry& entry) {
    LocalTable& aces = database.TableNamed("MSysACEs");
    std::vector<RowId> rows;
    const auto scan = aces.OpenScan({ColumnOf(aces, "ObjectId")});
    while (scan->Next()) {
        if (scan->Values().front() == Value(entry.object.id)) rows.push_back(scan->Id());
    }
    for (const RowId row : rows) aces.DeleteRow(scope, row);
    database.ObjectsTable().DeleteRow(scope, entry.row);
}

void TouchCatalogObject(LocalDatabase& database, ChangeScope& scope, const CatalogEntry& entry,
                        const std::vector<std::pair<std::string_view, Value>>& changes) {
    LocalTable& objects = database.ObjectsTable();
    NamedValues values(objects);
    values.Add("DateUpdate", CatalogTime());
    for (const auto& [column, value] : changes) values.Add(column, value);
    objects.UpdateRow(scope, entry.row, values.Assignments());
}

std::optional<PropertyBlob> ReadProperties(LocalDatabase& database, const CatalogEntry& entry) {
    LocalTable& objects = database.ObjectsTable();
    const std::size_t column = ColumnOf(objects, "LvProp");
    const auto row = objects.Read(entry.row, std::span(&column, 1));
    if (!row) return std::nullopt;
    const auto* blob = std::get_if<Binary>(&row->front());
    if (blob == nullptr || blob->empty()) return std::nullopt;
    return ParseProperties(database.Version(), ByteView(*blob));
}

}  // namespace marrowkit::jet
