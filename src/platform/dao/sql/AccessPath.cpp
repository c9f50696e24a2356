#include "platform/dao/sql/AccessPath.h"

#include <algorithm>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Operators.h"
#include "platform/jet/format/IndexKey.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Node;
using expression::NodeKind;
using expression::Operator;
using jet::Value;

/// What the conditions say about one column.
struct Bounds {
    std::optional<Value> equal;
    std::optional<Value> low;
    std::optional<Value> high;
    bool isNull = false;

    bool Any() const { return equal || low || high || isNull; }
};

/// How a share of the rows is guessed without statistics.
constexpr double kEqualShare = 0.01;
constexpr double kRangeShare = 0.3;

/// The value as a key of the column; nothing when the column cannot hold it exactly.
std::optional<Value> AsKey(const jet::Column& column, const Value& value) {
    const bool text = column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Memo;
    if (text != std::holds_alternative<std::string>(value)) return std::nullopt;
    if (text) return value;
    try {
        Value key = jet::ConvertFor(column, value);
        if (expression::Compare(jet::JetVersion::Jet4, key, value) != 0) return std::nullopt;
        return key;
    } catch (const RuntimeError&) {
        return std::nullopt;
    }
}

Operator Mirrored(Operator op) {
    switch (op) {
        case Operator::Less:
            return Operator::Greater;
        case Operator::Greater:
            return Operator::Less;
        case Operator::LessOrEqual:
            return Operator::GreaterOrEqual;
        case Operator::GreaterOrEqual:
            return Operator::LessOrEqual;
        default:
            return op;
    }
}

class BoundsReader {
public:
    BoundsReader(const Scope& scope, std::size_t source)
        : scope_(scope), table_(*scope.Sources()[source].table) {
        bounds_.resize(table_.Columns().size());
    }

    void Read(const Node& node) {
        if (node.kind == NodeKind::Binary && expression::IsComparison(node.op)) return ReadComparison(node);
        if (node.kind == NodeKind::Between && !node.negated) return ReadBetween(node);
        if (node.kind == NodeKind::IsNull && !node.negated && node.children[0]->kind == NodeKind::Slot)
            BoundsOf(*node.children[0]).isNull = true;
    }

    const std::vector<Bounds>& All() const { return bounds_; }
    bool NeverTrue() const { return neverTrue_; }

private:
    Bounds& BoundsOf(const Node& slot) { return bounds_[scope_.PlaceOf(slot.slot).column]; }
    const jet::Column& ColumnOf(const Node& slot) const {
        return table_.Columns()[scope_.PlaceOf(slot.slot).column];
    }

    void ReadComparison(const Node& node) {
        const Node* slot = node.children[0].get();
        const Node* literal = node.children[1].get();
        Operator op = node.op;
        if (slot->kind != NodeKind::Slot) {
            std::swap(slot, literal);
            op = Mirrored(op);
        }
        if (slot->kind != NodeKind::Slot || literal->kind != NodeKind::Literal) return;
        // Nothing compares with Null.
        if (jet::IsNull(literal->value)) {
            neverTrue_ = true;
            return;
        }
        const auto key = AsKey(ColumnOf(*slot), literal->value);
        if (!key) return;
        Bounds& bounds = BoundsOf(*slot);
        if (op == Operator::Equal)
            bounds.equal = key;
        else if (op == Operator::Less || op == Operator::LessOrEqual)
            bounds.high = key;
        else if (op == Operator::Greater || op == Operator::GreaterOrEqual)
            bounds.low = key;
    }

    void ReadBetween(const Node& node) {
        const Node& slot = *node.children[0];
        if (slot.kind != NodeKind::Slot || node.children[1]->kind != NodeKind::Literal ||
            node.children[2]->kind != NodeKind::Literal)
            return;
        const Value& first = node.children[1]->value;
        const Value& second = node.children[2]->value;
        if (jet::IsNull(first) || jet::IsNull(second)) {
            neverTrue_ = true;
            return;
        }
        const auto low = AsKey(ColumnOf(slot), first);
        const auto high = AsKey(ColumnOf(slot), second);
        if (!low || !high) return;
        Bounds& bounds = BoundsOf(slot);
        bounds.low = low;
        bounds.high = high;
        // The bounds may be written in either order. Which text is greater depends on the file; leave it to
        // the test of the rows.
        if (std::holds_alternative<std::string>(*low))
            bounds.low = bounds.high = std::nullopt;
        else if (expression::Compare(jet::JetVersion::Jet4, *low, *high) > 0)
            std::swap(bounds.low, bounds.high);
    }

    const Scope& scope_;
    const jet::Table& table_;
    std::vector<Bounds> bounds_;
    bool neverTrue_ = false;
};

/// Keys of a text column with a sort order of its own cannot be built.
bool CanBound(const jet::Table& table, std::size_t column) {
    const auto& definitions = table.Definition().columns;
    const auto found =
        std::find_if(definitions.begin(), definitions.end(),
                     [&](const jet::ColumnDefinition& d) { return d.name == table.Columns()[column].name; });
    return found == definitions.end() || jet::CanBuildKey(*found);
}

