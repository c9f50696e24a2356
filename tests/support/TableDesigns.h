#pragma once

#include <string>
#include <utility>

#include "platform/jet/engine/Schema.h"

namespace marrowkit::test {

/// `size`: as in the definition, for types that have one.
inline jet::Column MakeColumn(std::string name, jet::ColumnType type, int size = 0) {
    jet::Column column;
    column.name = std::move(name);
    column.type = type;
    column.size = size;
    return column;
}

/// An ascending index on one column.
inline jet::Index MakeIndex(std::string name, std::string column, bool primary = false) {
    jet::Index index;
    index.name = std::move(name);
    index.parts = {{std::move(column), true}};
    index.primaryKey = index.unique = index.required = primary;
    return index;
}

}  // namespace marrowkit::test
