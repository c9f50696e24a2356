#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Calendar.h"
#include "platform/jet/expression/Conversion.h"
#include "platform/jet/expression/Expression.h"

namespace marrowkit::expression {
namespace {

jet::Value Evaluate(const std::string& text) {
    return CompileExpression(text, Binding{}).Evaluate({});
}

std::string Show(const jet::Value& value) {
    if (jet::IsNull(value)) return "Null";
    if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "True" : "False";
    if (const auto* text = std::get_if<std::string>(&value)) return "'" + *text + "'";
    if (std::holds_alternative<jet::DateTime>(value)) return "#" + ToText(value) + "#";
    return ToText(value);
}

struct FunctionCase {
    const char* call;
    const char* expected;
};

class FunctionResult : public testing::TestWithParam<FunctionCase> {};

TEST_P(FunctionResult, IsAsDocumented) {
    EXPECT_EQ(Show(Evaluate(GetParam().call)), GetParam().expected) << GetParam().call;
}

constexpr FunctionCase kText[] = {
    {"Len('abc')", "3"},
    {"Len('é€')", "2"},
    {"Len(Null)", "Null"},
    {"Len(123)", "3"},
    {"Left('abc', 2)", "'ab'"},
    {"Left('abc', 0)", "''"},
    {"Left('abc', 99)", "'abc'"},
    {"LEFT$('abc', 1)", "'a'"},
    {"Right('abc', 2)", "'bc'"},
    {"Right('äöü', 2)", "'öü'"},
    {"Mid('abcdef', 2, 3)", "'bcd'"},
    {"Mid('abcdef', 3)", "'cdef'"},
    {"Mid('abc', 9)", "''"},
    {"InStr('abcabc', 'C')", "3"},
    {"InStr(4, 'abcabc', 'c')", "6"},
    {"InStr('abc', 'x')", "0"},
    {"InStr(1, 'abc', 'C', 0)", "0"},
    {"InStr('', 'a')", "0"},
    {"InStr('abc', '')", "1"},
    {"InStrRev('abcabc', 'b')", "5"},
    {"UCase('äb')", "'ÄB'"},
    {"LCase('ÄB')", "'äb'"},
    {"Trim('  a b ')", "'a b'"},
    {"LTrim('  a ')", "'a '"},
    {"RTrim('  a ')", "'  a'"},
    {"Chr(65)", "'A'"},
    {"Asc('A')", "65"},
    {"Space(3)", "'   '"},
    {"String(3, 'ab')", "'aaa'"},
    {"String(2, 65)", "'AA'"},
    {"Replace('banana', 'an', 'x')", "'bxxa'"},
    {"Replace('banana', 'AN', 'x', 1, 1)", "'bxana'"},
    {"Replace('banana', 'AN', 'x', 1, -1, 0)", "'banana'"},
    {"Replace('abc', 'b', '')", "'ac'"},
    {"StrReverse('abc')", "'cba'"},
    {"StrComp('a', 'B')", "-1"},
};
INSTANTIATE_TEST_SUITE_P(Text, FunctionResult, testing::ValuesIn(kText));

constexpr FunctionCase kNumbers[] = {
    {"Abs(-3)", "3"},
    {"Abs(-2.5)", "2.5"},
    {"Int(-2.5)", "-3"},
    {"Fix(-2.5)", "-2"},
    {"Int(2.5)", "2"},
    {"Sgn(-4)", "-1"},
    {"Sgn(0)", "0"},
    {"Sqr(16)", "4"},
    {"Round(2.5)", "2"},
    {"Round(3.5)", "4"},
    {"Round(2.675, 2)", "2.68"},
    {"Round(-2.5)", "-2"},
    {"Round(1.005, 2)", "1"},
    {"Exp(0)", "1"},
    {"Log(1)", "0"},
    {"Val('12abc')", "12"},
    {"Val('1 2 3')", "123"},
    {"Val('abc')", "0"},
    {"Val('-1.5e2x')", "-150"},
    {"Val('&HFF')", "255"},
    {"Str(5)", "' 5'"},
    {"Str(-5)", "'-5'"},
    {"Str(0.5)", "' .5'"},
    {"CStr(1.5)", "'1.5'"},
    {"CStr(True)", "'True'"},
    {"CInt(2.5)", "2"},
    {"CInt('3.5')", "4"},
    {"CLng('-7')", "-7"},
    {"CLng('&H10')", "16"},
    {"CDbl('1,234.5')", "1234.5"},
    {"CDbl(' 5 ')", "5"},
    {"CSng(0.1)", "0.1"},
    {"CCur(1.23456)", "1.2346"},
    {"CBool(5)", "True"},
    {"CBool('False')", "False"},
    {"CBool('0')", "False"},
    {"CByte(255)", "255"},
    {"Hex(255)", "'FF'"},
    {"Oct(8)", "'10'"},
    {"IsNumeric('1e5')", "True"},
    {"IsNumeric('x')", "False"},
    {"IsNumeric(Null)", "False"},
    {"IsNull(Null)", "True"},
    {"IsNull('')", "False"},
    {"Nz(Null)", "''"},
    {"Nz(Null, 5)", "5"},
    {"Nz(3, 5)", "3"},
    {"IIf(1 > 2, 'a', 'b')", "'b'"},
    {"IIf(Null, 'a', 'b')", "'b'"},
    {"Choose(2, 'a', 'b')", "'b'"},
    {"Choose(5, 'a', 'b')", "Null"},
    {"Switch(False, 1, True, 2)", "2"},
};
INSTANTIATE_TEST_SUITE_P(Numbers, FunctionResult, testing::ValuesIn(kNumbers));

constexpr FunctionCase kDates[] = {
    {"Year(#1/15/1999#)", "1999"},
    {"Month(#1/15/1999#)", "1"},
    {"Day(#1/15/1999#)", "15"},
    {"Hour(#13:30:05#)", "13"},
    {"Minute(#13:30:05#)", "30"},
    {"Second(#13:30:05#)", "5"},
    {"Weekday(#1/15/1999#)", "6"},
    {"Weekday(#1/15/1999#, 2)", "5"},
    {"DateSerial(1999, 1, 15)", "#1/15/1999#"},
    {"DateSerial(1999, 13, 1)", "#1/1/2000#"},
    {"DateSerial(1999, 3, 0)", "#2/28/1999#"},
    {"DateSerial(99, 1, 1)", "#1/1/1999#"},
    {"TimeSerial(13, 30, 0)", "#1:30:00 PM#"},
    {"DateAdd('m', 1, #1/31/1999#)", "#2/28/1999#"},
    {"DateAdd('yyyy', 1, #2/29/2000#)", "#2/28/2001#"},
    {"DateAdd('q', -1, #5/31/2000#)", "#2/29/2000#"},
    {"DateAdd('d', 1, #12/31/1999#)", "#1/1/2000#"},
    {"DateAdd('ww', 2, #1/1/2000#)", "#1/15/2000#"},
    {"DateAdd('h', 25, #1/1/2000#)", "#1/2/2000 1:00:00 AM#"},
    {"DateAdd('n', 90, #1/1/2000#)", "#1/1/2000 1:30:00 AM#"},
    {"DateAdd('s', -1, #1/1/2000#)", "#12/31/1999 11:59:59 PM#"},
    {"DateDiff('d', #1/1/2000#, #3/1/2000#)", "60"},
    {"DateDiff('m', #1/31/2000#, #2/1/2000#)", "1"},
    {"DateDiff('yyyy', #12/31/1999#, #1/1/2000#)", "1"},
    {"DateDiff('h', #10:59#, #11:00#)", "1"},
    {"DateDiff('s', #1/1/2000#, #1/1/2000 0:01:00#)", "60"},
    {"DateDiff('d', #3/1/2000#, #1/1/2000#)", "-60"},
    {"DateDiff('q', #12/31/1999#, #4/1/2000#)", "2"},
    {"DateDiff('ww', #1/1/2000#, #1/2/2000#)", "1"},  // Saturday, Sunday
    {"DateDiff('ww', #1/1/2000#, #1/2/2000#, 2)", "0"},
    {"DateDiff('w', #1/1/2000#, #1/14/2000#)", "1"},
    {"DateDiff('n', #10:59:59#, #11:00#)", "1"},
    {"DatePart('yyyy', #5/6/2004 7:08:09#)", "2004"},
    {"DatePart('m', #5/6/2004 7:08:09#)", "5"},
    {"DatePart('d', #5/6/2004 7:08:09#)", "6"},
    {"DatePart('w', #5/6/2004#)", "5"},  // a Thursday, counted from Sunday
    {"DatePart('w', #5/6/2004#, 2)", "4"},
    {"DatePart('h', #5/6/2004 7:08:09#)", "7"},
    {"DatePart('n', #5/6/2004 7:08:09#)", "8"},
    {"DatePart('s', #5/6/2004 7:08:09#)", "9"},
    {"-#1/1/1900#", "#12/28/1899#"},
    {"DatePart('y', #2/1/2000#)", "32"},
    {"DatePart('q', #4/1/2000#)", "2"},
    {"DatePart('ww', #1/2/2000#)", "2"},
    {"MonthName(3)", "'March'"},
    {"MonthName(3, True)", "'Mar'"},
    {"CDate('15 Jan 1999')", "#1/15/1999#"},
    {"DateValue('1/15/1999 13:00')", "#1/15/1999#"},
    {"TimeValue('1/15/1999 13:00')", "#1:00:00 PM#"},
    {"IsDate('1/1/1999')", "True"},
    {"IsDate('2/30/1999')", "False"},
};
INSTANTIATE_TEST_SUITE_P(Dates, FunctionResult, testing::ValuesIn(kDates));

constexpr FunctionCase kFormats[] = {
    {"Format(1234.567, '0')", "'1235'"},
    {"Format(0.5, '0')", "'1'"},
    {"Format(2.5, '0')", "'3'"},
    {"Format(1234.567, '#,##0.00')", "'1,234.57'"},
    {"Format(5, '000')", "'005'"},
    {"Format(0.256, '0.0%')", "'25.6%'"},
    {"Format(-3, '0;(0)')", "'(3)'"},
    {"Format(0, '0;(0);zero')", "'zero'"},
    {"Format(1.5, 'Fixed')", "'1.50'"},
    {"Format(True, 'Yes/No')", "'Yes'"},
    {"Format('ab', '>')", "'AB'"},
    {"Format(#1/15/1999#, 'yyyy-mm-dd')", "'1999-01-15'"},
    {"Format(#1/15/1999 13:05:09#, 'hh:mm:ss')", "'13:05:09'"},
    {"Format(#1/15/1999 13:05:09#, 'h:nn AM/PM')", "'1:05 PM'"},
    {"Format(#1/15/1999#, 'dddd d mmmm yy')", "'Friday 15 January 99'"},
    {"Format(#1/15/1999#, 'Short Date')", "'1/15/1999'"},
    {"Format(5)", "'5'"},
    {"Format(Null, '0')", "Null"},
    {"Format(12345.678, '0.00E+00')", "'1.23E+04'"},
    {"Format(5, '0\\x')", "'5x'"},
    {"Format(5, '0\\')", "'5'"},
    {"Format(5, '\"no. \"0\"; \"')", "'no. 5; '"},
    {"Format(-5, '0;\"minus \"0')", "'minus 5'"},
    {"Format(0.5, '\"50%\"')", "'50%'"},
    {"Format(#1/15/1999#, '\"year \"yyyy\\y')", "'year 1999y'"},
    {"Format(#1/15/1999#, 'yyyy\"')", "'1999'"},
    {"Format(#1/15/1999#, 'yyyy\\')", "'1999'"},
    {"Format(36175, 'yyyy')", "'1999'"},
    {"Format(1, 'On/Off')", "'On'"},
    {"Format(0, 'True/False')", "'False'"},
    {"Format('aB', '<')", "'ab'"},
    {"Format('ab', 'x')", "'ab'"},
};
INSTANTIATE_TEST_SUITE_P(Formats, FunctionResult, testing::ValuesIn(kFormats));

constexpr FunctionCase kAngles[] = {
    {"Sin(0)", "0"},
    {"Cos(0)", "1"},
    {"Tan(0)", "0"},
    {"Round(Atn(1) * 4, 10)", "3.1415926536"},
    {"Round(Sin(1) ^ 2 + Cos(1) ^ 2, 10)", "1"},
    {"Round(Tan(1) - Sin(1) / Cos(1), 10)", "0"},
    {"Rnd() >= 0 And Rnd() < 1", "True"},
    {"Sin(Null)", "Null"},
    {"IsNumeric(5)", "True"},
    {"IsNumeric('x')", "False"},
    {"IsDate(#1/1/2000#)", "True"},
    {"IsDate(5)", "False"},
};
INSTANTIATE_TEST_SUITE_P(Angles, FunctionResult, testing::ValuesIn(kAngles));

struct FailingCall {
    const char* call;
    int number;
};

TEST(Functions, RefuseWhatTheyCannotDo) {
    constexpr FailingCall kCalls[] = {
        {"Left('a', -1)", 5},
        {"Mid('a', 0)", 5},
        {"Chr(-1)", 5},
        {"Asc('')", 5},
        {"Sqr(-1)", 5},
        {"Log(0)", 5},
        {"CInt('x')", 3464},
        {"CInt(40000)", 6},
        {"CByte(256)", 6},
        {"CLng(3000000000)", 6},
        {"CDate('x')", 3464},
        {"DateAdd('x', 1, 0)", 5},
        {"DateSerial(20000,1,1)", 5},
        {"Space(-1)", 5},
        {"Space(100000000)", 6},
        {"Round(1, -1)", 5},
        {"MonthName(13)", 5},
        {"Exp(1000)", 6},
        {"CBool('maybe')", 3464},
        {"Nosuch(1)", 3085},
    };
    for (const FailingCall& failing : kCalls) {
        try {
            const std::string result = Show(Evaluate(failing.call));
            ADD_FAILURE() << failing.call << " gave " << result;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, failing.number) << failing.call;
        }
    }
}

TEST(Functions, TheClockMovesBetweenEvaluations) {
    const Expression now = CompileExpression("Now()", Binding{});
    const auto first = std::get<jet::DateTime>(now.Evaluate({}));
    EXPECT_NEAR(first.days, CurrentMoment().days, 2.0 / 86400);
    EXPECT_EQ(Show(Evaluate("Date() + Time() <= Now()")), "True");
    const auto today = std::get<jet::DateTime>(Evaluate("Date()"));
    EXPECT_EQ(today.days, std::trunc(today.days));
}

TEST(Functions, RandomKeysDiffer) {
    const Expression id = CompileDefault("GenUniqueID()", jet::JetVersion::Jet4);
    EXPECT_NE(id.Evaluate({}), id.Evaluate({}));
    const Expression guid = CompileDefault("GenGUID()", jet::JetVersion::Jet4);
    EXPECT_NE(guid.Evaluate({}), guid.Evaluate({}));
}

TEST(Functions, EveryDayOfTheCalendarRoundTrips) {
    for (std::int64_t day = DayNumber(100, 1, 1); day <= DayNumber(9999, 12, 31); day += 13) {
        const CalendarTime time = TakeApart(PutTogether(day, 0.5));
        ASSERT_EQ(DayNumber(time.year, time.month, time.day), day);
        ASSERT_EQ(time.hour, 12);
        ASSERT_LE(time.day, DaysInMonth(time.year, time.month));
    }
}

}  // namespace
}  // namespace marrowkit::expression
