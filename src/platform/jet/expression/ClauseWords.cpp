#include "platform/jet/expression/ClauseWords.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/jet/expression/Characters.h"

namespace marrowkit::expression {
namespace {

constexpr std::array<std::string_view, 20> kClauseWords{
    "AS",   "FROM",  "INTO", "WHERE", "GROUP", "HAVING", "ORDER", "ASC",  "DESC",   "INNER",
    "LEFT", "RIGHT", "JOIN", "ON",    "SET",   "VALUES", "UNION", "WITH", "SELECT", "BY"};

}  // namespace

bool IsClauseWord(const Token& token) {
    return token.kind == TokenKind::Name &&
           std::any_of(kClauseWords.begin(), kClauseWords.end(),
                       [&](std::string_view word) { return SameName(token.text, word); });
}

}  // namespace marrowkit::expression
