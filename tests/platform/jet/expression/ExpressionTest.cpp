#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Expression.h"
#include "platform/jet/expression/Parser.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;
using jet::JetVersion;
using jet::Value;

/// The columns every case may use, and their values in the one row there is.
struct SampleColumn {
    const char* name;
    ColumnType type;
    Value value;
};

const std::vector<SampleColumn>& SampleColumns() {
    static const std::vector<SampleColumn> kColumns{
        {"n", ColumnType::Long, std::int32_t{7}},
        {"d", ColumnType::Double, 2.5},
        {"t", ColumnType::Text, std::string("Zelda")},
        {"e", ColumnType::Text, std::string()},
        {"yes_flag", ColumnType::Boolean, true},
        {"nothing", ColumnType::Long, jet::Null{}},
        {"nt", ColumnType::Text, jet::Null{}},
        {"day", ColumnType::DateTime, jet::DateTime{36526.5}},
        {"money", ColumnType::Currency, jet::Currency{123456}},
        {"No", ColumnType::Long, std::int32_t{3}},
        {"two words", ColumnType::Long, std::int32_t{2}},
    };
    return kColumns;
}

Binding SampleBinding(JetVersion version) {
    Binding binding;
    binding.version = version;
    binding.resolve = [](std::string_view qualifier, std::string_view name) -> std::optional<BoundName> {
        if (!qualifier.empty() && qualifier != "T") return std::nullopt;
        const auto& columns = SampleColumns();
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (name == columns[i].name) return BoundName{i, columns[i].type};
        return std::nullopt;
    };
    return binding;
}

jet::Row SampleRow() {
    jet::Row row;
    for (const SampleColumn& column : SampleColumns()) row.push_back(column.value);
    return row;
}

std::string Show(const Value& value) {
    if (jet::IsNull(value)) return "Null";
    if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "True" : "False";
    if (const auto* text = std::get_if<std::string>(&value)) return "'" + *text + "'";
    if (std::holds_alternative<jet::DateTime>(value)) return "#" + ToText(value) + "#";
    return ToText(value);
}

std::string EvaluateText(const std::string& text, JetVersion version) {
    return Show(CompileExpression(text, SampleBinding(version)).Evaluate(SampleRow()));
}

struct ValueCase {
    const char* text;
    const char* expected;
};

class ExpressionValue : public testing::TestWithParam<ValueCase> {};

TEST_P(ExpressionValue, IsTheSameInBothFormats) {
    EXPECT_EQ(EvaluateText(GetParam().text, JetVersion::Jet3), GetParam().expected) << GetParam().text;
    EXPECT_EQ(EvaluateText(GetParam().text, JetVersion::Jet4), GetParam().expected) << GetParam().text;
}

constexpr ValueCase kLiterals[] = {
    {"1", "1"},
    {"-1", "-1"},
    {"2147483647", "2147483647"},
    {"2147483648", "2147483648"},
    {"-2147483648", "-2147483648"},
    {"1.5", "1.5"},
    {".5", "0.5"},
    {"1e3", "1000"},
    {"1E-3", "0.001"},
    {"&H1F", "31"},
    {"&hFFFF", "-1"},
    {"&O17", "15"},
    {"'a'", "'a'"},
    {"\"a\"", "'a'"},
    {"'it''s'", "'it's'"},
    {"\"say \"\"hi\"\"\"", "'say \"hi\"'"},
    {"''", "''"},
    {"'\"'", "'\"'"},
    {"True", "True"},
    {"FALSE", "False"},
    {"Yes", "True"},
    {"on", "True"},
    {"Off", "False"},
    {"Null", "Null"},
    {"#1/15/1999#", "#1/15/1999#"},
    {"#15/1/1999#", "#1/15/1999#"},
    {"#1999-01-15#", "#1/15/1999#"},
    {"#1999-01-15 13:30:05#", "#1/15/1999 1:30:05 PM#"},
    {"#1/15/29#", "#1/15/2029#"},
    {"#1/15/30#", "#1/15/1930#"},
    {"#15 Jan 1999#", "#1/15/1999#"},
    {"#January 15, 1999#", "#1/15/1999#"},
    {"#12:00 AM#", "#12:00:00 AM#"},
    {"#1:30 pm#", "#1:30:00 PM#"},
    {"#2/29/2000#", "#2/29/2000#"},
    {"= 5", "5"},
};
INSTANTIATE_TEST_SUITE_P(Literals, ExpressionValue, testing::ValuesIn(kLiterals));

