#pragma once

#include <string>

#include "platform/jet/engine/Database.h"

namespace marrowkit::cli {

/// The design of all local tables and relationships as Jet SQL. What SQL has no words for (defaults, rules)
/// stands in comments.
std::string SchemaAsSql(jet::Database& database);

/// The same as one JSON document, complete.
std::string SchemaAsJson(jet::Database& database);

}  // namespace marrowkit::cli
