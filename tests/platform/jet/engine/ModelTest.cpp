// Thousands of random changes of one table, with every type of column and eight indexes, against a model in
// memory. MARROWKIT_TEST_SCALE multiplies their number.

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>

#include "EngineTestSupport.h"
#include "MdbTools.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/IndexKey.h"

namespace marrowkit::jet::test {
namespace {

constexpr int kOperations = 4000;
constexpr int kRowsAimedAt = 700;
constexpr int kOperationsPerUnit = 40;
constexpr int kComparisons = 4;

int Scale() {
    const char* scale = std::getenv("MARROWKIT_TEST_SCALE");
    return scale == nullptr ? 1 : std::max(1, std::atoi(scale));
}

class ModelTest : public NewDatabaseTest {
protected:
    using Model = std::map<RowId, Row>;

    void MakeTable();
    Value RandomValue(const Column& column);
    std::string RandomText(int maxChars);
    Row RandomRow();
    void InsertOne(Model& model);
    void UpdateOne(Model& model);
    void DeleteOne(Model& model);
    void Step(Model& model);
    void Compare(const Model& model);
    void CompareIndex(const Model& model, std::size_t index);
    std::vector<std::uint8_t> KeyOf(const Index& index, const Row& row);
    std::string UniqueKeyOf(const Row& row);
    bool BreaksUnique(const Row& row, RowId except);
    void NoteUniqueKey(const Row& row, RowId id);
    RowId AnyRow(const Model& model);
    int Random(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random_); }

