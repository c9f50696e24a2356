#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/expression/Lexer.h"
#include "platform/jet/expression/Node.h"

namespace marrowkit::expression {

/// The tokens of one statement or expression, and a place among them.
class TokenStream {
public:
    explicit TokenStream(std::string_view source) : source_(source), tokens_(Tokenize(source_)) {}

    const Token& Peek(std::size_t ahead = 0) const;
    const Token& Take();
    std::size_t Position() const { return at_; }
    void Return(std::size_t position) { at_ = position; }

    bool AtEnd() const { return Peek().kind == TokenKind::End; }
    /// Keywords are unbracketed names, in either case.
    bool IsKeyword(std::string_view word, std::size_t ahead = 0) const;
    bool TakeKeyword(std::string_view word);
    bool IsSymbol(std::string_view symbol, std::size_t ahead = 0) const;
    bool TakeSymbol(std::string_view symbol);

    const std::string& Source() const { return source_; }

private:
    std::string source_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
};

/// How a mistake is reported: 3075 with the expression's text, or 3077 without.
enum class ErrorStyle { Query, Plain };

/// Reads one expression from a stream.
///
/// From weak to strong: Imp, Eqv, Xor, Or, And, Not, comparisons (with Like, Between, In, Is), &, + and -,
/// Mod,
/// \, * and /, unary minus, ^. Raises 3075 (3077) on anything malformed, 3071 when nested too deeply.
class Parser {
public:
    explicit Parser(TokenStream& tokens, ErrorStyle style = ErrorStyle::Query)
        : tokens_(&tokens), style_(style) {}

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
    int nesting_ = 0;
};

}  // namespace marrowkit::expression
