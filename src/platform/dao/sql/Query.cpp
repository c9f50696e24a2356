#include "platform/dao/sql/Query.h"

#include <algorithm>
#include <bit>

#include "platform/dao/sql/AggregateRewriting.h"
#include "platform/dao/sql/Projection.h"
#include "platform/dao/sql/SelectList.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StreamBuilder.h"
#include "platform/dao/sql/Subqueries.h"
#include "platform/dao/sql/TableResult.h"
#include "platform/dao/sql/Union.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Node;
using expression::NodeKind;
using jet::JetError;
using jet::RaiseJet;

/// Rows of a PackedRows as a stream.
class PackedStream : public RowStream {
public:
    explicit PackedStream(PackedRows rows) : rows_(std::move(rows)) {}
    const jet::Row* Next() override {
        if (next_ == rows_.Size()) return nullptr;
        rows_.Read(next_++, row_);
        return &row_;
    }

private:
    PackedRows rows_;
    std::size_t next_ = 0;
    jet::Row row_;
};

class Query {
public:
    Query(jet::Database& database, const Select& select)
        : database_(database),
          select_(select),
          scope_(std::make_shared<Scope>()),
          builder_(*scope_, database, unknownNames_),
          list_(select, *scope_),
          order_(select, database.Version()) {}

    std::unique_ptr<Result> Run() {
        for (const auto& place : select_.from) AddSources(*place);
        for (const auto& place : select_.from) builder_.AddFrom(*place);
        BindWhere();
        list_.Make();
        if (IsAggregated()) return RunAggregated();
        return IsPlain() ? RunPlain() : RunComputed();
    }

    /// The same with rows that are there already in place of the FROM clause.
    std::unique_ptr<Result> RunOver(std::unique_ptr<Result> rows) {
        scope_->AddRows(std::move(rows), "");
        Source place;
        place.kind = Source::Kind::Subquery;
        builder_.AddFrom(place);
        list_.Make();
        return RunComputed();
    }

private:
    void AddSources(const Source& place) {
        if (place.IsJoin()) {
            if (ContainsAggregate(*place.on)) RaiseSql(SqlError::AggregateInJoin, {list_.TextOf(*place.on)});
            AddSources(*place.left);
            AddSources(*place.right);
        } else if (place.kind == Source::Kind::Subquery) {
            scope_->AddRows(OpenSelect(database_, *place.subquery), place.alias);
        } else {
            scope_->AddTable(database_, place.table, place.alias);
        }
    }

    void BindWhere() {
        if (!select_.where) return;
        if (ContainsAggregate(*select_.where))
            RaiseSql(SqlError::AggregateInWhere, {list_.TextOf(*select_.where)});
        builder_.AddWhere(select_.where->Clone());
    }

    expression::Binding MakeBinding() {
        expression::Binding binding;
        binding.version = database_.Version();
        binding.resolve = scope_->Resolver();
        binding.unknownNames = &unknownNames_;
        binding.runSubquery = SubqueriesOf(database_);
        return binding;
    }

    expression::Expression Bind(NodePtr node) { return {std::move(node), MakeBinding()}; }

    void CheckParameters() const {
        if (!unknownNames_.empty())
            RaiseJet(JetError::TooFewParameters, {std::to_string(unknownNames_.size())});
    }

    bool IsAggregated() const {
        if (!select_.groupBy.empty() || select_.having) return true;
        return std::any_of(list_.Outputs().begin(), list_.Outputs().end(),
                           [](const Output& output) { return ContainsAggregate(*output.value); });
    }

    /// One table, its own rows.
    bool IsPlain() const {
        return !select_.distinct && scope_->Sources().size() == 1 && scope_->Sources()[0].table;
    }

    // --- rows of one table -------------------------------------------------------------------------------

