#pragma once

#include <string>
#include <vector>

#include "platform/jet/check/CheckReaders.h"
#include "platform/jet/format/TableDefinition.h"

namespace marrowkit::test {

/// A database that has a bit of everything, as bytes: two related tables, indexes of two levels, long values
/// of all three kinds, a moved row.
std::vector<std::uint8_t> MakeCheckDatabase(jet::JetVersion version);

/// The same with so few rows that reading, checking and copying it takes a millisecond or two. Only the index
/// on names has two levels.
std::vector<std::uint8_t> MakeSmallCheckDatabase(jet::JetVersion version);

/// Where the parts of one table lie.
struct TableParts {
    jet::TableDefinition definition;
    std::vector<jet::PageNumber> dataPages;
    std::vector<jet::PageNumber> longValuePages;  ///< of all its columns

    const jet::RealIndex& Index(const std::string& logicalName) const;
    const jet::ColumnDefinition& Column(const std::string& name) const;
};

/// Reads and changes single structures of a database in memory.
class DatabaseBytes {
public:
    explicit DatabaseBytes(std::vector<std::uint8_t> bytes);

    std::vector<std::uint8_t> bytes;

    const jet::Geometry& PageGeometry() const { return *geometry_; }
    jet::MutableByteView Page(jet::PageNumber page);
    TableParts Table(const std::string& name) const;
    /// Page and offset in it of a slot's row.
    std::size_t RowOffset(jet::RowId row) const;
    /// Writes the definition anew with something changed; its length must stay.
    template <typename Change>
    void EditDefinition(const std::string& table, Change change) {
        jet::TableDefinition definition = Table(table).definition;
        change(definition);
        PutDefinition(definition);
    }
    /// The pages of an index's leaves, in order.
    std::vector<jet::PageNumber> Leaves(const jet::RealIndex& index) const;
    /// The verifier's findings as texts.
    std::vector<std::string> Check() const;

private:
    void PutDefinition(const jet::TableDefinition& definition);

    const jet::Geometry* geometry_;
};

}  // namespace marrowkit::test