    std::mt19937 random_{20260701};
    /// Keys in the unique index, to know beforehand what must be refused. Nulls are not among them.
    std::map<std::string, RowId> uniqueKeys_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, ModelTest, ::testing::ValuesIn(kBothVersions), VersionName);

void ModelTest::MakeTable() {
    TableDesign design{"T", {}, {}, "", ""};
    Column binary = ColumnOf("Binary", ColumnType::Binary);
    binary.size = 40;
    design.columns = {AutoNumberColumn("Id"),
                      ColumnOf("Boolean", ColumnType::Boolean),
                      ColumnOf("Byte", ColumnType::Byte),
                      ColumnOf("Integer", ColumnType::Integer),
                      LongColumn("Long"),
                      ColumnOf("Currency", ColumnType::Currency),
                      ColumnOf("Single", ColumnType::Single),
                      ColumnOf("Double", ColumnType::Double),
                      ColumnOf("Date", ColumnType::DateTime),
                      binary,
                      TextColumn("Text", 80),
                      ColumnOf("Ole", ColumnType::Ole),
                      ColumnOf("Memo", ColumnType::Memo),
                      ColumnOf("Guid", ColumnType::Guid)};
    if (GetParam() == JetVersion::Jet4) {
        Column numeric = ColumnOf("Numeric", ColumnType::Numeric);
        numeric.precision = 18;
        numeric.scale = 3;
        design.columns.push_back(numeric);
    }
    Index descending = IndexOn("Down", {"Double", "Text"});
    descending.parts[0].ascending = false;
    descending.parts[1].ascending = false;
    Index ignoring = IndexOn("Ignoring", {"Date"});
    ignoring.ignoreNulls = true;
    Index required = IndexOn("Required", {"Integer"});
    required.required = true;
    design.indexes = {PrimaryKey({"Id"}),
                      UniqueOn("Unique", {"Text"}),
                      IndexOn("Single", {"Long"}),
                      IndexOn("Composite", {"Boolean", "Byte", "Currency"}),
                      descending,
                      ignoring,
                      required,
                      IndexOn("Bytes", {"Binary", "Guid"})};
    database_->CreateTable(design);
}

std::string ModelTest::RandomText(int maxChars) {
    static const char* const kPieces[] = {"a",        "B",        "cc",    "-", "'",  " ",
                                          "\xC3\xA9", "\xC3\x9F", "Zelda", "9", "xyz"};
    std::string text;
    const int pieces = Random(maxChars / 5 + 1);
    for (int i = 0; i < pieces; ++i) text += kPieces[Random(std::size(kPieces))];
    return text;
}

Value ModelTest::RandomValue(const Column& column) {
    if (column.type != ColumnType::Boolean && column.name != "Integer" && Random(8) == 0) return Null{};
    switch (column.type) {
        case ColumnType::Boolean:
            return Random(2) == 1;
        case ColumnType::Byte:
            return static_cast<std::uint8_t>(Random(256));
        case ColumnType::Integer:
            return static_cast<std::int16_t>(Random(65536) - 32768);
        case ColumnType::Long:
            return Random(50) - 25;
        case ColumnType::Currency:
            return Currency{(Random(2001) - 1000) * std::int64_t{12345}};
        case ColumnType::Single:
            return static_cast<float>(Random(1000)) / 8.0F - 50.0F;
        case ColumnType::Double:
            return Random(100) / 4.0 - 10.0;
        case ColumnType::DateTime:
            return DateTime{38000.0 + Random(500) / 2.0};
        case ColumnType::Binary:
            return Binary(static_cast<std::size_t>(Random(30) + 1), static_cast<std::uint8_t>(Random(256)));
        case ColumnType::Text:
            return RandomText(80);
        case ColumnType::Ole:
            // Inline, one row, a chain.
            return Binary(static_cast<std::size_t>(1 + Random(3) * Random(3000)),
                          static_cast<std::uint8_t>(Random(256)));
        case ColumnType::Memo:
            return RandomText(Random(4) == 0 ? 12000 : 300);
        case ColumnType::Guid: {
            Guid guid;
            for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(Random(3));
            return guid;
        }
        case ColumnType::Numeric: {
            Numeric numeric;
            numeric.magnitude[3] = static_cast<std::uint32_t>(Random(1'000'000));
            numeric.scale = column.scale;
            numeric.negative = numeric.magnitude[3] != 0 && Random(2) == 1;
            return numeric;
        }
        case ColumnType::FixedBlock:
            break;
    }
    return Null{};
}

Row ModelTest::RandomRow() {
    Row row;
    for (const Column& column : T("T").Columns()) row.push_back(RandomValue(column));
    return row;
}

RowId ModelTest::AnyRow(const Model& model) {
    auto row = model.lower_bound(
        RowId{static_cast<PageNumber>(Random(static_cast<int>(database_->GetPager().PageCount()))), 0});
    if (row == model.end()) row = model.begin();
    for (int skip = Random(8); skip > 0 && std::next(row) != model.end(); --skip) ++row;
    return row->first;
}

std::string ModelTest::UniqueKeyOf(const Row& row) {
    const Value& text = row[T("T").FindColumn("Text").value()];
    std::vector<std::uint8_t> key;
    if (!IsNull(text)) AppendTextKey(GetParam(), std::get<std::string>(text), false, key);
    return {key.begin(), key.end()};
}

bool ModelTest::BreaksUnique(const Row& row, RowId except) {
    const auto found = uniqueKeys_.find(UniqueKeyOf(row));
    return found != uniqueKeys_.end() && found->second != except;
}

void ModelTest::NoteUniqueKey(const Row& row, RowId id) {
    const std::string key = UniqueKeyOf(row);
    if (!key.empty()) uniqueKeys_[key] = id;
}

void ModelTest::InsertOne(Model& model) {
    Row row = RandomRow();
    std::vector<Assignment> values;
    for (std::size_t i = 1; i < row.size(); ++i) values.push_back({i, row[i]});
    const bool refused = BreaksUnique(row, {});
    try {
        const RowId id = T("T").Insert(values);
        ASSERT_FALSE(refused);
        row[0] = static_cast<std::int32_t>(T("T").Definition().lastAutoNumber);
        ASSERT_TRUE(model.emplace(id, row).second);
        NoteUniqueKey(row, id);
    } catch (const RuntimeError& error) {
        ASSERT_TRUE(refused && error.number == 3022) << error.description;
    }
}

void ModelTest::UpdateOne(Model& model) {
    const RowId id = AnyRow(model);
    Row row = model[id];
    std::vector<Assignment> values;
    for (int changes = Random(4) + 1; changes > 0; --changes) {
        const auto column = static_cast<std::size_t>(Random(static_cast<int>(row.size()) - 1) + 1);
        row[column] = RandomValue(T("T").Columns()[column]);
        values.push_back({column, row[column]});
    }
    const bool refused = BreaksUnique(row, id);
    try {
        T("T").Update(id, values);
        ASSERT_FALSE(refused);
        uniqueKeys_.erase(UniqueKeyOf(model[id]));
        model[id] = row;
        NoteUniqueKey(row, id);
    } catch (const RuntimeError& error) {
        ASSERT_TRUE(refused && error.number == 3022) << error.description;
    }
}

void ModelTest::DeleteOne(Model& model) {
    const RowId id = AnyRow(model);
    T("T").Delete(id);
    uniqueKeys_.erase(UniqueKeyOf(model[id]));
    model.erase(id);
}

void ModelTest::Step(Model& model) {
    const int kind = Random(10);
    const bool few = model.size() < kRowsAimedAt;
    if (model.empty() || kind < (few ? 6 : 3)) {
        InsertOne(model);
    } else if (kind < 8) {
        UpdateOne(model);
    } else {
        DeleteOne(model);
    }
}

std::vector<std::uint8_t> ModelTest::KeyOf(const Index& index, const Row& row) {
    std::vector<std::uint8_t> key;
    for (const Index::Part& part : index.parts) {
        const std::size_t column = T("T").FindColumn(part.column).value();
        for (const ColumnDefinition& definition : T("T").Definition().columns) {
            if (definition.name == part.column) {
                AppendKeyColumn(GetParam(), definition, part.ascending, row[column], key);
            }
        }
    }
    return key;
}

void ModelTest::CompareIndex(const Model& model, std::size_t position) {
    const Index& index = T("T").Indexes()[position];
    std::vector<std::pair<std::vector<std::uint8_t>, RowId>> expected;
    for (const auto& [id, row] : model) {
        const bool allNull = std::ranges::all_of(index.parts, [&](const Index::Part& part) {
            return IsNull(row[T("T").FindColumn(part.column).value()]);
        });
        if (!(allNull && index.ignoreNulls)) expected.emplace_back(KeyOf(index, row), id);
    }
    std::ranges::sort(expected);
    std::vector<RowId> rows;
    const auto scan = T("T").OpenIndexScan(position, IndexRange::All(), {});
    while (scan->Next()) rows.push_back(scan->Id());
    ASSERT_EQ(rows.size(), expected.size()) << index.name;
    for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(rows[i], expected[i].second) << index.name;
}

void ModelTest::Compare(const Model& model) {
    std::vector<std::size_t> columns(T("T").Columns().size());
    for (std::size_t i = 0; i < columns.size(); ++i) columns[i] = i;
    const auto scan = T("T").OpenScan(columns);
    auto expected = model.begin();
    while (scan->Next()) {
        ASSERT_NE(expected, model.end());
        ASSERT_EQ(scan->Id(), expected->first);
        for (const std::size_t column : columns) {
            ASSERT_EQ(scan->Values()[column], expected->second[column]) << T("T").Columns()[column].name;
        }
        ++expected;
    }
    ASSERT_EQ(expected, model.end());
    ASSERT_EQ(T("T").RowCount(), static_cast<std::int64_t>(model.size()));
    for (std::size_t index = 0; index < T("T").Indexes().size(); ++index) {
        ASSERT_NO_FATAL_FAILURE(CompareIndex(model, index));
    }
}

TEST_P(ModelTest, RandomChanges) {
    MakeTable();
    Model model;
    const int units = kOperations * Scale() / kOperationsPerUnit;
    for (int unit = 0; unit < units; ++unit) {
        const Model before = model;
        {
            Unit change(database_->GetPager());
            for (int i = 0; i < kOperationsPerUnit; ++i) ASSERT_NO_FATAL_FAILURE(Step(model));
            if (Random(10) != 0) {
                change.Commit();
            } else {
                model = before;
                uniqueKeys_.clear();
                for (const auto& [id, row] : model) NoteUniqueKey(row, id);
            }
        }
        if (unit % (units / kComparisons + 1) == 0) {
            ASSERT_NO_FATAL_FAILURE(Compare(model));
            Reopen();
            ExpectSound();
        }
    }
    Reopen();
    ASSERT_NO_FATAL_FAILURE(Compare(model));
    if (MdbTools::IsInstalled()) MdbTools::ExpectSameCells(path_, T("T"));
    // And empty again.
    Unit change(database_->GetPager());
    for (const auto& [id, row] : model) T("T").Delete(id);
    change.Commit();
    EXPECT_EQ(T("T").RowCount(), 0);
}

}  // namespace
}  // namespace marrowkit::jet::test
