#pragma once

#include "platform/jet/engine/Schema.h"
#include "platform/jet/format/DatabaseHeader.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// The definition that a design asks for, without any page. Throws 3125, 3190, 3191, 3259, 3264 and what
/// DesignRealIndex throws.
TableDefinition DesignTable(const DatabaseHeader& header, const TableDesign& design);

/// Gives a definition its pages: the definition's own (unless `page` is set already), maps, index roots; and
/// saves it. REQUIRES: a unit is open.
void AllocateTable(Pager& pager, TableDefinition& definition);

}  // namespace marrowkit::jet