constexpr ValueCase kOperators[] = {
    {"1+2*3", "7"},
    {"(1+2)*3", "9"},
    {"-2^2", "-4"},
    {"2^3^2", "64"},
    {"2^-1", "0.5"},
    {"7 Mod 3", "1"},
    {"-7 Mod 3", "-1"},
    {"7.5 Mod 4", "0"},
    {"8.5 \\ 3", "2"},
    {"7 \\ 2", "3"},
    {"-7 \\ 2", "-3"},
    {"7 / 2", "3.5"},
    {"6 / 2", "3"},
    {"10 Mod 4 * 2", "2"},
    {"10 - 4 - 3", "3"},
    {"2 * 7 \\ 4", "3"},
    {"'a' & 'b'", "'ab'"},
    {"'a' + 'b'", "'ab'"},
    {"1 & 2", "'12'"},
    {"1 + 2 & 3", "'33'"},
    {"'a' & Null", "'a'"},
    {"Null & Null", "Null"},
    {"'a' + Null", "Null"},
    {"1 + Null", "Null"},
    {"'2' + 3", "5"},
    {"'2' * '3'", "6"},
    {"2147483647 + 1", "2147483648"},
    {"True + True", "-2"},
    {"-True", "1"},
    {"1 = 1", "True"},
    {"1 <> 1", "False"},
    {"1 = 1.0", "True"},
    {"'a' = 'A'", "True"},
    {"'a ' = 'a'", "True"},
    {"'a' < 'B'", "True"},
    {"'' = Null", "Null"},
    {"Null = Null", "Null"},
    {"Null Is Null", "True"},
    {"1 Is Not Null", "True"},
    {"'' Is Null", "False"},
    {"2 Between 1 And 3", "True"},
    {"2 Between 3 And 1", "True"},
    {"4 Not Between 1 And 3", "True"},
    {"Null Between 1 And 3", "Null"},
    {"2 In (1,2,3)", "True"},
    {"2 Not In (1,2,3)", "False"},
    {"4 In (1, Null)", "Null"},
    {"1 In (1, Null)", "True"},
    {"4 Not In (1, Null)", "Null"},
    {"'abc' Like 'A*'", "True"},
    {"'abc' Like '?b?'", "True"},
    {"'abc' Like '?b'", "False"},
    {"'a1c' Like 'a#c'", "True"},
    {"'abc' Like 'a[a-c]c'", "True"},
    {"'abc' Like 'a[!a-c]c'", "False"},
    {"'a*c' Like 'a[*]c'", "True"},
    {"'axc' Like 'a[*]c'", "False"},
    {"'abc' Not Like 'x*'", "True"},
    {"Null Like '*'", "Null"},
    {"12 Like '1#'", "True"},
    {"'' Like '*'", "True"},
    {"'a' Like ''", "False"},
    {"#1/2/1999# + 1", "#1/3/1999#"},
    {"#1/3/1999# - #1/1/1999#", "2"},
    {"#1/1/1999# < #1/2/1999#", "True"},
    // Sums beyond the calendar, and beyond every whole number, are still moments that can be compared.
    {"#1/1/1999# + 1E30 > #1/1/1999#", "True"},
    {"#1/1/1999# - 1E30 < #1/1/1999#", "True"},
    {"#1/1/1999# + 1E30 - 1E30 < #1/1/2000#", "True"},
    {"#12/30/1899# = 0", "True"},
    {"#12/29/1899# > #12/29/1899 6:00#", "True"},  // by their numbers, -1 and -1.25, as in an index
    {"#12/29/1899 6:00# = -1.25", "True"},
    {"#12/29/1899 18:00# Between #12/29/1899# And #12/29/1899 6:00#", "False"},
    {"Not True", "False"},
    {"Not Null", "Null"},
    {"Not 1 = 2", "True"},
    {"Not 0", "True"},
    {"True And Null", "Null"},
    {"False And Null", "False"},
    {"Null And False", "False"},
    {"True Or Null", "True"},
    {"Null Or True", "True"},
    {"False Or Null", "Null"},
    {"True Xor True", "False"},
    {"True Xor Null", "Null"},
    {"True Eqv False", "False"},
    {"False Eqv False", "True"},
    {"True Imp False", "False"},
    {"False Imp Null", "True"},
    {"Null Imp True", "True"},
    {"Null Imp False", "Null"},
    {"1 = 1 Or 1 = 2 And 1 = 3", "True"},
    {"3 And 5", "True"},
    {"1 < 2 = True", "True"},
};
INSTANTIATE_TEST_SUITE_P(Operators, ExpressionValue, testing::ValuesIn(kOperators));

