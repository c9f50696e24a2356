#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/jet/engine/Catalog.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/engine/LocalTable.h"

namespace marrowkit::jet {

/// The one implementation of Database. Caches the catalog and the tables' layouts for as long as the pager's
/// generation and our own changes of the design leave them valid.
class LocalDatabase final : public Database {
public:
    explicit LocalDatabase(std::shared_ptr<Pager> pager);

    Pager& GetPager() override { return *pager_; }
    JetVersion Version() const override { return pager_->Header().version; }
    std::vector<CatalogObject> Objects() const override;
    std::vector<std::string> TableNames(bool withSystemTables) const override;
    std::shared_ptr<Table> FindTable(std::string_view name) override;
    std::vector<Relationship> Relationships() const override;

    void CreateTable(const TableDesign& design) override;
    void DropTable(std::string_view table) override;
    void RenameTable(std::string_view table, std::string_view newName) override;
    void AddColumn(std::string_view table, const Column& column) override;
    void DropColumn(std::string_view table, std::string_view column) override;
    void CreateIndex(std::string_view table, const Index& index) override;
    void DropIndex(std::string_view table, std::string_view index) override;
    void CreateRelationship(const Relationship& relationship) override;
    void DropRelationship(std::string_view name) override;

    // For the parts of the engine.

    const Catalog& GetCatalog() const;
    /// nullptr when there is none.
    std::shared_ptr<LocalTable> FindLocalTable(std::string_view name);
    /// Throws 3011.
    LocalTable& TableNamed(std::string_view name);
    /// Throws 3049: relationships name each other's tables by page.
    LocalTable& TableAt(PageNumber definitionPage);
    LocalTable& ObjectsTable() { return TableAt(kCatalogPage); }

    /// Grows whenever catalog and layouts must be read again.
    std::uint64_t DesignStamp() const {
        if (pager_->Generation() != generation_) InvalidateDesign();
        return designStamp_;
    }
    /// After a change of the design.
    void InvalidateDesign() const;

private:
    std::shared_ptr<LocalTable> TableOf(const CatalogEntry& entry);

    std::shared_ptr<Pager> pager_;
    mutable std::uint64_t generation_;
    mutable std::uint64_t designStamp_ = 1;
    mutable std::optional<Catalog> catalog_;
    mutable std::uint64_t catalogStamp_ = 0;
    std::unordered_map<PageNumber, std::shared_ptr<LocalTable>> tables_;
};

}  // namespace marrowkit::jet
