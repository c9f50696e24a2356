#include "interop/Comparison.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "interop/Exports.h"
#include "interop/OtherReaders.h"
#include "platform/jet/check/Check.h"

namespace marrowkit::test {

namespace fs = std::filesystem;

namespace {

/// mdbtools and mdb-reader show other things for bytes that code page 1252 leaves undefined.
bool HasUndefinedLetters(const OwnTable& table) {
    for (const jet::Row& row : table.rows) {
        for (const jet::Value& value : row) {
            const auto* text = std::get_if<std::string>(&value);
            if (text == nullptr) continue;
            for (const char* letter : {"\xC2\x81", "\xC2\x8D", "\xC2\x8F", "\xC2\x90", "\xC2\x9D"}) {
                if (text->find(letter) != std::string::npos) return true;
            }
        }
    }
    return false;
}

}  // namespace

int CompareWithMdbTools(const fs::path& file) {
    int compared = 0;
    const std::vector<std::string> listed = MdbToolsTables(file);
    for (const OwnTable& own : ReadOwnTables(file)) {
        SCOPED_TRACE(file.filename().string() + ", table " + own.name);
        EXPECT_NE(std::find(listed.begin(), listed.end(), own.name), listed.end())
            << "mdb-tables has no such table";
        if (HasUndefinedLetters(own)) continue;
        const ExportedTable other = MdbToolsExport(file, own.name);
        EXPECT_EQ(other.error, "");
        EXPECT_EQ(Difference(own, other, Reader::MdbTools), "");
        ++compared;
    }
    return compared;
}

int CompareWithMdbReader(const fs::path& file) {
    int compared = 0;
    const std::vector<ExportedTable> tables = MdbReaderExport(file);
    for (const OwnTable& own : ReadOwnTables(file)) {
        SCOPED_TRACE(file.filename().string() + ", table " + own.name);
        const auto other = std::find_if(tables.begin(), tables.end(),
                                        [&](const ExportedTable& table) { return table.name == own.name; });
        if (other == tables.end()) {
            ADD_FAILURE() << "mdb-reader has no such table";
            continue;
        }
        // It refuses a table with a column of the type that only one of Access's own tables has.
        const bool isRefused =
            std::find(own.types.begin(), own.types.end(), jet::ColumnType::FixedBlock) != own.types.end();
        if (isRefused || HasUndefinedLetters(own)) continue;
        EXPECT_EQ(other->error, "");
        EXPECT_EQ(Difference(own, *other, Reader::MdbReader), "");
        ++compared;
    }
    return compared;
}

void ExpectSound(const fs::path& file) {
    for (const jet::Problem& problem : jet::Check(file.string())) {
        ADD_FAILURE() << file.filename().string() << ": " << problem.ToText();
    }
}

}  // namespace marrowkit::test