constexpr ValueCase kNames[] = {
    {"n", "7"},
    {"[n] + T.n + T![n] + [T].[n]", "28"},
    {"t", "'Zelda'"},
    {"[two words]", "2"},
    {"nothing Is Null", "True"},
    {"nt & 'x'", "'x'"},
    {"yes_flag = True", "True"},
    {"yes_flag = -1", "True"},
    {"No", "3"},
    {"yes_flag And n > 6", "True"},
    {"money * 2", "24.6912"},
    {"CCur('922337203685477.5807')", "922337203685477.5807"},
    {"CCur('-922337203685477.5808')", "-922337203685477.5808"},
    {"CCur('922337203685477.5807') * 1", "922337203685477.5807"},
    {"CCur('-9007199254740.9931') * CCur('1.5')", "-13510798882111.4896"},
    {"CCur('0.0025') * CCur('0.02') & CCur('0.0075') * CCur('0.02')", "'00.0002'"},
    {"CCur('1,234.56785') & ' ' & CCur('-0.00015') & ' ' & CCur('.00005001')", "'1234.5678 -0.0002 0.0001'"},
    {"CCur(1.5e3) & CCur('&H10')", "'150016'"},
    {"CCur(9007199254740.9931) - CCur('9007199254740')", "0.9922"},  // what is left of it in a Double
    {"Abs(CCur('-922337203685477.5807'))", "922337203685477.5807"},
    {"Int(CCur('-900000000000000.0001'))", "-900000000000001"},
    {"Fix(CCur('-900000000000000.9999'))", "-900000000000000"},
    {"Int(CCur('-7')) & Int(CCur('7.9'))", "'-77'"},
    {"money + money", "24.6912"},
    {"money / 2", "6.1728"},
    {"day + 0.25", "#1/1/2000 6:00:00 PM#"},
    {"t = 'ZELDA'", "True"},
    {"d = 2.5", "True"},
    {"e = ''", "True"},
    {"nothing > 1 Or nothing <= 1", "Null"},
};
INSTANTIATE_TEST_SUITE_P(Names, ExpressionValue, testing::ValuesIn(kNames));

struct ErrorCase {
    const char* text;
    int number;
    const char* description;  ///< nullptr: any
};

class ExpressionError : public testing::TestWithParam<ErrorCase> {};

TEST_P(ExpressionError, HasNumberAndText) {
    try {
        const std::string value = EvaluateText(GetParam().text, JetVersion::Jet4);
        FAIL() << GetParam().text << " gave " << value;
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, GetParam().number) << GetParam().text << ": " << error.description;
        if (GetParam().description) {
            EXPECT_EQ(error.description, GetParam().description);
        }
    }
}

constexpr ErrorCase kErrors[] = {
    {"1 2", 3077, "Syntax error (missing operator) in expression."},
    {"1 +", 3077, "Syntax error (missing operator) in expression."},
    {"", 3077, nullptr},
    {"* 2", 3077, nullptr},
    {"'abc", 3077, "Syntax error in string in expression."},
    {"#99/99/99#", 3077, "Syntax error in date in expression."},
    {"#2/29/1999#", 3077, nullptr},
    {"(1", 3077, "Missing ), ], or Item in expression."},
    {"1)", 3077, "Extra ) in expression."},
    {"1 In 2", 3077, "In operator without () in expression."},
    {"1 Between 2", 3077, "Between operator without And in expression."},
    {"1 Is 2", 3077, nullptr},
    {"a b", 3077, nullptr},
    {"1 @ 2", 3077, nullptr},
    {"[]", 3126, nullptr},
    {"[abc", 3126, nullptr},
    {"1e999", 3077, nullptr},
    {"unknown + 1", 3070, nullptr},
    {"T2.n", 3070, nullptr},
    {"Frobnicate(1)", 3085, nullptr},
    {"Left('a')", 3075, nullptr},
    {"Len()", 3075, nullptr},
    {"IIf(1,2)", 3075, nullptr},
    {"1 / 0", 11, "Division by zero"},
    {"1 \\ 0", 11, nullptr},
    {"1 Mod 0", 11, nullptr},
    {"'a' = 1", 3464, nullptr},
    {"t = 5", 3464, nullptr},
    {"n = '7'", 3464, nullptr},
    {"day = '1/1/2000'", 3464, nullptr},
    {"t Between 1 And 2", 3464, nullptr},
    {"t In ('a', 1)", 3464, nullptr},
    {"'a' * 2", 3464, nullptr},
    {"1e308 * 10", 6, "Overflow"},
    {"3000000000 \\ 2", 6, nullptr},
    {"(-8) ^ 0.5", 5, nullptr},
    {"'a' Like '[a'", 93, nullptr},
};
INSTANTIATE_TEST_SUITE_P(Errors, ExpressionError, testing::ValuesIn(kErrors));

