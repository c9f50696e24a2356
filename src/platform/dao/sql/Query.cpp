#include "platform/dao/sql/Query.h"

#include <algorithm>
#include <unordered_set>

#include "platform/dao/sql/AggregateRewriting.h"
#include "platform/dao/sql/KeySorter.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StreamBuilder.h"
#include "platform/dao/sql/TableResult.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Node;
using expression::NodeKind;
using jet::JetError;
using jet::RaiseJet;

/// One column that the query gives, parsed.
struct Output {
    std::string name;
    NodePtr value;
};

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

/// What is computed of each row: the outputs, the sort key, and whether it counts at all.
struct Projection {
    std::vector<OutputColumn> columns;
    std::vector<expression::Expression> values;
    std::optional<expression::Expression> having;
    std::vector<expression::Expression> order;
    std::vector<bool> descending;
};

/// Results of comparisons are numbers: -1 and 0. A Yes/No column stays what it is.
jet::Value AsOutput(const expression::Expression& expression, jet::Value value) {
    const auto* truth = std::get_if<bool>(&value);
    const NodeKind kind = expression.Root().kind;
    if (!truth || kind == NodeKind::Slot) return value;
    return std::int16_t{static_cast<std::int16_t>(*truth ? -1 : 0)};
}

jet::ColumnType OutputType(const expression::Expression& expression) {
    const auto type = expression.Type();
    if (type == jet::ColumnType::Boolean && expression.Root().kind != NodeKind::Slot)
        return jet::ColumnType::Integer;
    return type.value_or(jet::ColumnType::Text);
}

NodePtr MakeName(std::string qualifier, std::string name) {
    auto node = std::make_unique<Node>(NodeKind::Name);
    node->qualifier = std::move(qualifier);
    node->name = std::move(name);
    node->bracketed = true;
    return node;
}

class Query {
public:
    Query(jet::Database& database, const Select& select)
        : database_(database),
          select_(select),
          scope_(std::make_shared<Scope>()),
          builder_(*scope_, database.Version(), unknownNames_) {}

    std::unique_ptr<Result> Run() {
        for (const auto& place : select_.from) AddSources(*place);
        for (const auto& place : select_.from) builder_.AddFrom(*place);
        BindWhere();
        MakeOutputs();
        if (IsAggregated()) return RunAggregated();
        return IsPlain() ? RunPlain() : RunComputed();
    }

