#pragma once

#include <vector>

#include "platform/jet/format/TableDefinition.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

/// Table definitions on their pages. A definition too long for one page goes on in a chain of continuation
/// pages; its first page never changes, because it is the table's identity.

/// Throws 3049 on a chain that loops, leaves the file or does not hold together.
TableDefinition LoadDefinition(Pager& pager, PageNumber first);

/// The pages of the chain, the first one included.
std::vector<PageNumber> DefinitionChain(Pager& pager, PageNumber first);

// REQUIRES for all changes: a unit is open.

/// Writes a definition whose first page (`definition.page`) is allocated; the chain behind it grows and
/// shrinks as needed.
void SaveDefinition(Pager& pager, const TableDefinition& definition);

/// Writes nothing but the row count, the AutoNumber counter and the `distinct` statistics of all indexes.
void SaveCounters(Pager& pager, const TableDefinition& definition);
/// Writes the row count alone, on the definition's first page.
void PutRowCount(JetVersion version, const PageEdit& first, std::uint32_t count);

/// Gives all pages of the chain back.
void ReleaseDefinition(Pager& pager, PageNumber first);

}  // namespace marrowkit::jet
