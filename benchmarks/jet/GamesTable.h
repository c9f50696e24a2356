#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/jet/engine/Schema.h"

/// The table that all figures are about: the frontend's Games, with its 47 columns, eleven indexes and eight
/// relationships to lookup tables.
namespace marrowkit::benchmark {

struct Lookup {
    std::string table;
    std::string key;
};

const std::vector<Lookup>& Lookups();
constexpr int kLookupRows = 40;

const std::vector<jet::Column>& GamesColumns();
/// Columns with an index of their own, the primary key apart.
const std::vector<std::string>& IndexedColumns();

/// The values of game `n` (from 1), in the order of GamesColumns; the AutoNumber in front is Null.
jet::Row GameRow(int n);
/// The same with a MemoText of some thousand characters: on a page with others, on a page alone or on
/// several.
jet::Row GameRowWithLongMemo(int n);

}  // namespace marrowkit::benchmark
