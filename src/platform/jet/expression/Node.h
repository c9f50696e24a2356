#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/jet/expression/Operators.h"
#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

struct Function;
struct Node;
class Subquery;
class ValueSet;
using NodePtr = std::unique_ptr<Node>;

enum class NodeKind : std::uint8_t {
    Literal,
    Name,     ///< not bound yet
    Implied,  ///< the column that a validation rule leaves out: `>=0`
    Slot,     ///< bound: a position in the row
    Negate,
    Not,
    Binary,
    Between,  ///< three children
    In,       ///< the value, then the list or a subquery
    IsNull,
    Choose,  ///< IIf: condition, then, else
    Call,
    Subquery,  ///< behind In; anywhere else it becomes a literal when it is bound
};

/// An expression as parsed, and after binding as evaluated.
struct Node {
    explicit Node(NodeKind kind_) : kind(kind_) {}

    NodeKind kind;
    Operator op = Operator::Equal;  ///< Binary
    bool negated = false;           ///< Between, In, IsNull, and LIKE: with NOT
    bool bracketed = false;         ///< Name: written in brackets, so never a constant's word
    bool star = false;              ///< Call: Count(*)
    std::uint16_t depth = 1;        ///< longest way down to a leaf
    jet::Value value;               ///< Literal
    std::string qualifier;          ///< Name: table, empty for none
    std::string name;               ///< Name, Call
    std::string text;               ///< Call: as it was written
    std::size_t slot = 0;
    const Function* function = nullptr;  ///< Call, once bound
    std::shared_ptr<const expression::Subquery> subquery;
    std::shared_ptr<const ValueSet> values;  ///< Subquery, once bound
    /// Type of the result once bound; nothing when it depends on the values.
    std::optional<jet::ColumnType> type;
    std::vector<NodePtr> children;
    /// Bytes of the source it was made of.
    std::size_t start = 0;
    std::size_t end = 0;

    /// Raises 3071 when the tree gets too deep to be walked.
    void Add(NodePtr child);
    NodePtr Clone() const;
};

/// The same expression: equal shape, names and literals (names ignoring case), equal places where bound.
bool SameExpression(const Node& left, const Node& right);

}  // namespace marrowkit::expression
