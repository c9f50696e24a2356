#include "platform/jet/engine/LocalDatabase.h"

#include <algorithm>
#include <array>

#include "platform/jet/engine/RelationshipRows.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

LocalDatabase::LocalDatabase(std::shared_ptr<Pager> pager)
    : pager_(std::move(pager)), generation_(pager_->Generation()) {}

void LocalDatabase::InvalidateDesign() const {
    generation_ = pager_->Generation();
    ++designStamp_;
}

const Catalog& LocalDatabase::GetCatalog() const {
    if (const std::uint64_t stamp = DesignStamp(); !catalog_ || catalogStamp_ != stamp) {
        catalog_.emplace(LoadLayout(*pager_, {kCatalogPage, "MSysObjects", true, {}}));
        catalogStamp_ = stamp;
    }
    return *catalog_;
}

std::vector<CatalogObject> LocalDatabase::Objects() const {
    pager_->Refresh();
    std::vector<CatalogObject> objects;
    for (const CatalogEntry& entry : GetCatalog().Entries()) objects.push_back(entry.object);
    return objects;
}

std::vector<std::string> LocalDatabase::TableNames(bool withSystemTables) const {
    pager_->Refresh();
    std::vector<std::string> names;
    for (const CatalogEntry& entry : GetCatalog().Entries()) {
        if (!entry.IsLocalTable()) continue;
        if (withSystemTables || !entry.object.IsSystem()) names.push_back(entry.object.name);
    }
    return names;
}

std::vector<Relationship> LocalDatabase::Relationships() const {
    pager_->Refresh();
    // The walk needs table objects, which are made on demand.
    return ReadRelationships(const_cast<LocalDatabase&>(*this));
}

std::shared_ptr<LocalTable> LocalDatabase::TableOf(const CatalogEntry& entry) {
    std::shared_ptr<LocalTable>& table = tables_[entry.DefinitionPage()];
    // A page can be given to another table after its first one was dropped.
    if (!table || table->Entry().created != entry.created) {
        table = std::make_shared<LocalTable>(*this, entry);
    }
    return table;
}

std::shared_ptr<LocalTable> LocalDatabase::FindLocalTable(std::string_view name) {
    const CatalogEntry* entry = GetCatalog().FindTable(name);
    return entry == nullptr ? nullptr : TableOf(*entry);
}

std::shared_ptr<Table> LocalDatabase::FindTable(std::string_view name) {
    pager_->Refresh();
    return FindLocalTable(name);
}

LocalTable& LocalDatabase::TableNamed(std::string_view name) {
    const std::shared_ptr<LocalTable> table = FindLocalTable(name);
    if (!table) RaiseJet(JetError::ObjectNotFound, {std::string(name)});
    return *table;
}

LocalTable& LocalDatabase::TableAt(PageNumber definitionPage) {
    const CatalogEntry* entry = GetCatalog().FindTableByPage(definitionPage);
    if (entry == nullptr) {
        RaiseCorrupt(pager_->Path(), "no table of the catalog has its definition on page " +
                                         std::to_string(definitionPage) + ", which a relationship names");
    }
    return *TableOf(*entry);
}

std::shared_ptr<Table> Database::OpenTable(std::string_view name) {
    std::shared_ptr<Table> table = FindTable(name);
    if (!table) RaiseJet(JetError::ObjectNotFound, {std::string(name)});
    return table;
}

}  // namespace marrowkit::jet
