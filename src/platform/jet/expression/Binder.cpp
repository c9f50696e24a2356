#include "platform/jet/expression/Binder.h"

#include <algorithm>
#include <array>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Evaluator.h"
#include "platform/jet/expression/Functions.h"
#include "platform/jet/expression/Subquery.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;

/// The words for Boolean constants that are ordinary names where a column is called so.
std::optional<bool> ConstantWord(const Node& node) {
    if (node.bracketed || !node.qualifier.empty()) return std::nullopt;
    if (SameName(node.name, "Yes") || SameName(node.name, "On")) return true;
    if (SameName(node.name, "No") || SameName(node.name, "Off")) return false;
    return std::nullopt;
}

bool IsNullLiteral(const Node& node) {
    return node.kind == NodeKind::Literal && jet::IsNull(node.value);
}

/// Raises 3464 when two types can never be compared.
void CheckComparable(const Node& left, const Node& right) {
    if (!left.type || !right.type) return;
    const ValueClass a = ClassOf(*left.type);
    const ValueClass b = ClassOf(*right.type);
    const auto counts = [](ValueClass kind) {
        return kind == ValueClass::Number || kind == ValueClass::Date;
    };
    const auto writes = [](ValueClass kind) { return kind == ValueClass::Guid || kind == ValueClass::Text; };
    if (a == b || (counts(a) && counts(b)) || (writes(a) && writes(b))) return;
    RaiseTypeMismatch();
}

/// Type of + - and * from the types of their operands.
std::optional<ColumnType> ArithmeticType(Operator op, const Node& left, const Node& right) {
    if (!left.type || !right.type) return std::nullopt;
    const ColumnType a = *left.type;
    const ColumnType b = *right.type;
    const ValueClass leftClass = ClassOf(a);
    const ValueClass rightClass = ClassOf(b);
    if (leftClass == ValueClass::Text && rightClass == ValueClass::Text && op == Operator::Add)
        return ColumnType::Text;
    const bool dates = leftClass == ValueClass::Date || rightClass == ValueClass::Date;
    if (dates && op != Operator::Multiply) {
        const bool difference = op == Operator::Subtract && leftClass == rightClass;
        return difference ? ColumnType::Double : ColumnType::DateTime;
    }
    if (IsWholeType(a) && IsWholeType(b)) return ColumnType::Long;
    const auto money = [](ColumnType type) { return type == ColumnType::Currency || IsWholeType(type); };
    return money(a) && money(b) ? ColumnType::Currency : ColumnType::Double;
}

/// Type of a value that is one of every `step`th child from `first` on.
std::optional<ColumnType> TypeOfOne(const Node& node, std::size_t first, std::size_t step) {
    std::optional<ColumnType> type;
    for (std::size_t i = first; i < node.children.size(); i += step) {
        const Node& child = *node.children[i];
        if (IsNullLiteral(child)) continue;
        if (!child.type) return std::nullopt;
        type = type ? CommonType(*type, *child.type) : child.type;
        if (!type) return std::nullopt;
    }
    return type;
}

/// Type of a number that a function made of another one.
std::optional<ColumnType> TypeOfRounded(const Node& number) {
    if (!number.type) return std::nullopt;
    if (IsWholeType(*number.type)) return ColumnType::Long;
    switch (*number.type) {
        case ColumnType::Currency:
        case ColumnType::Single:
        case ColumnType::DateTime:
            return number.type;
        default:
            return ColumnType::Double;
    }
}

std::optional<ColumnType> CallType(const Node& node) {
    switch (node.function->rule) {
        case TypeRule::Magnitude:
            if (node.children[0]->type == ColumnType::Numeric) return ColumnType::Numeric;
            return TypeOfRounded(*node.children[0]);
        case TypeRule::Rounded:
            return TypeOfRounded(*node.children[0]);
        case TypeRule::OneOfAll:
            return node.children.size() > 1 ? TypeOfOne(node, 0, 1) : std::nullopt;
        case TypeRule::OneBehindFirst:
            return TypeOfOne(node, 1, 1);
        case TypeRule::EverySecond:
            return TypeOfOne(node, 1, 2);
        default:
            return node.function->type;
    }
}

std::optional<ColumnType> BinaryType(const Node& node) {
    switch (node.op) {
        case Operator::Add:
        case Operator::Subtract:
        case Operator::Multiply:
            return ArithmeticType(node.op, *node.children[0], *node.children[1]);
        case Operator::Divide:
        case Operator::Power:
            return ColumnType::Double;
        case Operator::IntegerDivide:
        case Operator::Modulo:
            return ColumnType::Long;
        case Operator::Concatenate:
            return ColumnType::Text;
        default:
            return ColumnType::Boolean;
    }
}

class Binder {
public:
    explicit Binder(const Binding& binding) : binding_(&binding) {}