TEST(Expression, NestingBeyondReasonIsTooComplexAndNothingWorse) {
    for (const char* piece : {"(", "-", "Not ", "1+(", "Len("}) {
        std::string text;
        for (int i = 0; i < 100000; ++i) text += piece;
        try {
            EvaluateText(text + "1", JetVersion::Jet4);
            FAIL() << piece;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, 3071) << piece;
        }
    }
    std::string chain = "1";
    for (int i = 0; i < 100000; ++i) chain += "+1";
    EXPECT_THROW(EvaluateText(chain, JetVersion::Jet4), RuntimeError);
}

TEST(Expression, ChainsOfHundredsOfTermsAreNoProblem) {
    std::string text = "n = 0";
    for (int i = 1; i <= 500; ++i) text += " Or n = " + std::to_string(i);
    EXPECT_EQ(EvaluateText(text, JetVersion::Jet4), "True");
}

TEST(Expression, ConstantPartsAreComputedOnceButErrorsWaitForTheirEvaluation) {
    EXPECT_TRUE(CompileExpression("1 + 2 * 3", SampleBinding(JetVersion::Jet4)).IsConstant());
    EXPECT_FALSE(CompileExpression("Now()", SampleBinding(JetVersion::Jet4)).IsConstant());
    EXPECT_EQ(EvaluateText("IIf(True, 1, 1/0)", JetVersion::Jet4), "1");
    EXPECT_EQ(EvaluateText("IIf(n = 7, 'same', 1/0)", JetVersion::Jet4), "'same'");
}

TEST(Expression, UnknownNamesAreCollectedOnceEach) {
    Binding binding = SampleBinding(JetVersion::Jet4);
    std::vector<std::string> unknown;
    binding.unknownNames = &unknown;
    CompileExpression("a = 1 Or A = 2 Or T.b = n", binding);
    EXPECT_THAT(unknown, testing::ElementsAre("a", "T.b"));
}

TEST(Expression, HyphensCountInOrderAsTheFormatSays) {
    EXPECT_EQ(EvaluateText("'co-op' < 'coopa'", JetVersion::Jet4), "True");
    EXPECT_EQ(EvaluateText("'coop' < 'co-op'", JetVersion::Jet4), "True");
    EXPECT_EQ(EvaluateText("'co-op' < 'coop'", JetVersion::Jet3), "True");
    EXPECT_EQ(EvaluateText("'co-op' = 'coop'", JetVersion::Jet3), "False");
}

TEST(Expression, TypesAreKnownWithoutARow) {
    const auto typeOf = [](const char* text) {
        return CompileExpression(text, SampleBinding(JetVersion::Jet4)).Type();
    };
    EXPECT_EQ(typeOf("n + 1"), ColumnType::Long);
    EXPECT_EQ(typeOf("n / 1"), ColumnType::Double);
    EXPECT_EQ(typeOf("t & n"), ColumnType::Text);
    EXPECT_EQ(typeOf("money * n"), ColumnType::Currency);
    EXPECT_EQ(typeOf("day - day"), ColumnType::Double);
    EXPECT_EQ(typeOf("day + 1"), ColumnType::DateTime);
    EXPECT_EQ(typeOf("n > 1"), ColumnType::Boolean);
    EXPECT_EQ(typeOf("IIf(n, t, Null)"), ColumnType::Text);
    EXPECT_EQ(typeOf("Null"), std::nullopt);
}

std::string QueryError(const std::string& text) {
    try {
        TokenStream tokens(text);
        Parser(tokens).ParseExpression();
    } catch (const RuntimeError& error) {
        return std::to_string(error.number) + " " + error.description;
    }
    return "none";
}

