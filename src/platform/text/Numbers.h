#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace marrowkit {

// Numbers from and to text by the rules of the classic BASIC runtime, with a point as decimal sign whatever
// the locale.

/// The number a text begins with, 0 when it begins with none: blanks, tabs and line feeds are skipped
/// wherever they stand, then sign, digits, decimals and an exponent (E or D) are read as far as they make
/// sense.
/// "&H" and "&O" start hexadecimal and octal numbers; up to 16 bits they are signed 16-bit numbers
/// (Val("&HFFFF") is -1), up to 32 bits signed 32-bit ones. Raises 6 on overflow.
double Val(std::string_view text);

/// The whole text as a signed 32-bit number: blanks around it, sign, decimals (halves to the even
/// neighbour) and an exponent are allowed, or "&H"/"&O" and at most 32 bits. Raises 13 for anything else, an
/// empty text included, and 6 when it does not fit.
std::int32_t CLng(std::string_view text);
/// Halves to the even neighbour. Raises 6 when it does not fit.
std::int32_t CLng(double value);

/// Upper-case hexadecimal digits of the 32 bits, without leading zeros: Hex(-1) is "FFFFFFFF", Hex(0) "0".
std::string Hex(std::int32_t value);

/// The pattern "0": a whole number, halves away from zero, no grouping. Raises 6 for what is not a number.
std::string Format0(double value);

/// The shortest decimal text that reads back as the same single-precision number.
std::string SingleToText(float value);
/// A text that is a decimal number as a whole, blanks around it allowed; nullopt for anything else and for
/// what no single-precision number can hold.
std::optional<float> TextToSingle(std::string_view text);

}  // namespace marrowkit
