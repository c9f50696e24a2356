#pragma once

#include <vector>

#include "platform/jet/engine/Schema.h"

namespace marrowkit {

/// The version of a frontend database's schema, as its table Config holds it: 2 and 5 for version 2.5.
struct SchemaVersion {
    int major = 2;
    int minor = 5;

    /// Versions are compared as major + minor / 10.
    int Tenths() const { return 10 * major + minor; }
    bool HigherThan(SchemaVersion other) const { return Tenths() > other.Tenths(); }
};

/// The newest one that is known.
inline constexpr SchemaVersion kNewestSchemaVersion{2, 5};

/// The frontend's tables, each after those it refers to. Fields and tables that came later than `version` are
/// left out. Every table of records has an AutoNumber as its primary key; every field that refers to another
/// table has an index, and so have the names of lookup records, because an import looks them up.
std::vector<jet::TableDesign> FrontendTables(SchemaVersion version);

/// Which field refers to which table. All are enforced; extras go with their game, filters with their view.
std::vector<jet::Relationship> FrontendRelationships(SchemaVersion version);

}  // namespace marrowkit
