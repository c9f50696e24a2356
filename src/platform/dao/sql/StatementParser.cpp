#include "platform/dao/sql/StatementParser.h"

#include <algorithm>
#include <array>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/Subqueries.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Token;
using expression::TokenKind;
using expression::TokenStream;

/// Words that cannot be names without brackets, because a clause begins or goes on with them.
constexpr std::array<std::string_view, 31> kReservedWords{
    "ALL",      "AND",   "AS",    "BETWEEN", "BY",     "CONSTRAINT", "CREATE", "DELETE",
    "DISTINCT", "DROP",  "FROM",  "GROUP",   "HAVING", "IN",         "INNER",  "INSERT",
    "INTO",     "IS",    "JOIN",  "LEFT",    "LIKE",   "NOT",        "NULL",   "ON",
    "OR",       "ORDER", "RIGHT", "SELECT",  "SET",    "WHERE",      "UNION"};

bool IsReserved(std::string_view word) {
    return std::any_of(kReservedWords.begin(), kReservedWords.end(),
                       [&](std::string_view reserved) { return expression::SameName(word, reserved); });
}

Statement ParseBody(TokenStream& tokens) {
    if (tokens.TakeKeyword("SELECT")) return ParseSelect(tokens);
    if (tokens.TakeKeyword("INSERT")) return ParseInsert(tokens);
    if (tokens.TakeKeyword("UPDATE")) return ParseUpdate(tokens);
    if (tokens.TakeKeyword("DELETE")) return ParseDelete(tokens);
    if (tokens.TakeKeyword("CREATE")) return ParseCreate(tokens);
    if (tokens.TakeKeyword("ALTER")) return ParseAlter(tokens);
    if (tokens.TakeKeyword("DROP")) return ParseDrop(tokens);
    jet::RaiseJet(jet::JetError::InvalidSqlStatement);
}

/// Whether the parenthesis that comes now closes one that is open.
bool ClosesAnything(const TokenStream& tokens) {
    TokenStream before = tokens;
    before.Return(0);
    int open = 0;
    for (; before.Position() < tokens.Position(); before.Take()) {
        if (before.IsSymbol("(")) ++open;
        if (before.IsSymbol(")")) --open;
    }
    return open > 0;
}

}  // namespace

std::string TakeName(TokenStream& tokens) {
    const Token& token = tokens.Peek();
    const bool name =
        token.kind == TokenKind::BracketedName || (token.kind == TokenKind::Name && !IsReserved(token.text));
    return name ? tokens.Take().text : std::string();
}

bool TakeNameList(TokenStream& tokens, std::vector<std::string>& names) {
    if (!tokens.TakeSymbol("(")) return false;
    do {
        names.push_back(TakeName(tokens));
        if (names.back().empty()) return false;
    } while (tokens.TakeSymbol(","));
    return tokens.TakeSymbol(")");
}

NodePtr ParseWhere(TokenStream& tokens) {
    if (!tokens.TakeKeyword("WHERE")) return nullptr;
    if (tokens.AtEnd() || tokens.IsSymbol(";")) RaiseSql(SqlError::WhereSyntax);
    const std::size_t start = tokens.Position();
    expression::Parser parser(tokens);
    NodePtr condition = parser.ParseExpression();
    if (tokens.IsSymbol(",")) parser.Fail("Syntax error (comma)", start);
    if (tokens.IsSymbol(")") && !ClosesAnything(tokens)) parser.Fail("Extra )", start);
    return condition;
}

Statement ParseStatement(std::string_view text) {
    TokenStream tokens(text);
    tokens.AllowSubqueries(ReadSubquery);
    // A whole statement may stand in parentheses.
    int open = 0;
    while (tokens.IsSymbol("(")) {
        tokens.Take();
        ++open;
    }
    Statement statement = ParseBody(tokens);
    for (; open > 0; --open)
        if (!tokens.TakeSymbol(")")) jet::RaiseJet(jet::JetError::InvalidSqlStatement);
    if (tokens.TakeSymbol(";") || !std::holds_alternative<Select>(statement)) {
        if (!tokens.AtEnd()) RaiseSql(SqlError::TextAfterEnd);
    } else if (!tokens.AtEnd()) {
        jet::RaiseJet(jet::JetError::FromSyntax);
    }
    return statement;
}

}  // namespace marrowkit::dao::sql
