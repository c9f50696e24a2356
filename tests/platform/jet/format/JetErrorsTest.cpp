#include <gtest/gtest.h>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/ShownPaths.h"

namespace marrowkit::jet {
namespace {

struct TextCase {
    JetError number;
    std::vector<std::string> names;
    const char* text;
};

const TextCase kTexts[] = {
    {JetError::NoCurrentRecord, {}, "No current record."},
    {JetError::FileNotFound, {"C:\\a.mdb"}, "Could not find file 'C:\\a.mdb'."},
    {JetError::IndexNotFound, {}, "Index not found."},
    {JetError::IndexNotFound, {"Foo"}, "'Foo' isn't an index in this table."},
    {JetError::TooFewParameters, {"2"}, "Too few parameters. Expected 2."},
    {JetError::ExpressionSyntax,
     {"Syntax error (missing operator)", "a b"},
     "Syntax error (missing operator) in query expression 'a b'."},
    {JetError::TableRule, {"Price must not be negative"}, "Price must not be negative"},
    {JetError::FieldRule,
     {">=0", "Price"},
     "One or more values are prohibited by the validation rule '>=0' set for 'Price'. Enter a value that the "
     "expression for this field can accept."},
    {JetError::OpenedBy,
     {"Admin", "PC"},
     "You attempted to open a database that is already opened by user 'Admin' on machine 'PC'. Try again "
     "when "
     "the database is available."},
    {JetError::UnrecognizedFormat, {"a.mdb"}, "Unrecognized database format 'a.mdb'."},
    // A name that looks like a place stays a name.
    {JetError::FieldNotFound, {"<>{}"}, "Could not find field '<>{}'."},
};

TEST(JetErrorText, FillsInNames) {
    for (const TextCase& c : kTexts) EXPECT_EQ(JetErrorText(c.number, c.names), c.text);
}

TEST(JetErrorText, EveryNumberHasAText) {
    for (int number = 3001; number <= 3704; ++number) {
        const std::string text = JetErrorText(static_cast<JetError>(number), {"a", "b"});
        switch (number) {
            case 3001:
            case 3005:
            case 3006:
            case 3008:
            case 3009:
            case 3010:
            case 3011:
            case 3012:
            case 3015:
            case 3018:
            case 3019:
            case 3020:
            case 3021:
            case 3022:
            case 3024:
            case 3026:
            case 3027:
            case 3031:
            case 3036:
            case 3040:
            case 3041:
            case 3043:
            case 3044:
            case 3045:
            case 3046:
            case 3047:
            case 3049:
            case 3050:
            case 3051:
            case 3058:
            case 3061:
            case 3070:
            case 3071:
            case 3073:
            case 3075:
            case 3077:
            case 3078:
            case 3079:
            case 3085:
            case 3122:
            case 3127:
            case 3129:
            case 3131:
            case 3134:
            case 3141:
            case 3144:
            case 3163:
            case 3164:
            case 3167:
            case 3190:
            case 3191:
            case 3197:
            case 3200:
            case 3201:
            case 3204:
            case 3211:
            case 3219:
            case 3251:
            case 3259:
            case 3264:
            case 3265:
            case 3281:
            case 3283:
            case 3284:
            case 3285:
            case 3290:
            case 3291:
            case 3296:
            case 3303:
            case 3314:
            case 3315:
            case 3316:
            case 3317:
            case 3343:
            case 3349:
            case 3356:
            case 3367:
            case 3368:
            case 3371:
            case 3372:
            case 3375:
            case 3376:
            case 3379:
            case 3380:
            case 3381:
            case 3396:
            case 3397:
            case 3404:
            case 3409:
            case 3411:
            case 3420:
            case 3421:
            case 3428:
            case 3464:
            case 3615:
            case 3704:
                EXPECT_FALSE(text.empty()) << number;
                break;
            default:
                EXPECT_TRUE(text.empty()) << number;
        }
    }
}

TEST(JetErrors, AreThrownAsRuntimeErrors) {
    try {
        RaiseJet(JetError::TableExists, {"Games"});
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3010);
        EXPECT_EQ(error.description, "Table 'Games' already exists.");
    }
    try {
        RaiseCorrupt("a.mdb", "page 7: not a data page");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, 3049);
        EXPECT_EQ(
            error.description,
            "Cannot open database 'a.mdb'. It may not be a database that your application recognizes, or "
            "the file may be corrupt. (page 7: not a data page)");
    }
}

TEST(JetErrors, CallFilesAsTheirUserDoes) {
    ShowPathAs("/srv/wine/drive_c/lib/Arcade/Arcade.mdb", "C:\\lib\\arcade\\ARCADE.MDB");
    const auto corrupt = [](const std::string& path) { return JetErrorText(JetError::Corrupt, {path}); };
    EXPECT_NE(corrupt("/srv/wine/drive_c/lib/Arcade/Arcade.mdb").find("'C:\\lib\\arcade\\ARCADE.MDB'"),
              std::string::npos);
    EXPECT_EQ(ShownPath("/srv/wine/drive_c/lib/Arcade/Arcade.ldb"), "C:\\lib\\arcade\\Arcade.ldb");
    EXPECT_EQ(ShownPath("/srv/wine/drive_c/lib/Arcade/Sub/a.mdb"), "/srv/wine/drive_c/lib/Arcade/Sub/a.mdb");
    EXPECT_EQ(ShownPath("/srv/wine/drive_c/lib/Arcade"), "/srv/wine/drive_c/lib/Arcade");
    EXPECT_EQ(ShownPath("Games"), "Games");
    EXPECT_EQ(ShownPath(""), "");
    ShowPathAs("a.mdb", "a.mdb");
    EXPECT_EQ(JetErrorText(JetError::ObjectNotFound, {"Games"}).find("a.mdb"), std::string::npos);
}

}  // namespace
}  // namespace marrowkit::jet
