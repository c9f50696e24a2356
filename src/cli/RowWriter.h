#pragma once

#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/jet/format/Value.h"

namespace marrowkit::cli {

enum class RowFormat { Csv, Json };

/// Writes rows as they come, so that a table may be larger than memory.
///
/// CSV: a header line with the columns' names, then a line for each row, ended by LF. Text stands in double
/// quotes, with those inside doubled (a name in the header only when it needs them); NULL is nothing; numbers
/// are plain decimal; truth values True and False; dates ISO 8601; binary data upper-case hexadecimal.
///
/// JSON: one array with an object for each row, its members in the order of the columns. Numbers, true, false
/// and null are JSON's own, all else is text like in CSV. Decimals (Currency, Numeric) keep all their digits.
class RowWriter {
public:
    virtual ~RowWriter() = default;
    /// REQUIRES: as many values as there are columns.
    virtual void Write(std::span<const jet::Value> row) = 0;
    void Write(std::initializer_list<jet::Value> row) {
        Write(std::span<const jet::Value>(row.begin(), row.size()));
    }
    /// Writes what is still held back and the end of the document.
    virtual void Finish() = 0;
};

std::unique_ptr<RowWriter> MakeRowWriter(RowFormat format, std::ostream& out,
                                         const std::vector<std::string>& columns);

}  // namespace marrowkit::cli