    std::unique_ptr<Result> RunPlain() {
        const std::shared_ptr<jet::Table> table = scope_->Sources()[0].table;
        TableResult::Plan plan{scope_, {}, {}, {}, RowReader(table)};
        for (const Output& output : list_.Outputs())
            plan.outputs.push_back(MakeTableOutput(output, plan.reader));
        std::vector<expression::Expression> order;
        for (const OrderItem& item : select_.orderBy) order.push_back(Bind(list_.OrderValue(item)));
        CheckParameters();
        plan.conditions = builder_.TakeConditions();
        plan.path = ChoosePath(*scope_, 0, plan.conditions);
        if (order.empty() || FollowsIndex(*table, order, plan.path)) return RunInWalkOrder(std::move(plan));
        std::vector<jet::RowId> rows = SortRows(plan, order);
        return std::make_unique<TableResult>(std::move(plan), std::move(rows));
    }

    TableOutput MakeTableOutput(const Output& output, RowReader& reader) {
        TableOutput made;
        made.column.name = output.name;
        const jet::Table& table = *reader.ItsTable();
        if (output.value->kind == NodeKind::Name) {
            if (const auto place = scope_->Find(output.value->qualifier, output.value->name)) {
                made.column.tableColumn = place->column;
                made.column.type = table.Columns()[place->column].type;
                return made;
            }
        }
        expression::Binding binding = MakeBinding();
        binding.resolve = [&](std::string_view qualifier,
                              std::string_view name) -> std::optional<expression::BoundName> {
            const auto place = scope_->Find(qualifier, name);
            if (!place) return std::nullopt;
            return expression::BoundName{reader.Use(place->column), table.Columns()[place->column].type};
        };
        made.expression = expression::Expression(output.value->Clone(), binding);
        made.column.type = OutputType(made.expression);
        return made;
    }

    /// ORDER BY columns that an index has in that order already. TOP must see the keys of its last rows, so
    /// it sorts.
    bool FollowsIndex(const jet::Table& table, const std::vector<expression::Expression>& order,
                      AccessPath& path) const {
        if (select_.top) return false;
        std::vector<OrderColumn> columns;
        columns.reserve(order.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            const Node& node = order[i].Root();
            if (node.kind != NodeKind::Slot) return false;
            columns.push_back({scope_->PlaceOf(node.slot).column, select_.orderBy[i].descending});
        }
        return FollowOrder(table, columns, path);
    }

    std::unique_ptr<Result> RunInWalkOrder(TableResult::Plan plan) {
        if (select_.top && !select_.topPercent) plan.limit = static_cast<std::size_t>(*select_.top);
        if (!select_.topPercent) return std::make_unique<TableResult>(std::move(plan));
        std::vector<jet::RowId> rows;
        SourceStream stream(*scope_, 0, plan.path, plan.conditions);
        while (stream.Next()) rows.push_back(stream.Id());
        rows.resize(order_.TopCount(rows.size()));
        return std::make_unique<TableResult>(std::move(plan), std::move(rows));
    }

    std::vector<jet::RowId> SortRows(const TableResult::Plan& plan,
                                     const std::vector<expression::Expression>& order) {
        SourceStream stream(*scope_, 0, plan.path, plan.conditions);
        std::vector<jet::RowId> found;
        KeySorter sorter;
        std::string key;
        while (const jet::Row* row = stream.Next()) {
            order_.MakeKey(*row, order, key);
            sorter.Add(key);
            found.push_back(stream.Id());
        }
        std::vector<jet::RowId> rows;
        rows.reserve(found.size());
        for (const std::size_t number : order_.Ordered(sorter)) rows.push_back(found[number]);
        return rows;
    }

    // --- computed rows -----------------------------------------------------------------------------------

    std::unique_ptr<Result> RunComputed() {
        Projection projection(select_, database_.Version());
        for (const Output& output : list_.Outputs())
            projection.AddOutput(output.name, Bind(output.value->Clone()));
        for (const OrderItem& item : select_.orderBy)
            projection.AddOrder(Bind(list_.OrderValue(item)), list_.TextOf(*item.value));
        CheckParameters();
        if (select_.distinctRow)
            projection.SetDistinctRows(SlotsOfRows(projection.SourcesOfOutputs(*scope_)));
        const std::unique_ptr<RowStream> stream = builder_.Build();
        return projection.Run(*stream);
    }

