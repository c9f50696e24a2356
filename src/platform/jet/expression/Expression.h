#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/expression/Node.h"
#include "platform/jet/format/Format.h"

namespace marrowkit::expression {

/// Where the value of a name will stand in the rows that an expression is evaluated on.
struct BoundName {
    std::size_t slot = 0;
    /// Type of the values there; nothing when it is not known.
    std::optional<jet::ColumnType> type;
};

/// Finds a name; the qualifier (a table's name or alias) is empty for none. nullopt: no such name. May raise
/// an error of its own (3079 for a name that two tables have).
using NameResolver =
    std::function<std::optional<BoundName>(std::string_view qualifier, std::string_view name)>;

/// Runs a subquery. `single`: as a value of its own, so that more than one record is an error (3354).
using SubqueryRunner = std::function<std::shared_ptr<const ValueSet>(const Subquery& subquery, bool single)>;

/// How the values of names are found, and what happens with those that are not.
struct Binding {
    jet::JetVersion version = jet::JetVersion::Jet4;
    NameResolver resolve;
    /// Collects names that nobody knows, each once: SQL counts them as parameters (3061). Without it such a
    /// name raises 3070.
    std::vector<std::string>* unknownNames = nullptr;
    /// Where the column of a validation rule stands.
    std::optional<BoundName> implied;
    /// Answers the subqueries, each once. REQUIRES: there is one where subqueries can be.
    SubqueryRunner runSubquery;
};

/// The answer of a condition: comparisons with Null are neither true nor false.
enum class Truth : std::uint8_t { False, True, Unknown };

/// An expression ready to be evaluated on any number of rows: names bound to positions, constant parts
/// computed. Copies share what was bound. May be used by several threads at once.
class Expression {
public:
    Expression() = default;
    /// Binds a parsed expression. Raises 3085 for an unknown function, 3075 for a wrong number of arguments,
    /// 3464 where the types alone show that a comparison cannot be made, 3070 (see Binding).
    Expression(NodePtr parsed, const Binding& binding);

    explicit operator bool() const { return root_ != nullptr; }

    /// Raises 3464, 6, 11, 5 for what cannot be computed.
    jet::Value Evaluate(const jet::Row& row) const;
    /// The same without a copy where the value stands in the row or the expression; `scratch` may hold it.
    const jet::Value& Evaluate(const jet::Row& row, jet::Value& scratch) const;
    Truth Test(const jet::Row& row) const;
    bool IsTrue(const jet::Row& row) const { return Test(row) == Truth::True; }

    /// Type of the result, as far as it is known before any row is.
    std::optional<jet::ColumnType> Type() const { return root_->type; }
    /// True when no name occurs and every function is pure.
    bool IsConstant() const { return root_->kind == NodeKind::Literal; }
    const Node& Root() const { return *root_; }

private:
    std::shared_ptr<const Node> root_;
    jet::JetVersion version_ = jet::JetVersion::Jet4;
};

/// Parses and binds one expression text; with `=` in front or not.
Expression CompileExpression(std::string_view text, const Binding& binding);

/// The default of a column, given its expression text: `0`, `"text"`, `No`, `=Now()`, `GenGUID()`. Computed
/// anew at each call of Evaluate. The result is not converted to the column's type.
Expression CompileDefault(std::string_view text, jet::JetVersion version);

/// A rule of a column or of a table. A column's rule may leave out the column: `>=0 And <10`, `Like "a*"`,
/// `Is Null Or In (1,2)`, `"M" Or "F"`.
class ValidationRule {
public:
    /// `column`: where the column stands in the rows; nothing for a table's rule.
    ValidationRule(std::string_view rule, const NameResolver& resolve, std::optional<BoundName> column,
                   jet::JetVersion version);

    /// Whether the row satisfies the rule: only what is true does. A rule that is to let Null pass says so
    /// (`Is Null Or ...`).
    bool Accepts(const jet::Row& row) const { return expression_.IsTrue(row); }

private:
    Expression expression_;
};

}  // namespace marrowkit::expression
