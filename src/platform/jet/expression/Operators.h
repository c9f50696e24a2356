#pragma once

#include <cstdint>
#include <string>

#include "platform/jet/format/Format.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::expression {

/// The two-sided operators.
enum class Operator : std::uint8_t {
    Imp,
    Eqv,
    Xor,
    Or,
    And,
    Equal,
    NotEqual,
    Less,
    Greater,
    LessOrEqual,
    GreaterOrEqual,
    Like,
    Concatenate,
    Add,
    Subtract,
    Modulo,
    IntegerDivide,
    Multiply,
    Divide,
    Power,
};

bool IsComparison(Operator op);

/// <0, 0 or >0. Texts compare as their sort keys in a file of that version, numbers (and dates) by value.
/// Neither may be Null. Raises 3464 for classes that cannot be compared: a text with a number, say.
int Compare(jet::JetVersion version, const jet::Value& left, const jet::Value& right);

/// Whether a comparison operator is satisfied by the answer of Compare.
bool Satisfies(Operator op, int order);

/// + - * / \ Mod ^ &. Null if an operand is, but & takes Null as an empty text unless both are. Two texts are
/// joined by +. Raises 3464, 6 and 11.
jet::Value Calculate(Operator op, const jet::Value& left, const jet::Value& right);
jet::Value Negate(const jet::Value& value);

/// Appends bytes whose order is the order of the values, Null first; equal values have equal bytes. Values
/// that meet in one list must be of one class. `descending` inverts.
void AppendSortKey(jet::JetVersion version, const jet::Value& value, bool descending, std::string& key);

}  // namespace marrowkit::expression