    /// DISTINCTROW matters only where some tables of a join show in the outputs and others do not.
    std::vector<std::size_t> SlotsOfRows(SourceSet shown) {
        const std::size_t count = scope_->Sources().size();
        if (static_cast<std::size_t>(std::popcount(shown)) == count) return {};
        std::vector<std::size_t> slots;
        for (std::size_t i = 0; i < count; ++i)
            if ((shown >> i & 1U) != 0) slots.push_back(scope_->UseId(i));
        return slots;
    }

    std::unique_ptr<Result> RunAggregated() {
        std::vector<expression::Expression> groups;
        for (const NodePtr& group : select_.groupBy) {
            if (ContainsAggregate(*group)) RaiseSql(SqlError::AggregateNested, {list_.TextOf(*group)});
            groups.push_back(Bind(list_.ExpandAliases(group->Clone())));
        }
        AggregateRewriter rewriter(MakeBinding(), std::move(groups));
        const auto rewrite = [&](NodePtr node, const Node& source) {
            return rewriter.Rewrite(std::move(node), list_.TextOf(source));
        };
        Projection projection(select_, database_.Version());
        for (const Output& output : list_.Outputs())
            projection.AddOutput(output.name, rewrite(output.value->Clone(), *output.value));
        if (select_.having)
            projection.SetHaving(rewrite(list_.ExpandAliases(select_.having->Clone()), *select_.having));
        for (const OrderItem& item : select_.orderBy)
            projection.AddOrder(rewrite(list_.OrderValue(item), *item.value), list_.TextOf(*item.value));
        CheckParameters();
        PackedStream stream(SumUp(rewriter));
        return projection.Run(stream);
    }

    PackedRows SumUp(const AggregateRewriter& rewriter) {
        const bool onlyCounts = std::all_of(
            rewriter.Aggregates().begin(), rewriter.Aggregates().end(),
            [](const Aggregate& aggregate) { return aggregate.kind == AggregateKind::CountRows; });
        if (onlyCounts && rewriter.Groups().empty() && !select_.where && IsPlain()) {
            PackedRows rows;
            rows.Append(jet::Row(rewriter.Aggregates().size(),
                                 static_cast<std::int32_t>(scope_->Sources()[0].table->RowCount())));
            return rows;
        }
        const std::unique_ptr<RowStream> stream = builder_.Build();
        return Summarize(*stream, rewriter.Groups(), rewriter.Aggregates(), database_.Version());
    }

    jet::Database& database_;
    const Select& select_;
    std::shared_ptr<Scope> scope_;
    std::vector<std::string> unknownNames_;
    StreamBuilder builder_;
    SelectList list_;
    RowOrder order_;
};

/// ORDER BY of a union sorts its rows by its own columns: by name or position.
std::unique_ptr<Result> SortUnion(jet::Database& database, const Select& select,
                                  std::unique_ptr<Result> rows) {
    Select outer;
    outer.text = select.text;
    outer.items.emplace_back();
    for (const OrderItem& item : select.orderBy)
        outer.orderBy.push_back({item.value->Clone(), item.descending});
    return Query(database, outer).RunOver(std::move(rows));
}

}  // namespace

std::unique_ptr<Result> OpenSelect(jet::Database& database, const Select& select) {
    if (select.unions.empty()) return Query(database, select).Run();
    std::vector<std::unique_ptr<Result>> parts;
    parts.push_back(Query(database, select).Run());
    std::size_t distinctParts = 0;
    for (const auto& other : select.unions) {
        parts.push_back(OpenSelect(database, *other));
        if (!other->unionAll) distinctParts = parts.size();
    }
    std::unique_ptr<Result> rows = PutTogether(parts, distinctParts, database.Version());
    if (select.orderBy.empty()) return rows;
    return SortUnion(database, select, std::move(rows));
}

}  // namespace marrowkit::dao::sql
