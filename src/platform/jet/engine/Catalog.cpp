#include "platform/jet/engine/Catalog.h"

#include <algorithm>
#include <array>

#include "platform/jet/engine/TableScans.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

template <typename T>
T Get(const Value& value) {
    const T* held = std::get_if<T>(&value);
    return held == nullptr ? T{} : *held;
}

}  // namespace

std::string NameKey(JetVersion version, std::string_view name) {
    std::vector<std::uint8_t> key;
    AppendTextKey(version, name, false, key);
    return {key.begin(), key.end()};
}

std::string Catalog::NameKey(std::int32_t parent, std::string_view name) const {
    return std::to_string(parent) + ':' + jet::NameKey(version_, name);
}

Catalog::Catalog(const std::shared_ptr<const TableLayout>& objects) : version_(objects->Version()) {
    constexpr std::array<std::string_view, 6> kNames{"Id", "ParentId", "Name", "Type", "Flags", "DateCreate"};
    std::vector<std::size_t> columns;
    for (const std::string_view name : kNames) {
        const auto column = objects->FindColumn(name);
        if (!column) RaiseCorrupt(objects->pager->Path(), "MSysObjects has no column " + std::string(name));
        columns.push_back(*column);
    }
    const auto scan = OpenTableScan(objects, columns);
    while (scan->Next()) {
        const Row& values = scan->Values();
        CatalogEntry entry;
        entry.object.id = Get<std::int32_t>(values[0]);
        entry.object.parentId = Get<std::int32_t>(values[1]);
        entry.object.name = Get<std::string>(values[2]);
        entry.object.type = static_cast<CatalogObject::Type>(Get<std::int16_t>(values[3]));
        entry.object.flags = static_cast<std::uint32_t>(Get<std::int32_t>(values[4]));
        entry.created = Get<DateTime>(values[5]);
        entry.row = scan->Id();
        byName_.emplace(NameKey(entry.object.parentId, entry.object.name), entries_.size());
        if (entry.IsLocalTable()) byPage_.emplace(entry.DefinitionPage(), entries_.size());
        entries_.push_back(std::move(entry));
    }
}

const CatalogEntry* Catalog::Find(std::int32_t parent, std::string_view name) const {
    const auto found = byName_.find(NameKey(parent, name));
    return found == byName_.end() ? nullptr : &entries_[found->second];
}

const CatalogEntry* Catalog::FindTable(std::string_view name) const {
    const CatalogEntry* entry = Find(catalog::kTables, name);
    return entry != nullptr && entry->IsLocalTable() ? entry : nullptr;
}

const CatalogEntry* Catalog::FindTableByPage(PageNumber definitionPage) const {
    const auto found = byPage_.find(definitionPage);
    return found == byPage_.end() ? nullptr : &entries_[found->second];
}

std::int32_t Catalog::NextObjectId() const {
    std::uint32_t next = 0x80000000U;
    for (const CatalogEntry& entry : entries_) {
        const auto id = static_cast<std::uint32_t>(entry.object.id);
        if (id >= next) next = id + 1;
    }
    return static_cast<std::int32_t>(next);
}

}  // namespace marrowkit::jet