/// Jet does not turn the signs round in a descending index of decimals: all negative ones stand in front.
/// Such a part finds equal values, but no range and no order.
bool IsInOrder(const jet::Table& table, std::size_t column, const jet::Index::Part& part) {
    return part.ascending || table.Columns()[column].type != jet::ColumnType::Numeric;
}

/// The path through one index, and what share of the rows it is thought to leave.
double PathThrough(const jet::Table& table, const jet::Index& index, const std::vector<Bounds>& bounds,
                   AccessPath& path) {
    double share = 1;
    path.range = jet::IndexRange::All();
    std::size_t used = 0;
    for (const jet::Index::Part& part : index.parts) {
        const auto column = table.FindColumn(part.column);
        if (!column) return 1;
        const Bounds& bound = bounds[*column];
        if (!CanBound(table, *column)) break;
        if (bound.equal || (bound.isNull && !index.ignoreNulls)) {
            const Value key = bound.equal ? *bound.equal : Value();
            path.range.low.push_back(key);
            path.range.high.push_back(key);
            share *= kEqualShare;
            ++used;
            continue;
        }
        if ((!bound.low && !bound.high) || !IsInOrder(table, *column, part)) break;
        if (bound.low) path.range.low.push_back(*bound.low);
        if (bound.high) path.range.high.push_back(*bound.high);
        share *= bound.low && bound.high ? kRangeShare * kRangeShare : kRangeShare;
        break;
    }
    const bool complete = used == index.parts.size() && (index.unique || index.primaryKey);
    return complete ? 0 : share;
}

/// A Null in the first column may keep a row out of an index that ignores Nulls.
bool HoldsEveryRow(const jet::Table& table, const jet::Index& index) {
    if (!index.ignoreNulls) return true;
    return std::any_of(index.parts.begin(), index.parts.end(), [&](const jet::Index::Part& part) {
        const auto column = table.FindColumn(part.column);
        return column && (table.Columns()[*column].required ||
                          table.Columns()[*column].type == jet::ColumnType::Boolean);
    });
}

enum class Direction { None, Forwards, Backwards };

/// Whether the parts of an index from `skip` on are the wanted columns, the same way round or reversed.
Direction MatchOrder(const jet::Table& table, const jet::Index& index, std::size_t skip,
                     const std::vector<OrderColumn>& order) {
    if (index.parts.size() < skip + order.size()) return Direction::None;
    bool forwards = true;
    bool backwards = true;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const jet::Index::Part& part = index.parts[skip + i];
        if (table.FindColumn(part.column) != order[i].column) return Direction::None;
        if (!IsInOrder(table, order[i].column, part)) return Direction::None;
        // Long texts are cut in an index.
        if (table.Columns()[order[i].column].type == jet::ColumnType::Memo) return Direction::None;
        forwards &= part.ascending != order[i].descending;
        backwards &= part.ascending == order[i].descending;
    }
    if (forwards) return Direction::Forwards;
    return backwards ? Direction::Backwards : Direction::None;
}

}  // namespace

AccessPath ChoosePath(const Scope& scope, std::size_t source, const std::vector<Condition>& conditions) {
    const jet::Table& table = *scope.Sources()[source].table;
    BoundsReader reader(scope, source);
    for (const Condition& condition : conditions) reader.Read(condition.expression.Root());
    const auto rows = static_cast<double>(table.RowCount());
    AccessPath best;
    best.expectedRows = conditions.empty() ? rows : rows * kRangeShare;
    best.empty = reader.NeverTrue();
    double bestShare = 1;
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        AccessPath path;
        const double share = PathThrough(table, table.Indexes()[i], reader.All(), path);
        if (share >= bestShare) continue;
        bestShare = share;
        path.index = i;
        path.empty = best.empty;
        path.expectedRows = std::max(1.0, rows * share);
        best = std::move(path);
    }
    return best;
}

bool FollowOrder(const jet::Table& table, const std::vector<OrderColumn>& order, AccessPath& path) {
    const auto follow = [&](std::size_t position, std::size_t skip) {
        const Direction direction = MatchOrder(table, table.Indexes()[position], skip, order);
        if (direction == Direction::None) return false;
        path.backwards = direction == Direction::Backwards;
        return true;
    };
    if (path.index) {
        // Columns held equal do not disturb the order of those behind them.
        std::size_t equal = 0;
        while (equal < path.range.low.size() && equal < path.range.high.size() &&
               path.range.low[equal] == path.range.high[equal])
            ++equal;
        return follow(*path.index, 0) || follow(*path.index, equal);
    }
    for (std::size_t i = 0; i < table.Indexes().size(); ++i) {
        if (!HoldsEveryRow(table, table.Indexes()[i]) || !follow(i, 0)) continue;
        path.index = i;
        path.range = jet::IndexRange::All();
        return true;
    }
    return false;
}

}  // namespace marrowkit::dao::sql
