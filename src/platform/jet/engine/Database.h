#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/engine/Table.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

struct OpenOptions {
    bool readOnly = false;
    bool exclusive = false;
    std::size_t cacheBytes = std::size_t{64} << 20;
    Storage* storage = nullptr;  ///< null: the host's
};

/// An open Jet 3 or Jet 4 database: its catalog, tables and relationships. Opening a file that this process
/// has open already gives the same object, so all users see one state. Host paths.
class Database : public std::enable_shared_from_this<Database> {
public:
    static std::shared_ptr<Database> Open(const std::string& path, const OpenOptions& options = {});
    /// A new database with the four system tables and nothing else. Throws 3204 when the file exists.
    static std::shared_ptr<Database> Create(const std::string& path, JetVersion version,
                                            const OpenOptions& options = {});
    virtual ~Database() = default;

    virtual Pager& GetPager() = 0;
    virtual JetVersion Version() const = 0;

    /// The catalog, in storage order.
    virtual std::vector<CatalogObject> Objects() const = 0;
    /// Local tables, in catalog order; without the system's unless asked for.
    virtual std::vector<std::string> TableNames(bool withSystemTables = false) const = 0;
    /// nullptr when there is no local table of that name (any case). The object stays valid while the
    /// database does and follows changes of the table's design.
    virtual std::shared_ptr<Table> FindTable(std::string_view name) = 0;
    /// Throws 3011.
    std::shared_ptr<Table> OpenTable(std::string_view name);
    virtual std::vector<Relationship> Relationships() const = 0;

    // Changes of the design; each is a unit of its own or part of the open one.
    virtual void CreateTable(const TableDesign& design) = 0;                         // 3010, 3190, 3191, 3264
    virtual void DropTable(std::string_view table) = 0;                              // 3281, 3376
    virtual void RenameTable(std::string_view table, std::string_view newName) = 0;  // 3010
    virtual void AddColumn(std::string_view table, const Column& column) = 0;        // 3380
    virtual void DropColumn(std::string_view table, std::string_view column) = 0;    // 3281, 3303, 3381
    virtual void CreateIndex(std::string_view table, const Index& index) = 0;        // 3022, 3283, 3375, 3409
    virtual void DropIndex(std::string_view table, std::string_view index) = 0;      // 3281, 3372
    virtual void CreateRelationship(const Relationship& relationship) = 0;           // 3012, 3368, 3379
    virtual void DropRelationship(std::string_view name) = 0;                        // 3371
};

}  // namespace marrowkit::jet
