#pragma once

#include <string_view>

#include "platform/dao/sql/Statement.h"
#include "platform/jet/expression/Parser.h"

namespace marrowkit::dao::sql {

/// Reads one statement; a semicolon may end it. Raises 3129 for what is no statement, else the error of the
/// clause that is malformed: 3075, 3128, 3131, 3134, 3135, 3138, 3141, 3142, 3144, 3289 to 3295 ...
Statement ParseStatement(std::string_view text);

// The parts of it, each in a file of its own. All stop behind what they read.

/// Behind the word SELECT.
Select ParseSelect(expression::TokenStream& tokens);
/// Behind INSERT, UPDATE and DELETE.
Insert ParseInsert(expression::TokenStream& tokens);
Update ParseUpdate(expression::TokenStream& tokens);
Delete ParseDelete(expression::TokenStream& tokens);
/// Behind CREATE, ALTER and DROP.
Statement ParseCreate(expression::TokenStream& tokens);
Statement ParseAlter(expression::TokenStream& tokens);
Statement ParseDrop(expression::TokenStream& tokens);

/// A bracketed name, or an unbracketed one that is no word of the grammar; empty (and nothing taken) when
/// something else comes.
std::string TakeName(expression::TokenStream& tokens);
/// A list of names in parentheses; false when malformed.
bool TakeNameList(expression::TokenStream& tokens, std::vector<std::string>& names);

/// WHERE and its condition; null when no WHERE comes.
NodePtr ParseWhere(expression::TokenStream& tokens);

}  // namespace marrowkit::dao::sql