    NodePtr Run(NodePtr node) {
        const bool isList = node->kind == NodeKind::In;
        for (NodePtr& child : node->children) {
            const bool answersIn =
                isList && child->kind == NodeKind::Subquery && &child != &node->children[0];
            child = answersIn ? TakeValues(std::move(child)) : Run(std::move(child));
        }
        switch (node->kind) {
            case NodeKind::Literal:
                if (!jet::IsNull(node->value)) node->type = TypeOf(node->value);
                return node;
            case NodeKind::Name:
                BindName(*node);
                return node;
            case NodeKind::Implied:
                if (!binding_->implied) jet::RaiseJet(jet::JetError::TooComplex);
                BindTo(*node, *binding_->implied);
                return node;
            case NodeKind::Slot:
                return node;
            case NodeKind::Subquery:
                return TakeSingleValue(*node);
            case NodeKind::Call:
                BindCall(*node);
                break;
            default:
                BindOperator(*node);
        }
        return Fold(std::move(node));
    }

private:
    static void BindTo(Node& node, const BoundName& bound) {
        node.kind = NodeKind::Slot;
        node.slot = bound.slot;
        node.type = bound.type;
    }

    void BindName(Node& node) {
        if (binding_->resolve) {
            if (const auto bound = binding_->resolve(node.qualifier, node.name)) return BindTo(node, *bound);
        }
        if (const auto truth = ConstantWord(node)) {
            node.kind = NodeKind::Literal;
            node.value = *truth;
            node.type = ColumnType::Boolean;
            return;
        }
        const std::string full = node.qualifier.empty() ? node.name : node.qualifier + "." + node.name;
        if (!binding_->unknownNames) jet::RaiseJet(jet::JetError::UnknownExpressionName, {full});
        auto& names = *binding_->unknownNames;
        const bool known = std::any_of(names.begin(), names.end(),
                                       [&](const std::string& name) { return SameName(name, full); });
        if (!known) names.push_back(full);
        // Stands for the parameter's value, which nobody gives.
        node.kind = NodeKind::Literal;
        node.value = jet::Null{};
    }

    /// Of the list of In. Bound a second time, the values stay.
    NodePtr TakeValues(NodePtr node) const {
        if (node->values) return node;
        if (!binding_->runSubquery) jet::RaiseJet(jet::JetError::TooComplex);
        node->values = binding_->runSubquery(*node->subquery, false);
        node->type = node->values->Type();
        return node;
    }

    NodePtr TakeSingleValue(const Node& node) const {
        if (!binding_->runSubquery) jet::RaiseJet(jet::JetError::TooComplex);
        const auto values = binding_->runSubquery(*node.subquery, true);
        auto literal = std::make_unique<Node>(NodeKind::Literal);
        literal->value = values->First();
        literal->type = values->Type();
        literal->start = node.start;
        literal->end = node.end;
        return literal;
    }

    void BindCall(Node& node) {
        if (SameName(node.name, "IIf")) {
            if (node.children.size() != 3) RaiseArgumentCount(node);
            node.kind = NodeKind::Choose;
            node.type = TypeOfOne(node, 1, 1);
            return;
        }
        node.function = FindFunction(node.name);
        if (!node.function) jet::RaiseJet(jet::JetError::UndefinedFunction, {node.name});
        const std::size_t count = node.children.size();
        if (count < node.function->fewest || count > node.function->most || node.star)
            RaiseArgumentCount(node);
        node.type = CallType(node);
    }

    [[noreturn]] static void RaiseArgumentCount(const Node& node) {
        throw RuntimeError(
            static_cast<int>(jet::JetError::ExpressionSyntax),
            "Wrong number of arguments used with function in query expression '" + node.text + "'.");
    }

    static void BindOperator(Node& node) {
        switch (node.kind) {
            case NodeKind::Binary:
                if (IsComparison(node.op)) CheckComparable(*node.children[0], *node.children[1]);
                node.type = BinaryType(node);
                return;
            case NodeKind::Between:
            case NodeKind::In:
                for (std::size_t i = 1; i < node.children.size(); ++i)
                    CheckComparable(*node.children[0], *node.children[i]);
                node.type = ColumnType::Boolean;
                return;
            case NodeKind::Negate:
                node.type = node.children[0]->type;
                if (node.type && IsWholeType(*node.type)) node.type = ColumnType::Long;
                if (node.type && ClassOf(*node.type) == ValueClass::Text) node.type = ColumnType::Double;
                return;
            default:
                node.type = ColumnType::Boolean;
        }
    }

    /// Computes what has only constants below it. An error is left for the evaluation to raise, which may
    /// never come: IIf(True, 1, 1/0).
    NodePtr Fold(NodePtr node) const {
        const bool pure = node->kind != NodeKind::Call || (node->function && node->function->pure);
        if (!pure || !std::all_of(node->children.begin(), node->children.end(),
                                  [](const NodePtr& child) { return child->kind == NodeKind::Literal; }))
            return node;
        try {
            jet::Value scratch;
            const jet::Value value = EvaluateNode(*node, {}, binding_->version, scratch);
            auto folded = std::make_unique<Node>(NodeKind::Literal);
            folded->type = node->type;
            folded->start = node->start;
            folded->end = node->end;
            folded->value = value;
            return folded;
        } catch (const RuntimeError&) {
            return node;
        }
    }

    const Binding* binding_;
};

}  // namespace

NodePtr Bind(NodePtr node, const Binding& binding) {
    return Binder(binding).Run(std::move(node));
}

}  // namespace marrowkit::expression
