#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dao/sql/Result.h"
#include "platform/dao/sql/Statement.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/expression/Expression.h"

namespace marrowkit::dao::sql {

/// A set of sources, one bit each. A query may have 32 of them.
using SourceSet = std::uint32_t;
constexpr std::size_t kMaxSources = 32;

/// One table (or subquery) of a FROM clause and the columns that are read from it.
struct BoundSource {
    std::string alias;
    std::shared_ptr<jet::Table> table;
    std::shared_ptr<Result> rows;  ///< subquery, instead of a table
    /// Columns somebody asked for, and where their values stand in the query's row.
    std::vector<std::size_t> columns;
    std::vector<std::size_t> slots;
    /// Where a number stands that no other row of the source has; only if somebody asked for it.
    std::optional<std::size_t> idSlot;

    std::size_t ColumnCount() const;
    std::string ColumnName(std::size_t column) const;
    jet::ColumnType ColumnType(std::size_t column) const;
    std::optional<std::size_t> FindColumn(std::string_view name) const;
};

/// The sources of a query and the layout of the row that its expressions are evaluated on.
class Scope {
public:
    /// Adds a table; raises 3078 when there is none of that name.
    std::size_t AddTable(jet::Database& database, const std::string& table, const std::string& alias);
    std::size_t AddOpenTable(std::shared_ptr<jet::Table> table);
    std::size_t AddRows(std::shared_ptr<Result> rows, const std::string& alias);

    const std::vector<BoundSource>& Sources() const { return sources_; }
    std::size_t SlotCount() const { return slotSources_.size(); }

    /// Where a source of this alias stands.
    std::optional<std::size_t> FindSource(std::string_view alias) const;
    /// Finds a column by its name; raises 3079 when two sources have it.
    struct Place {
        std::size_t source;
        std::size_t column;
    };
    std::optional<Place> Find(std::string_view qualifier, std::string_view name) const;
    /// The slot of a column, which from now on is read.
    expression::BoundName Use(Place place);
    /// The slot of the numbers of a source's rows, which from now on are there.
    std::size_t UseId(std::size_t source);
    /// For Binding::resolve; asks Find and Use.
    expression::NameResolver Resolver();

    /// The sources whose slots occur in a bound expression.
    SourceSet SourcesOf(const expression::Node& bound) const;
    /// Column of a slot.
    Place PlaceOf(std::size_t slot) const { return slotPlaces_.at(slot); }

private:
    std::size_t Add(BoundSource source);

    std::vector<BoundSource> sources_;
    std::vector<std::size_t> slotSources_;
    std::vector<Place> slotPlaces_;
};

/// Splits a condition at its Ands. The parts are parsed, not bound.
void SplitConjunction(NodePtr condition, std::vector<NodePtr>& parts);

}  // namespace marrowkit::dao::sql
