#pragma once

#include <string>
#include <string_view>

#include "platform/jet/expression/Node.h"
#include "platform/jet/expression/TokenStream.h"

namespace marrowkit::expression {

/// How a mistake is reported: 3075 with the expression's text, or 3077 without.
enum class ErrorStyle { Query, Plain };

/// Reads one expression from a stream.
///
/// From weak to strong: Imp, Eqv, Xor, Or, And, Not, comparisons (with Like, Between, In, Is), &, + and -,
/// Mod, \, * and /, unary minus, ^. Raises 3075 (3077) on anything malformed, 3071 when nested too deeply.
class Parser {
public:
    explicit Parser(TokenStream& tokens, ErrorStyle style = ErrorStyle::Query)
        : tokens_(&tokens), style_(style), outerNesting_(tokens.Nesting()) {}

    /// Stops in front of whatever cannot belong to an expression: a keyword of a statement, a comma, a
    /// closing parenthesis, a semicolon, the end.
    NodePtr ParseExpression();
    /// The same where a comparison may lack its left side, which is the column of a validation rule.
    NodePtr ParseRule();
    /// One operand with its sign, whatever follows: what DEFAULT takes.
    NodePtr ParseTerm();

    /// Reports a mistake in the expression that begins at a stream position.
    [[noreturn]] void Fail(std::string_view message, std::size_t expressionPosition) const;

private:
    NodePtr ParseBinary(int weakest);
    NodePtr ParseComparison(NodePtr left);
    NodePtr ParseOperand();
    NodePtr ParsePrefix();
    NodePtr ParseNameOrCall();
    NodePtr ParseCall(const Token& name);
    NodePtr ParseParenthesis();
    NodePtr TakeSubquery();
    NodePtr ParseIs(NodePtr left);
    NodePtr ParseIn(NodePtr left, bool negated);
    NodePtr ParseBetween(NodePtr left, bool negated);
    NodePtr ParseLike(NodePtr left, bool negated);
    NodePtr CompleteRule(NodePtr node) const;
    bool RuleLacksLeftSide() const;
    void CheckEnd() const;
    [[noreturn]] void FailHere() const;
    [[noreturn]] void Fail(std::string_view message) const { Fail(message, start_); }
    std::string ClauseText(std::size_t position) const;

    TokenStream* tokens_;
    ErrorStyle style_;
    bool rule_ = false;
    std::size_t start_ = 0;
    int outerNesting_;
    int nesting_ = 0;
};

}  // namespace marrowkit::expression