    /// The same with rows that are there already in place of the FROM clause.
    std::unique_ptr<Result> RunOver(std::unique_ptr<Result> rows) {
        scope_->AddRows(std::move(rows), "");
        Source place;
        place.kind = Source::Kind::Subquery;
        builder_.AddFrom(place);
        MakeOutputs();
        return RunComputed();
    }

private:
    void AddSources(const Source& place) {
        if (place.IsJoin()) {
            if (ContainsAggregate(*place.on)) RaiseSql(SqlError::AggregateInJoin, {TextOf(*place.on)});
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
        if (ContainsAggregate(*select_.where)) RaiseSql(SqlError::AggregateInWhere, {TextOf(*select_.where)});
        builder_.AddWhere(select_.where->Clone());
    }

    std::string TextOf(const Node& node) const {
        return node.end > node.start ? select_.text->substr(node.start, node.end - node.start) : node.name;
    }

    /// Stars become the columns they stand for, in the order of the sources.
    void MakeOutputs() {
        for (std::size_t i = 0; i < select_.items.size(); ++i) {
            const SelectItem& item = select_.items[i];
            if (!item.value) {
                AddStar(item);
                continue;
            }
            Output output;
            output.value = item.value->Clone();
            output.name = item.alias;
            if (output.name.empty())
                output.name = item.value->kind == NodeKind::Name
                                  ? item.value->name
                                  : "Expr" + std::to_string(1000 + outputs_.size());
            outputs_.push_back(std::move(output));
        }
        for (Output& output : outputs_) output.value = ExpandAliases(std::move(output.value), 0);
    }

    void AddStar(const SelectItem& item) {
        const auto& sources = scope_->Sources();
        if (sources.empty()) RaiseSql(SqlError::NoInput);
        bool found = false;
        for (const BoundSource& source : sources) {
            if (!item.starTable.empty() && !expression::SameName(source.alias, item.starTable)) continue;
            found = true;
            for (std::size_t column = 0; column < source.ColumnCount(); ++column)
                AddStarColumn(source, source.ColumnName(column));
        }
        if (!found) RaiseJet(JetError::InputTableNotFound, {item.starTable});
    }

    /// A name that several sources have is told apart by the source.
    void AddStarColumn(const BoundSource& source, const std::string& name) {
        const auto& sources = scope_->Sources();
        const auto having = std::count_if(sources.begin(), sources.end(), [&](const BoundSource& other) {
            return other.FindColumn(name).has_value();
        });
        const bool shared = having > 1 && select_.items.size() == 1 && select_.items[0].starTable.empty();
        outputs_.push_back({shared ? source.alias + "." + name : name, MakeName(source.alias, name)});
    }

    /// Names that are no columns may be aliases of other items.
    NodePtr ExpandAliases(NodePtr node, int depth) const {
        if (node->kind == NodeKind::Name && node->qualifier.empty() && !scope_->Find("", node->name)) {
            for (const SelectItem& item : select_.items) {
                if (item.alias.empty() || !expression::SameName(item.alias, node->name)) continue;
                if (depth > 20) RaiseSql(SqlError::CircularAlias, {item.alias});
                return ExpandAliases(item.value->Clone(), depth + 1);
            }
            return node;
        }
        for (NodePtr& child : node->children) child = ExpandAliases(std::move(child), depth);
        return node;
    }

    /// ORDER BY 2 means the second column.
    NodePtr OrderValue(const OrderItem& item) const {
        const auto* position =
            item.value->kind == NodeKind::Literal ? std::get_if<std::int32_t>(&item.value->value) : nullptr;
        if (!position) return ExpandAliases(item.value->Clone(), 0);
        if (*position < 1 || static_cast<std::size_t>(*position) > outputs_.size())
            RaiseSql(SqlError::OrderBySyntax);
        return outputs_[static_cast<std::size_t>(*position) - 1].value->Clone();
    }

    expression::Binding MakeBinding() {
        expression::Binding binding;
        binding.version = database_.Version();
        binding.resolve = scope_->Resolver();
        binding.unknownNames = &unknownNames_;
        return binding;
    }

    expression::Expression Bind(NodePtr node) { return {std::move(node), MakeBinding()}; }

    void CheckParameters() const {
        if (!unknownNames_.empty())
            RaiseJet(JetError::TooFewParameters, {std::to_string(unknownNames_.size())});
    }

    bool IsAggregated() const {
        if (!select_.groupBy.empty() || select_.having) return true;
        return std::any_of(outputs_.begin(), outputs_.end(),
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
        for (const Output& output : outputs_) plan.outputs.push_back(MakeTableOutput(output, plan.reader));
        std::vector<expression::Expression> order;
        for (const OrderItem& item : select_.orderBy) order.push_back(Bind(OrderValue(item)));
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
        rows.resize(TopCount(rows.size()));
        return std::make_unique<TableResult>(std::move(plan), std::move(rows));
    }

    std::vector<jet::RowId> SortRows(const TableResult::Plan& plan,
                                     const std::vector<expression::Expression>& order) {
        SourceStream stream(*scope_, 0, plan.path, plan.conditions);
        std::vector<jet::RowId> found;
        KeySorter sorter;
        std::string key;
        while (const jet::Row* row = stream.Next()) {
            MakeOrderKey(*row, order, key);
            sorter.Add(key);
            found.push_back(stream.Id());
        }
        std::vector<jet::RowId> rows;
        rows.reserve(found.size());
        for (const std::size_t number : Ordered(sorter)) rows.push_back(found[number]);
        return rows;
    }

    void MakeOrderKey(const jet::Row& row, const std::vector<expression::Expression>& order,
                      std::string& key) const {
        key.clear();
        jet::Value scratch;
        for (std::size_t i = 0; i < order.size(); ++i)
            expression::AppendSortKey(database_.Version(), order[i].Evaluate(row, scratch),
                                      select_.orderBy[i].descending, key);
    }

    /// TOP in rows: a percentage is rounded up.
    std::size_t TopCount(std::size_t rows) const {
        if (!select_.top) return rows;
        const auto top = static_cast<std::size_t>(*select_.top);
        return std::min(rows, select_.topPercent ? (rows * top + 99) / 100 : top);
    }

    std::vector<std::size_t> Ordered(const KeySorter& sorter) const {
        return select_.top ? sorter.Order(TopCount(sorter.Size())) : sorter.Order();
    }

    // --- computed rows -----------------------------------------------------------------------------------

    std::unique_ptr<Result> RunComputed() {
        Projection projection;
        for (const Output& output : outputs_) AddValue(output.name, Bind(output.value->Clone()), projection);
        for (const OrderItem& item : select_.orderBy) {
            projection.order.push_back(Bind(OrderValue(item)));
            projection.descending.push_back(item.descending);
            if (select_.distinct) CheckSelected(projection, TextOf(*item.value));
        }
        CheckParameters();
        const std::unique_ptr<RowStream> stream = builder_.Build();
        return Project(*stream, std::move(projection));
    }

    /// With DISTINCT, what is sorted by must be among the columns.
    static void CheckSelected(const Projection& projection, const std::string& text) {
        const Node& wanted = projection.order.back().Root();
        const bool selected = std::any_of(projection.values.begin(), projection.values.end(),
                                          [&](const expression::Expression& value) {
                                              return expression::SameExpression(value.Root(), wanted);
                                          });
        if (!selected) RaiseSql(SqlError::OrderConflictsWithDistinct, {text});
    }

    static void AddValue(const std::string& name, expression::Expression value, Projection& projection) {
        OutputColumn column;
        column.name = name;
        column.type = OutputType(value);
        projection.columns.push_back(std::move(column));
        projection.values.push_back(std::move(value));
    }

    std::unique_ptr<Result> RunAggregated() {
        std::vector<expression::Expression> groups;
        for (const NodePtr& group : select_.groupBy) {
            if (ContainsAggregate(*group)) RaiseSql(SqlError::AggregateNested, {TextOf(*group)});
            groups.push_back(Bind(ExpandAliases(group->Clone(), 0)));
        }
        AggregateRewriter rewriter(MakeBinding(), std::move(groups));
        Projection projection;
        for (const Output& output : outputs_)
            AddValue(output.name, rewriter.Rewrite(output.value->Clone(), TextOf(*output.value)), projection);
        if (select_.having)
            projection.having =
                rewriter.Rewrite(ExpandAliases(select_.having->Clone(), 0), TextOf(*select_.having));
        for (const OrderItem& item : select_.orderBy) {
            projection.order.push_back(rewriter.Rewrite(OrderValue(item), TextOf(*item.value)));
            projection.descending.push_back(item.descending);
            if (select_.distinct) CheckSelected(projection, TextOf(*item.value));
        }
        CheckParameters();
        PackedStream stream(SumUp(rewriter));
        return Project(stream, std::move(projection));
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

    std::unique_ptr<Result> Project(RowStream& stream, Projection projection) {
        PackedRows rows;
        KeySorter sorter;
        std::unordered_set<std::string> seen;
        std::string key;
        // Without an ORDER BY, DISTINCT gives its rows in the order of their values.
        const bool sorted = select_.distinct || !projection.order.empty();
        jet::Row values(projection.values.size());
        while (const jet::Row* row = stream.Next()) {
            if (projection.having && !projection.having->IsTrue(*row)) continue;
            for (std::size_t i = 0; i < values.size(); ++i)
                values[i] = AsOutput(projection.values[i], projection.values[i].Evaluate(*row));
            if (select_.distinct) {
                MakeKey(values, key);
                if (!seen.insert(key).second) continue;
            }
            if (!projection.order.empty()) MakeOrderKey(*row, projection.order, key);
            if (sorted) sorter.Add(key);
            rows.Append(values);
            LearnTypes(values, projection);
            const bool enough = !sorted && select_.top && !select_.topPercent &&
                                rows.Size() >= static_cast<std::size_t>(*select_.top);
            if (enough) break;
        }
        return std::make_unique<PackedResult>(std::move(projection.columns),
                                              Arrange(std::move(rows), sorter, sorted));
    }

    PackedRows Arrange(PackedRows rows, const KeySorter& sorter, bool sorted) const {
        if (!sorted && TopCount(rows.Size()) == rows.Size()) return rows;
        PackedRows arranged;
        if (sorted) {
            for (const std::size_t number : Ordered(sorter)) arranged.Append(rows.Read(number));
        } else {
            for (std::size_t i = 0; i < TopCount(rows.Size()); ++i) arranged.Append(rows.Read(i));
        }
        return arranged;
    }

    void MakeKey(const jet::Row& values, std::string& key) const {
        key.clear();
        for (const jet::Value& value : values)
            expression::AppendSortKey(database_.Version(), value, false, key);
    }

    /// Types that depend on the values, as the first of them shows them.
    static void LearnTypes(const jet::Row& values, Projection& projection) {
        for (std::size_t i = 0; i < values.size(); ++i)
            if (!projection.values[i].Type() && !jet::IsNull(values[i]))
                projection.columns[i].type = expression::TypeOf(values[i]);
    }

    jet::Database& database_;
    const Select& select_;
    std::shared_ptr<Scope> scope_;
    std::vector<std::string> unknownNames_;
    StreamBuilder builder_;
    std::vector<Output> outputs_;
};

/// Puts the rows of several selects below each other. Without ALL, equal rows are left out and the order is
/// that of the values.
std::unique_ptr<Result> OpenUnion(jet::Database& database, const Select& select) {
    std::vector<std::unique_ptr<Result>> parts;
    parts.push_back(Query(database, select).Run());
    for (const auto& other : select.unions) parts.push_back(OpenSelect(database, *other));
    const std::vector<OutputColumn> columns = parts.front()->Columns();
    PackedRows rows;
    KeySorter sorter;
    std::unordered_set<std::string> seen;
    jet::Row row(columns.size());
    for (const auto& part : parts) {
        if (part->Columns().size() != columns.size()) RaiseSql(SqlError::ValueCountMismatch);
        for (std::size_t record = 0; part->Reach(record); ++record) {
            std::string key;
            for (std::size_t i = 0; i < row.size(); ++i) {
                row[i] = part->Read(record, i);
                expression::AppendSortKey(database.Version(), row[i], false, key);
            }
            if (!select.unionAll && !seen.insert(key).second) continue;
            if (!select.unionAll) sorter.Add(key);
            rows.Append(row);
        }
    }
    PackedRows arranged;
    for (const std::size_t number : sorter.Order()) arranged.Append(rows.Read(number));
    std::vector<OutputColumn> plain = columns;
    for (OutputColumn& column : plain) column.tableColumn.reset();
    return std::make_unique<PackedResult>(std::move(plain),
                                          select.unionAll ? std::move(rows) : std::move(arranged));
}

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
    std::unique_ptr<Result> rows = OpenUnion(database, select);
    if (select.orderBy.empty()) return rows;
    return SortUnion(database, select, std::move(rows));
}

std::unique_ptr<Result> OpenTableResult(std::shared_ptr<jet::Table> table) {
    auto scope = std::make_shared<Scope>();
    scope->AddOpenTable(table);
    TableResult::Plan plan{std::move(scope), {}, {}, {}, RowReader(table)};
    for (std::size_t i = 0; i < table->Columns().size(); ++i) {
        TableOutput output;
        output.column = {table->Columns()[i].name, table->Columns()[i].type, i};
        plan.outputs.push_back(std::move(output));
    }
    return std::make_unique<TableResult>(std::move(plan));
}

}  // namespace marrowkit::dao::sql