TEST(Expression, MistakesInQueriesQuoteTheExpressionUpToTheNextClause) {
    EXPECT_EQ(QueryError("Name = 'O'Brien' ORDER BY Name"),
              "3075 Syntax error (missing operator) in query expression 'Name = 'O'Brien' ORDER BY Name'.");
    EXPECT_EQ(QueryError("Publisher = \"The \"Best\" Ltd\""),
              "3075 Syntax error (missing operator) in query expression 'Publisher = \"The \"Best\" Ltd\"'.");
    EXPECT_EQ(QueryError("Publisher = \"Best"),
              "3075 Syntax error in string in query expression 'Publisher = \"Best'.");
    EXPECT_EQ(QueryError("a b FROM t"), "3075 Syntax error (missing operator) in query expression 'a b'.");
    EXPECT_EQ(QueryError("a = ;"), "3075 Syntax error (missing operator) in query expression 'a ='.");
}

jet::DateTime DateOf(std::string_view text) {
    return ToDate(Value(std::string(text)));
}

TEST(Conversion, NegativeDatesCountTheirTimeForward) {
    EXPECT_DOUBLE_EQ(DateOf("12/29/1899 6:00 AM").days, -1.25);
    EXPECT_EQ(ToText(Value(jet::DateTime{-1.25})), "12/29/1899 6:00:00 AM");
    EXPECT_EQ(EvaluateText("#12/29/1899 18:00# + 0.5", JetVersion::Jet4), "#6:00:00 AM#");
}

TEST(Conversion, NumbersPrintWithFifteenDigits) {
    const std::pair<double, const char*> cases[] = {
        {0.1, "0.1"},     {1.0 / 3, "0.333333333333333"},
        {1e15, "1E+15"},  {123456789012345, "123456789012345"},
        {-2.5, "-2.5"},   {1e-5, "0.00001"},
        {1e-7, "1E-07"},  {1.5e300, "1.5E+300"},
        {100, "100"},     {0, "0"},
        {2.675, "2.675"}, {12345678.9, "12345678.9"},
    };
    for (const auto& [number, text] : cases) EXPECT_EQ(NumberToText(number), text);
    EXPECT_EQ(NumberToText(0.1F), "0.1");
    EXPECT_EQ(NumberToText(16777216.0F), "1.677722E+07");
}

TEST(Conversion, DecimalsKeepTheirDigits) {
    jet::Numeric number;
    number.magnitude = {0, 0, 0, 12345};
    number.scale = 2;
    number.negative = true;
    EXPECT_EQ(ToText(number), "-123.45");
    jet::Numeric same;
    same.magnitude = {0, 0, 0, 1234500};
    same.scale = 4;
    same.negative = true;
    EXPECT_EQ(Compare(JetVersion::Jet4, number, same), 0);
    same.magnitude[3] = 1234501;
    EXPECT_GT(Compare(JetVersion::Jet4, number, same), 0);
}

TEST(SortKey, BytesAreOrderedAsTheValuesAre) {
    const std::vector<Value> ascending{jet::Null{}, -1e300,          std::int32_t{-5}, -0.5, std::int32_t{0},
                                       0.25,        std::int16_t{1}, std::uint8_t{2},  1e300};
    for (std::size_t i = 0; i + 1 < ascending.size(); ++i) {
        for (const bool descending : {false, true}) {
            std::string left;
            std::string right;
            AppendSortKey(JetVersion::Jet4, ascending[i], descending, left);
            AppendSortKey(JetVersion::Jet4, ascending[i + 1], descending, right);
            EXPECT_EQ(left < right, !descending) << i;
        }
    }
    std::string zero;
    std::string negativeZero;
    AppendSortKey(JetVersion::Jet4, 0.0, false, zero);
    AppendSortKey(JetVersion::Jet4, -0.0, false, negativeZero);
    EXPECT_EQ(zero, negativeZero);
}

TEST(SortKey, TextsThatAreEqualToTheEngineHaveOneKey) {
    const auto key = [](const char* text) {
        std::string bytes;
        AppendSortKey(JetVersion::Jet4, Value(std::string(text)), false, bytes);
        return bytes;
    };
    EXPECT_EQ(key("Zelda"), key("ZELDA "));
    EXPECT_NE(key("coop"), key("co-op"));
    EXPECT_LT(key("a"), key("ab"));
    EXPECT_LT(key(""), key("a"));
}

}  // namespace
}  // namespace marrowkit::expression
