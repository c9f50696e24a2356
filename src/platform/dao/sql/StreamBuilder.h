#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/dao/sql/RowStream.h"
#include "platform/dao/sql/Statement.h"

namespace marrowkit::dao::sql {

/// A FROM clause with its joins and the WHERE, all names bound: everything a stream is made of. Conditions
/// are handed down to the sources they look at; equal columns of two sides become the join's key.
class StreamBuilder {
public:
    /// Binds the joins' conditions and the WHERE (which may be null). Unknown names go to `unknownNames`.
    /// Raises 3615 for a join of columns that cannot be compared, 3096 and 3098 for aggregates.
    StreamBuilder(Scope& scope, jet::Database& database, std::vector<std::string>& unknownNames);

    void AddFrom(const Source& from);
    void AddWhere(NodePtr where);

    /// Makes the stream. Every column that is going to be read from it must have been asked for in the scope.
    /// May be called once.
    std::unique_ptr<RowStream> Build();

    /// For a query of one table: the conditions on it, in Build's place.
    std::vector<Condition> TakeConditions() { return std::move(conditions_); }

private:
    /// A place of the FROM clause with its condition bound.
    struct Place {
        Source::Kind kind = Source::Kind::Table;
        std::size_t source = 0;
        SourceSet sources = 0;
        std::unique_ptr<Place> left;
        std::unique_ptr<Place> right;
        std::vector<Condition> on;
    };
    struct Built {
        std::unique_ptr<RowStream> stream;
        double expectedRows = 0;
    };

    std::unique_ptr<Place> Add(const Source& from);
    std::vector<Condition> BindOn(const NodePtr& on);
    expression::Binding MakeBinding();
    Built BuildPlace(const Place& place, std::vector<Condition>& conditions);
    Built BuildSource(const Place& place, std::vector<Condition>& conditions);
    Built BuildJoin(const Place& place, std::vector<Condition>& conditions);
    bool SplitEqual(const Condition& condition, SourceSet left, SourceSet right,
                    JoinStream::Plan& plan) const;
    void PlanLookup(const Place& right, double leftRows, std::vector<Condition>& rightConditions,
                    JoinStream::Plan& plan) const;

    Scope& scope_;
    jet::Database& database_;
    jet::JetVersion version_;
    std::vector<std::string>& unknownNames_;
    std::unique_ptr<Place> root_;
    std::vector<Condition> conditions_;
    std::size_t nextSource_ = 0;
};

}  // namespace marrowkit::dao::sql
