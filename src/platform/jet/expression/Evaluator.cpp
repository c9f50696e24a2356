#include "platform/jet/expression/Evaluator.h"

#include <array>
#include <vector>

#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Functions.h"
#include "platform/jet/expression/Like.h"
#include "platform/jet/expression/Subquery.h"

namespace marrowkit::expression {
namespace {

using jet::Value;

const Value kNull;

Truth FromBool(bool truth) {
    return truth ? Truth::True : Truth::False;
}

Truth Opposite(Truth truth) {
    if (truth == Truth::Unknown) return truth;
    return FromBool(truth == Truth::False);
}

Truth TruthOf(const Value& value) {
    if (const auto* truth = std::get_if<bool>(&value)) return FromBool(*truth);
    if (jet::IsNull(value)) return Truth::Unknown;
    return FromBool(ToDouble(value) != 0);
}

/// One evaluation: the row and what else every step needs.
class Walk {
public:
    Walk(const jet::Row& row, jet::JetVersion version) : row_(row), version_(version) {}

    const Value& Evaluate(const Node& node, Value& scratch) const {
        switch (node.kind) {
            case NodeKind::Literal:
                return node.value;
            case NodeKind::Slot:
                return row_.at(node.slot);
            case NodeKind::Choose:
                return Evaluate(*node.children[Test(*node.children[0]) == Truth::True ? 1 : 2], scratch);
            case NodeKind::Call:
                return Call(node, scratch);
            case NodeKind::Negate: {
                Value operand;
                return scratch = Negate(Evaluate(*node.children[0], operand));
            }
            case NodeKind::Binary:
                if (node.op >= Operator::Concatenate) return Compute(node, scratch);
                break;
            default:
                break;
        }
        switch (Test(node)) {
            case Truth::Unknown:
                return kNull;
            case Truth::True:
                return scratch = true;
            default:
                return scratch = false;
        }
    }

    Truth Test(const Node& node) const {
        switch (node.kind) {
            case NodeKind::Not:
                return Opposite(Test(*node.children[0]));
            case NodeKind::Binary:
                if (node.op <= Operator::And) return Combine(node);
                if (IsComparison(node.op)) return CompareChildren(node);
                if (node.op == Operator::Like) return MatchChildren(node);
                break;
            case NodeKind::Between:
                return TestBetween(node);
            case NodeKind::In:
                return TestIn(node);
            case NodeKind::IsNull: {
                Value scratch;
                return FromBool(jet::IsNull(Evaluate(*node.children[0], scratch)) != node.negated);
            }
            default:
                break;
        }
        Value scratch;
        return TruthOf(Evaluate(node, scratch));
    }

private:
    const Value& Compute(const Node& node, Value& scratch) const {
        Value left;
        Value right;
        const Value& a = Evaluate(*node.children[0], left);
        const Value& b = Evaluate(*node.children[1], right);
        return scratch = Calculate(node.op, a, b);
    }

    const Value& Call(const Node& node, Value& scratch) const {
        std::vector<Value> values;
        values.reserve(node.children.size());
        for (const NodePtr& child : node.children) {
            Value argument;
            values.push_back(Evaluate(*child, argument));
            if (node.function->nullMakesNull && jet::IsNull(values.back())) return kNull;
        }
        return scratch = node.function->call(Arguments{values, version_});
    }

    Truth Combine(const Node& node) const {
        const Truth left = Test(*node.children[0]);
        if (node.op == Operator::And && left == Truth::False) return left;
        if (node.op == Operator::Or && left == Truth::True) return left;
        if (node.op == Operator::Imp && left == Truth::False) return Truth::True;
        const Truth right = Test(*node.children[1]);
        const bool unknown = left == Truth::Unknown || right == Truth::Unknown;
        switch (node.op) {
            case Operator::And:
                if (right == Truth::False) return right;
                return unknown ? Truth::Unknown : Truth::True;
            case Operator::Or:
                if (right == Truth::True) return right;
                return unknown ? Truth::Unknown : Truth::False;
            case Operator::Imp:
                if (right == Truth::True) return right;
                return unknown ? Truth::Unknown : right;
            case Operator::Xor:
                return unknown ? Truth::Unknown : FromBool(left != right);
            default:
                return unknown ? Truth::Unknown : FromBool(left == right);
        }
    }

    Truth CompareValues(Operator op, const Value& left, const Value& right) const {
        if (jet::IsNull(left) || jet::IsNull(right)) return Truth::Unknown;
        return FromBool(Satisfies(op, Compare(version_, left, right)));
    }

    Truth CompareChildren(const Node& node) const {
        Value left;
        Value right;
        const Value& a = Evaluate(*node.children[0], left);
        return CompareValues(node.op, a, Evaluate(*node.children[1], right));
    }

    Truth MatchChildren(const Node& node) const {
        Value left;
        Value right;
        const Value& text = Evaluate(*node.children[0], left);
        const Value& pattern = Evaluate(*node.children[1], right);
        if (jet::IsNull(text) || jet::IsNull(pattern)) return Truth::Unknown;
        const auto* plain = std::get_if<std::string>(&text);
        const bool matches = plain ? MatchesPattern(version_, *plain, ToText(pattern))
                                   : MatchesPattern(version_, ToText(text), ToText(pattern));
        return FromBool(matches != node.negated);
    }

    /// The bounds may come in either order.
    Truth TestBetween(const Node& node) const {
        std::array<Value, 3> scratch;
        const Value& value = Evaluate(*node.children[0], scratch[0]);
        const Value& first = Evaluate(*node.children[1], scratch[1]);
        const Value& second = Evaluate(*node.children[2], scratch[2]);
        if (jet::IsNull(value) || jet::IsNull(first) || jet::IsNull(second)) return Truth::Unknown;
        const bool turned = Compare(version_, first, second) > 0;
        const Value& low = turned ? second : first;
        const Value& high = turned ? first : second;
        const bool within = Compare(version_, value, low) >= 0 && Compare(version_, value, high) <= 0;
        return FromBool(within != node.negated);
    }

    Truth TestIn(const Node& node) const {
        Value left;
        const Value& value = Evaluate(*node.children[0], left);
        Truth found = Truth::False;
        if (const auto& values = node.children.back()->values) {
            found = values->Contains(value);
            return node.negated ? Opposite(found) : found;
        }
        for (std::size_t i = 1; i < node.children.size(); ++i) {
            Value right;
            const Truth equal = CompareValues(Operator::Equal, value, Evaluate(*node.children[i], right));
            if (equal == Truth::Unknown) found = equal;
            if (equal != Truth::True) continue;
            found = equal;
            break;
        }
        return node.negated ? Opposite(found) : found;
    }

    const jet::Row& row_;
    jet::JetVersion version_;
};

}  // namespace

const Value& EvaluateNode(const Node& node, const jet::Row& row, jet::JetVersion version, Value& scratch) {
    return Walk(row, version).Evaluate(node, scratch);
}

Truth TestNode(const Node& node, const jet::Row& row, jet::JetVersion version) {
    return Walk(row, version).Test(node);
}

}  // namespace marrowkit::expression
