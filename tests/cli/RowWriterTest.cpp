#include <cmath>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/RowWriter.h"

namespace marrowkit::cli {
namespace {

std::string Written(RowFormat format, const std::vector<std::string>& columns,
                    const std::vector<jet::Row>& rows) {
    std::ostringstream out;
    const auto writer = MakeRowWriter(format, out, columns);
    for (const jet::Row& row : rows) writer->Write(std::span<const jet::Value>(row));
    writer->Finish();
    return out.str();
}

TEST(RowWriter, WritesCsvWithAHeaderAlsoWithoutRows) {
    EXPECT_EQ(Written(RowFormat::Csv, {"Name", "Year"}, {}), "Name,Year\n");
}

TEST(RowWriter, QuotesTextAndDoublesQuotesInside) {
    EXPECT_EQ(Written(RowFormat::Csv, {"a", "b", "c"}, {{"plain", "say \"hi\", \"you\"", "two\r\nlines"}}),
              "a,b,c\n\"plain\",\"say \"\"hi\"\", \"\"you\"\"\",\"two\r\nlines\"\n");
}

TEST(RowWriter, TellsNullFromAnEmptyText) {
    EXPECT_EQ(Written(RowFormat::Csv, {"a", "b"}, {{jet::Null{}, ""}}), "a,b\n,\"\"\n");
    EXPECT_EQ(Written(RowFormat::Json, {"a", "b"}, {{jet::Null{}, ""}}),
              "[\n  {\"a\": null, \"b\": \"\"}\n]\n");
}

TEST(RowWriter, QuotesColumnNamesOnlyWhenTheyNeedIt) {
    EXPECT_EQ(Written(RowFormat::Csv, {"Name, first", "a \"b\"", "", "c d"}, {}),
              "\"Name, first\",\"a \"\"b\"\"\",\"\",c d\n");
}

TEST(RowWriter, WritesEveryTypeInCsv) {
    const jet::Row row{true,
                       false,
                       std::uint8_t{255},
                       std::int16_t{-32768},
                       std::int32_t{-1},
                       jet::Currency{-12500},
                       0.1f,
                       1e21,
                       jet::DateTime{0.5},
                       jet::Binary{0x00, 0xAB},
                       jet::Numeric{{0, 0, 0, 1250}, 2, false}};
    EXPECT_EQ(Written(RowFormat::Csv, std::vector<std::string>(row.size(), "x"), {row}),
              "x,x,x,x,x,x,x,x,x,x,x\n"
              "True,False,255,-32768,-1,-1.25,0.1,1000000000000000000000,1899-12-30T12:00:00,00AB,12.50\n");
}

TEST(RowWriter, WritesJsonThatParsesBack) {
    const std::vector<jet::Row> rows{
        {"a \"quoted\" \\ text\n\u00E9", std::int32_t{7}, true, 0.5},
        {jet::Null{}, jet::Currency{5000}, false, std::numeric_limits<double>::infinity()}};
    const auto document = nlohmann::json::parse(Written(RowFormat::Json, {"t", "n", "b", "d"}, rows));
    ASSERT_EQ(document.size(), 2u);
    EXPECT_EQ(document[0]["t"], "a \"quoted\" \\ text\n\u00E9");
    EXPECT_EQ(document[0]["n"], 7);
    EXPECT_EQ(document[0]["b"], true);
    EXPECT_EQ(document[0]["d"], 0.5);
    EXPECT_TRUE(document[1]["t"].is_null());
    EXPECT_EQ(document[1]["n"], 0.5);
    EXPECT_TRUE(document[1]["d"].is_string());
}

TEST(RowWriter, WritesEveryTypeInJson) {
    const jet::Guid guid{{4, 3, 2, 1, 6, 5, 8, 7, 9, 10, 11, 12, 13, 14, 15, 16}};
    const jet::Row row{std::uint8_t{255},
                       std::int16_t{-32768},
                       0.1f,
                       jet::DateTime{0.5},
                       jet::Binary{0x00, 0xAB},
                       jet::Numeric{{0, 0, 0, 1250}, 2, false},
                       guid};
    EXPECT_EQ(Written(RowFormat::Json, {"a", "b", "c", "d", "e", "f", "g"}, {row}),
              "[\n  {\"a\": 255, \"b\": -32768, \"c\": 0.1, \"d\": \"1899-12-30T12:00:00\", \"e\": "
              "\"00AB\", \"f\": 12.50, \"g\": \"{01020304-0506-0708-090A-0B0C0D0E0F10}\"}\n]\n");
    EXPECT_EQ(Written(RowFormat::Csv, {"g"}, {{guid}}), "g\n\"{01020304-0506-0708-090A-0B0C0D0E0F10}\"\n");
}

TEST(RowWriter, WritesAnEmptyJsonArrayWithoutRows) {
    EXPECT_EQ(Written(RowFormat::Json, {"a"}, {}), "[]\n");
}

TEST(RowWriter, WritesJsonForTextThatIsNotUtf8) {
    const auto document = nlohmann::json::parse(Written(RowFormat::Json, {"a"}, {{"bad\xFF"}}));
    EXPECT_EQ(document[0]["a"], "bad\uFFFD");
}

TEST(RowWriter, LosesNothingOfManyRows) {
    std::ostringstream out;
    const auto writer = MakeRowWriter(RowFormat::Csv, out, {"n"});
    std::string expected = "n\n";
    for (std::int32_t i = 0; i < 100000; ++i) {
        writer->Write({i});
        expected += std::to_string(i) + "\n";
    }
    writer->Finish();
    EXPECT_EQ(out.str(), expected);
}

}  // namespace
}  // namespace marrowkit::cli
