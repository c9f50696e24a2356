#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

/// The Bad kinds stand for text that is no token. They are reported only when the parser arrives at them, so
/// that `Name = 'O'Brien'` is first of all a missing operator after 'O'.
enum class TokenKind : std::uint8_t {
    End,
    Name,           ///< unbracketed: may be a keyword
    BracketedName,  ///< [Games]: never a keyword
    Literal,        ///< number, text or date; see Token::value
    Symbol,         ///< operator or punctuation; see Token::text
    BadText,
    BadDate,
    BadBracket,
    BadNumber,
    BadCharacter,
};

/// One token; `start` and `end` are byte positions in the source.
struct Token {
    TokenKind kind = TokenKind::End;
    std::string text;  ///< name without brackets, or symbol
    jet::Value value;
    std::size_t start = 0;
    std::size_t end = 0;
};

}  // namespace marrowkit::expression
