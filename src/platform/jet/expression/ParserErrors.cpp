#include <algorithm>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/expression/ClauseWords.h"
#include "platform/jet/expression/Parser.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::expression {

/// Words the mistake by the token it was met at.
void Parser::FailHere() const {
    const Token& token = tokens_->Peek();
    switch (token.kind) {
        case TokenKind::BadText:
            Fail("Syntax error in string");
        case TokenKind::BadDate:
            Fail("Syntax error in date");
        case TokenKind::BadNumber:
            Fail("Syntax error in number");
        case TokenKind::BadBracket:
            throw RuntimeError(3126, "Invalid bracketing of name '" +
                                         tokens_->Source().substr(token.start, token.end - token.start) +
                                         "'.");
        case TokenKind::BadCharacter:
            Fail("Syntax error");
        default:
            break;
    }
    if (token.kind == TokenKind::End || token.text == ";") {
        const std::string text = ClauseText(start_);
        const auto open = std::count(text.begin(), text.end(), '(');
        if (open > std::count(text.begin(), text.end(), ')')) Fail("Missing ), ], or Item");
    }
    if (token.text == ",") Fail("Syntax error (comma)");
    Fail("Syntax error (missing operator)");
}

/// The expression as it is quoted in messages: up to the next clause of the statement.
std::string Parser::ClauseText(std::size_t position) const {
    TokenStream tokens = *tokens_;
    tokens.Return(position);
    const std::size_t start = tokens.Peek().start;
    std::size_t end = start;
    for (int depth = 0; !tokens.AtEnd(); end = tokens.Take().end) {
        const Token& token = tokens.Peek();
        if (token.text == ";" && token.kind == TokenKind::Symbol) break;
        if (style_ == ErrorStyle::Query && depth == 0 && end > start && IsClauseWord(token) &&
            !SameName(token.text, "On"))
            break;
        if (token.kind != TokenKind::Symbol) continue;
        if (token.text == "(") ++depth;
        if (token.text == ")") --depth;
        if (token.text == "," && depth == 0 && tokens.Position() > tokens_->Position()) break;
    }
    return tokens.Source().substr(start, end - start);
}

void Parser::Fail(std::string_view message, std::size_t expressionPosition) const {
    if (style_ == ErrorStyle::Plain)
        throw RuntimeError(static_cast<int>(jet::JetError::ExpressionSyntaxNoText),
                           std::string(message) + " in expression.");
    throw RuntimeError(
        static_cast<int>(jet::JetError::ExpressionSyntax),
        std::string(message) + " in query expression '" + ClauseText(expressionPosition) + "'.");
}

}  // namespace marrowkit::expression
