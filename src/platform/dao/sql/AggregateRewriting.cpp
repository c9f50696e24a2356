#include "platform/dao/sql/AggregateRewriting.h"

#include <algorithm>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Node;
using expression::NodeKind;

/// Slots from here on stand for aggregates until their place is known. No query reads that many columns.
constexpr std::size_t kAggregateSlots = std::size_t{1} << 30;

bool IsAggregate(const Node& node) {
    return node.kind == NodeKind::Call && node.children.size() <= 1 && FindAggregate(node.name);
}

}  // namespace

bool ContainsAggregate(const Node& node) {
    if (IsAggregate(node)) return true;
    return std::any_of(node.children.begin(), node.children.end(),
                       [](const NodePtr& child) { return ContainsAggregate(*child); });
}

expression::Expression AggregateRewriter::Rewrite(NodePtr parsed, const std::string& text) {
    NodePtr node = TakeAggregates(std::move(parsed), text);
    const expression::Expression bound(std::move(node), binding_);
    NodePtr replaced = Replace(bound.Root().Clone(), text);
    expression::Binding none;
    none.version = binding_.version;
    return {std::move(replaced), none};
}

NodePtr AggregateRewriter::TakeAggregates(NodePtr node, const std::string& text) {
    if (!IsAggregate(*node)) {
        for (NodePtr& child : node->children) child = TakeAggregates(std::move(child), text);
        return node;
    }
    Aggregate aggregate;
    aggregate.kind = node->star ? AggregateKind::CountRows : *FindAggregate(node->name);
    if (node->star && *FindAggregate(node->name) != AggregateKind::Count)
        jet::RaiseJet(jet::JetError::TooComplex);
    if (!node->star) {
        if (node->children.empty())
            jet::RaiseJet(jet::JetError::ExpressionSyntax,
                          {"Wrong number of arguments used with function", text});
        if (ContainsAggregate(*node->children[0])) RaiseSql(SqlError::AggregateNested, {text});
        aggregate.argument = expression::Expression(std::move(node->children[0]), binding_);
    }
    auto slot = std::make_unique<Node>(NodeKind::Slot);
    slot->slot = kAggregateSlots + aggregates_.size();
    slot->type = aggregate.ResultType();
    aggregates_.push_back(std::move(aggregate));
    return slot;
}

NodePtr AggregateRewriter::Replace(NodePtr bound, const std::string& text) const {
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        if (!expression::SameExpression(groups_[i].Root(), *bound)) continue;
        auto slot = std::make_unique<Node>(NodeKind::Slot);
        slot->slot = i;
        slot->type = bound->type;
        return slot;
    }
    if (bound->kind == NodeKind::Slot) {
        if (bound->slot < kAggregateSlots) jet::RaiseJet(jet::JetError::NotInAggregate, {text});
        bound->slot = bound->slot - kAggregateSlots + groups_.size();
        return bound;
    }
    for (NodePtr& child : bound->children) child = Replace(std::move(child), text);
    return bound;
}

}  // namespace marrowkit::dao::sql
