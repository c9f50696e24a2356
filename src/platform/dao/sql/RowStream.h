#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/dao/sql/AccessPath.h"
#include "platform/dao/sql/PackedRows.h"

namespace marrowkit::dao::sql {

/// Rows of a query one after the other, laid out as the query's scope says.
class RowStream {
public:
    virtual ~RowStream() = default;
    /// The next row, or null at the end. It stays valid until the next call.
    virtual const jet::Row* Next() = 0;
    /// The row's place in its table, for a stream of one table.
    virtual jet::RowId Id() const { return {}; }
};

/// The rows of one source that satisfy its conditions. Costs what the path costs.
class SourceStream : public RowStream {
public:
    SourceStream(const Scope& scope, std::size_t source, const AccessPath& path,
                 std::vector<Condition> conditions);
    const jet::Row* Next() override;
    jet::RowId Id() const override { return scan_->Id(); }

private:
    bool Passes(const jet::Row& row) const;

    const BoundSource& source_;
    std::vector<Condition> conditions_;
    std::unique_ptr<jet::Table::Scan> scan_;
    std::size_t nextRow_ = 0;  ///< of a subquery
    bool direct_ = false;      ///< the query's row is the source's row
    bool empty_ = false;
    jet::Row row_;
};

/// Joins a stream with a source read once into memory (hashed by the join's equal columns), or looked up in
/// an index for each row on the left.
class JoinStream : public RowStream {
public:
    /// Two expressions that must be equal; left on the stream's slots, right on the others.
    struct EqualPair {
        expression::Expression left;
        expression::Expression right;
        /// Compare numbers of different types by their value.
        bool asNumbers = false;
    };
    struct Plan {
        std::unique_ptr<RowStream> left;
        std::unique_ptr<RowStream> right;
        std::vector<std::size_t> rightSlots;
        std::vector<EqualPair> equal;
        std::vector<Condition> conditions;  ///< the rest of ON
        bool outer = false;                 ///< keep rows of the left without a partner
        std::size_t slotCount = 0;
        jet::JetVersion version = jet::JetVersion::Jet4;
        /// When the right side is a table with an index on the equal columns and few rows come from the left.
        std::optional<std::size_t> lookupSource;
        std::size_t lookupIndex = 0;
        std::vector<Condition> lookupConditions;
    };
    JoinStream(const Scope& scope, Plan plan);
    const jet::Row* Next() override;

private:
    void ReadRight();
    bool MakeKey(const jet::Row& row, bool left, std::string& key) const;
    bool NextLeft();
    void FindPartners();
    bool TakePartner();
    bool TakeFromIndex();

    const Scope& scope_;
    Plan plan_;
    PackedRows right_;
    std::unordered_multimap<std::string, std::size_t> hash_;
    std::vector<std::size_t> partners_;
    std::size_t nextPartner_ = 0;
    std::unique_ptr<jet::Table::Scan> lookup_;
    bool rightRead_ = false;
    bool haveLeft_ = false;
    bool matched_ = false;
    jet::Row row_;
    jet::Row rightValues_;
};

/// Drops rows that do not satisfy all conditions.
class FilterStream : public RowStream {
public:
    FilterStream(std::unique_ptr<RowStream> input, std::vector<Condition> conditions)
        : input_(std::move(input)), conditions_(std::move(conditions)) {}
    const jet::Row* Next() override;
    jet::RowId Id() const override { return input_->Id(); }

private:
    std::unique_ptr<RowStream> input_;
    std::vector<Condition> conditions_;
};

/// One empty row: a SELECT without FROM.
class SingleRowStream : public RowStream {
public:
    const jet::Row* Next() override { return std::exchange(done_, true) ? nullptr : &row_; }

private:
    bool done_ = false;
    jet::Row row_;
};

bool AllTrue(const std::vector<Condition>& conditions, const jet::Row& row);

}  // namespace marrowkit::dao::sql
