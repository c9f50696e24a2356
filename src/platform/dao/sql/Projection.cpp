#include "platform/dao/sql/Projection.h"

#include <algorithm>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Operators.h"

namespace marrowkit::dao::sql {

using expression::Node;
using expression::NodeKind;

namespace {

/// Results of comparisons are numbers: -1 and 0. A Yes/No column stays what it is.
jet::Value AsOutput(const expression::Expression& expression, jet::Value value) {
    const auto* truth = std::get_if<bool>(&value);
    if (!truth || expression.Root().kind == NodeKind::Slot) return value;
    return std::int16_t{static_cast<std::int16_t>(*truth ? -1 : 0)};
}

}  // namespace

jet::ColumnType OutputType(const expression::Expression& expression) {
    const auto type = expression.Type();
    if (type == jet::ColumnType::Boolean && expression.Root().kind != NodeKind::Slot)
        return jet::ColumnType::Integer;
    return type.value_or(jet::ColumnType::Text);
}

void RowOrder::MakeKey(const jet::Row& row, const std::vector<expression::Expression>& order,
                       std::string& key) const {
    key.clear();
    jet::Value scratch;
    for (std::size_t i = 0; i < order.size(); ++i)
        expression::AppendSortKey(version_, order[i].Evaluate(row, scratch), select_.orderBy[i].descending,
                                  key);
}

std::size_t RowOrder::TopCount(std::size_t rows) const {
    if (!select_.top) return rows;
    const auto top = static_cast<std::size_t>(*select_.top);
    return std::min(rows, select_.topPercent ? (rows * top + 99) / 100 : top);
}

std::vector<std::size_t> RowOrder::Ordered(const KeySorter& sorter) const {
    return select_.top ? sorter.Order(TopCount(sorter.Size())) : sorter.Order();
}

void Projection::AddOutput(const std::string& name, expression::Expression value) {
    OutputColumn column;
    column.name = name;
    column.type = OutputType(value);
    columns_.push_back(std::move(column));
    values_.push_back(std::move(value));
}

void Projection::AddOrder(expression::Expression value, const std::string& text) {
    orderValues_.push_back(std::move(value));
    if (!select_.distinct) return;
    const Node& wanted = orderValues_.back().Root();
    const bool selected =
        std::any_of(values_.begin(), values_.end(), [&](const expression::Expression& output) {
            return expression::SameExpression(output.Root(), wanted);
        });
    if (!selected) RaiseSql(SqlError::OrderConflictsWithDistinct, {text});
}

std::unique_ptr<Result> Projection::Run(RowStream& stream) {
    PackedRows rows;
    KeySorter sorter;
    std::unordered_set<std::string> seen;
    std::string key;
    // Without an ORDER BY, DISTINCT gives its rows in the order of their values.
    const bool sorted = select_.distinct || !orderValues_.empty();
    jet::Row values(values_.size());
    while (const jet::Row* row = stream.Next()) {
        if (having_ && !having_->IsTrue(*row)) continue;
        if (!rowSlots_.empty() && IsRepeatedRow(*row, seen)) continue;
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = AsOutput(values_[i], values_[i].Evaluate(*row));
        if (select_.distinct) {
            MakeDistinctKey(values, key);
            if (!seen.insert(key).second) continue;
        }
        if (!orderValues_.empty()) order_.MakeKey(*row, orderValues_, key);
        if (sorted) sorter.Add(key);
        rows.Append(values);
        LearnTypes(values);
        const bool enough = !sorted && select_.top && !select_.topPercent &&
                            rows.Size() >= static_cast<std::size_t>(*select_.top);
        if (enough) break;
    }
    return std::make_unique<PackedResult>(std::move(columns_), Arrange(std::move(rows), sorter, sorted));
}

PackedRows Projection::Arrange(PackedRows rows, const KeySorter& sorter, bool sorted) const {
    if (!sorted && order_.TopCount(rows.Size()) == rows.Size()) return rows;
    PackedRows arranged;
    if (sorted) {
        for (const std::size_t number : order_.Ordered(sorter)) arranged.Append(rows.Read(number));
    } else {
        for (std::size_t i = 0; i < order_.TopCount(rows.Size()); ++i) arranged.Append(rows.Read(i));
    }
    return arranged;
}

SourceSet Projection::SourcesOfOutputs(const Scope& scope) const {
    SourceSet sources = 0;
    for (const expression::Expression& value : values_) sources |= scope.SourcesOf(value.Root());
    return sources;
}

bool Projection::IsRepeatedRow(const jet::Row& row, std::unordered_set<std::string>& seen) const {
    std::string key;
    for (const std::size_t slot : rowSlots_) expression::AppendSortKey(version_, row[slot], false, key);
    return !seen.insert(std::move(key)).second;
}

void Projection::MakeDistinctKey(const jet::Row& values, std::string& key) const {
    key.clear();
    for (const jet::Value& value : values) expression::AppendSortKey(version_, value, false, key);
}

/// Types that depend on the values, as these show them.
void Projection::LearnTypes(const jet::Row& values) {
    learned_.resize(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values_[i].Type() || jet::IsNull(values[i])) continue;
        const jet::ColumnType type = expression::TypeOf(values[i]);
        columns_[i].type =
            learned_[i] ? expression::CommonType(*learned_[i], type).value_or(jet::ColumnType::Text) : type;
        learned_[i] = columns_[i].type;
    }
}

}  // namespace marrowkit::dao::sql
