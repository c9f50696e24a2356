#include <string>

#include <gtest/gtest.h>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/expression/Expression.h"

namespace marrowkit::expression {
namespace {

using jet::ColumnType;
using jet::JetVersion;
using jet::Value;

NameResolver TwoColumns() {
    return [](std::string_view, std::string_view name) -> std::optional<BoundName> {
        if (name == "Price") return BoundName{0, std::nullopt};
        if (name == "Limit") return BoundName{1, std::nullopt};
        return std::nullopt;
    };
}

struct RuleCase {
    const char* rule;
    Value value;
    bool accepted;
};

TEST(ValidationRule, TheColumnIsImpliedOnTheLeft) {
    const RuleCase cases[] = {
        {">=0", std::int32_t{0}, true},
        {">=0", std::int32_t{-1}, false},
        {">=0 And <10", std::int32_t{9}, true},
        {">=0 And <10", std::int32_t{10}, false},
        {"<0 Or >100", std::int32_t{50}, false},
        {"<>8", std::int32_t{8}, false},
        {"Between 0 And 1", 0.5, true},
        {"Between 0 And 1", 1.5, false},
        {"Not Between 0 And 1", 1.5, true},
        {"Like \"a*\"", std::string("ABC"), true},
        {"Like \"a*\"", std::string("xyz"), false},
        {"Not Like \"a*\"", std::string("xyz"), true},
        {"In (1,2,3)", std::int32_t{2}, true},
        {"In (1,2,3)", std::int32_t{4}, false},
        {"Is Null Or >5", jet::Null{}, true},
        {"Is Null Or >5", std::int32_t{6}, true},
        {"Is Null Or >5", std::int32_t{5}, false},
        {"Is Not Null", jet::Null{}, false},
        {"\"M\" Or \"F\"", std::string("f"), true},
        {"\"M\" Or \"F\"", std::string("x"), false},
        {"Not 5", std::int32_t{6}, true},
        {"5", std::int32_t{5}, true},
        {"[Price]>0", std::int32_t{1}, true},
        {"Len([Price])=3", std::string("abc"), true},
        {"(>=0 And <10) Or =99", std::int32_t{99}, true},
        {">[Limit]", std::int32_t{101}, true},
        {">[Limit]", std::int32_t{100}, false},
        {"<Date()+1", std::int32_t{1}, true},
    };
    for (const RuleCase& c : cases) {
        const ValidationRule rule(c.rule, TwoColumns(), BoundName{0, std::nullopt}, JetVersion::Jet4);
        EXPECT_EQ(rule.Accepts({c.value, std::int32_t{100}}), c.accepted) << c.rule;
    }
}

TEST(ValidationRule, NullPassesOnlyARuleThatSaysSo) {
    const ValidationRule rule(">=0", TwoColumns(), BoundName{0, ColumnType::Long}, JetVersion::Jet4);
    EXPECT_FALSE(rule.Accepts({jet::Null{}}));
}

TEST(ValidationRule, TablesHaveRulesOverTheirColumns) {
    const ValidationRule rule("[Price]<=[Limit]", TwoColumns(), std::nullopt, JetVersion::Jet3);
    EXPECT_TRUE(rule.Accepts({std::int32_t{1}, std::int32_t{1}}));
    EXPECT_FALSE(rule.Accepts({std::int32_t{2}, std::int32_t{1}}));
}

TEST(ValidationRule, BadRulesAreRefused) {
    for (const char* text : {">=", ">=0 And", "Like", "Between 1", "[Nosuch]>1", ">=0)", "Foo()"}) {
        EXPECT_THROW(ValidationRule(text, TwoColumns(), BoundName{0, std::nullopt}, JetVersion::Jet4),
                     RuntimeError)
            << text;
    }
    EXPECT_THROW(ValidationRule(">1", TwoColumns(), std::nullopt, JetVersion::Jet4), RuntimeError);
}

TEST(Default, ConstantsMayStandBehindAnEqualSign) {
    const auto value = [](const char* text) { return CompileDefault(text, JetVersion::Jet4).Evaluate({}); };
    EXPECT_EQ(value("0"), Value(std::int32_t{0}));
    EXPECT_EQ(value("=0"), Value(std::int32_t{0}));
    EXPECT_EQ(value(" = -1"), Value(std::int32_t{-1}));
    EXPECT_EQ(value("\"text\""), Value(std::string("text")));
    EXPECT_EQ(value("No"), Value(false));
    EXPECT_EQ(value("Yes"), Value(true));
    EXPECT_EQ(value("Null"), Value());
    EXPECT_TRUE(std::holds_alternative<jet::DateTime>(value("=Now()")));
    EXPECT_THROW(value("[Price]"), RuntimeError);
}

}  // namespace
}  // namespace marrowkit::expression
