#include "platform/jet/expression/Node.h"

#include <algorithm>

#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::expression {
namespace {

/// Far more than any statement written by hand needs, and safe for the stack of any thread.
constexpr std::uint16_t kMaxDepth = 1000;

}  // namespace

void Node::Add(NodePtr child) {
    depth = std::max<std::uint16_t>(depth, static_cast<std::uint16_t>(child->depth + 1));
    if (depth > kMaxDepth) jet::RaiseJet(jet::JetError::TooComplex);
    children.push_back(std::move(child));
}

NodePtr Node::Clone() const {
    auto copy = std::make_unique<Node>(kind);
    copy->op = op;
    copy->negated = negated;
    copy->bracketed = bracketed;
    copy->star = star;
    copy->depth = depth;
    copy->value = value;
    copy->qualifier = qualifier;
    copy->name = name;
    copy->text = text;
    copy->slot = slot;
    copy->function = function;
    copy->subquery = subquery;
    copy->values = values;
    copy->type = type;
    copy->start = start;
    copy->end = end;
    copy->children.reserve(children.size());
    for (const NodePtr& child : children) copy->children.push_back(child->Clone());
    return copy;
}

bool SameExpression(const Node& left, const Node& right) {
    // Bound names are the same wherever they lead to the same place, however they were written.
    if (left.kind == NodeKind::Slot && right.kind == NodeKind::Slot) return left.slot == right.slot;
    if (left.kind != right.kind || left.op != right.op || left.negated != right.negated ||
        left.star != right.star || left.value != right.value || left.subquery != right.subquery)
        return false;
    if (!SameName(left.name, right.name) || !SameName(left.qualifier, right.qualifier)) return false;
    return std::equal(left.children.begin(), left.children.end(), right.children.begin(),
                      right.children.end(),
                      [](const NodePtr& a, const NodePtr& b) { return SameExpression(*a, *b); });
}

}  // namespace marrowkit::expression
