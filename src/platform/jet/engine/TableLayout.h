#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/engine/StoredExpression.h"
#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/LongValueStore.h"
#include "platform/jet/storage/RowStore.h"

namespace marrowkit::jet {

class LocalTable;

/// Where and how one column is stored; parallel to TableLayout::columns.
struct ColumnStorage {
    const ColumnDefinition* definition = nullptr;
    std::size_t descriptor = 0;  ///< position in TableDefinition::columns
    std::optional<LongValueStore> longValues;
    StoredDefault defaultValue;  ///< none for AutoNumbers
    StoredRule rule;
};

/// A real index ready for use.
struct IndexStorage {
    BTree tree;
    std::vector<std::size_t> columns;                  ///< positions in TableLayout::columns
    std::vector<const ColumnDefinition*> definitions;  ///< of those columns
    std::vector<IndexColumn> order;
    bool unique = false;
    bool ignoresNulls = false;
    bool refusesNulls = false;
    bool buildable = true;  ///< false: a sort order whose weights are unknown; its keys can only be read
};

/// One side of an enforced relationship, as a logical index of the table tells it.
struct RelationshipSide {
    std::size_t realIndex = 0;  ///< of this table
    PageNumber partnerTable = 0;
    std::uint32_t partnerNumber = 0;
    bool cascadesUpdates = false;
    bool cascadesDeletes = false;
    bool setsNull = false;  ///< on delete

    LocalTable* partner = nullptr;  ///< looked up when it is needed first

    /// Foreign side: the key (as this table's index has it) whose primary row was found last, so that rows of
    /// one primary row look it up once. Holds as long as the primary table's count of vanished keys is
    /// `lastKeyStamp`.
    std::vector<std::uint8_t> lastKey;
    std::uint64_t lastKeyStamp = 0;
};

/// Everything known about a table's design, with the parts of the storage layer that serve it. Loaded as a
/// whole, replaced as a whole when the design changes; only the counters in `definition` move in place.
/// Whoever walks the table keeps the layout alive that the walk began with.
struct TableLayout {
    TableLayout(Pager& pager, TableDefinition loaded);
    TableLayout(const TableLayout&) = delete;
    TableLayout& operator=(const TableLayout&) = delete;

    Pager* pager;
    std::string name;
    TableDefinition definition;
    bool isSystem = false;
    std::vector<Column> columns;         ///< in display order
    std::vector<ColumnStorage> storage;  ///< parallel to columns
    std::vector<Index> indexes;
    std::vector<IndexStorage> realIndexes;
    std::vector<RelationshipSide> references;    ///< rows here need a row there
    std::vector<RelationshipSide> referencedBy;  ///< rows there may need a row here
    StoredRule rule;
    std::string ruleMessage;  ///< shown instead of the rule; may be empty
    RowStore rows;

    JetVersion Version() const { return pager->PageGeometry().version; }
    const Geometry& PageGeometry() const { return pager->PageGeometry(); }
    std::optional<std::size_t> FindColumn(std::string_view wanted) const;
    /// Position in `columns` of a column number; nullopt for a number the table does not have.
    std::optional<std::size_t> PositionOf(std::uint16_t columnNumber) const;
};

/// A real index of the layout's table, ready for use; also one that the layout does not list yet.
IndexStorage OpenRealIndex(const TableLayout& layout, const RealIndex& real);

/// What the catalog adds to a definition.
struct LayoutSource {
    PageNumber definitionPage = 0;
    std::string name;
    bool isSystem = false;
    std::vector<std::uint8_t> properties;  ///< the LvProp blob; empty for none
};

/// Throws 3049 on a definition or a property blob that does not hold together.
std::shared_ptr<TableLayout> LoadLayout(Pager& pager, const LayoutSource& source);

}  // namespace marrowkit::jet
