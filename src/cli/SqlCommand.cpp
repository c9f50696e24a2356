#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/OpenForReading.h"
#include "platform/dao/Dao.h"
#include "platform/dao/sql/Query.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/process/StopSignals.h"

namespace marrowkit::cli {

namespace {

struct SqlOptions {
    std::string file;
    std::string statement;
};

int PrintRecords(Session& session, const std::string& file, const dao::sql::Select& select) {
    const auto database = OpenForReading(file);
    const auto result = dao::sql::OpenSelect(*database, select);
    std::vector<std::string> names;
    for (const dao::sql::OutputColumn& column : result->Columns()) names.push_back(column.name);
    jet::Row row(names.size());
    const auto rows = session.Rows(names);
    for (std::size_t record = 0; result->Reach(record); ++record) {
        for (std::size_t i = 0; i < row.size(); ++i) row[i] = result->Read(record, i);
        rows->Write(row);
    }
    rows->Finish();
    return kDone;
}

int RunAction(Session& session, const SqlOptions& options) {
    const StopSignals signals;
    dao::Database database = dao::DBEngine().OpenDatabase(ExistingDatabaseOf(options.file));
    database.Execute(options.statement);
    const auto rows = session.Rows({"RecordsAffected"});
    rows->Write({database.RecordsAffected()});
    rows->Finish();
    database.Close();
    return kDone;
}

int RunSql(Session& session, const SqlOptions& options) {
    const dao::sql::Statement statement = dao::sql::ParseStatement(options.statement);
    const auto* select = std::get_if<dao::sql::Select>(&statement);
    if (select && select->into.empty()) return PrintRecords(session, options.file, *select);
    return RunAction(session, options);
}

}  // namespace

void AddSqlCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<SqlOptions>();
    CLI::App* command = app.add_subcommand("sql", "Runs one SQL statement");
    command->add_option("FILE", options->file, kDatabaseFileHelp)->required();
    command->add_option("STATEMENT", options->statement, "The statement, in Jet's SQL")->required();
    command->footer(
        "A SELECT prints its rows and leaves the file untouched. Any other statement (INSERT,\n"
        "UPDATE, DELETE, SELECT INTO, CREATE, ALTER, DROP) is done as a whole or not at all,\n"
        "and prints how many records it affected. A name that the table does not have counts\n"
        "as a parameter: 'Too few parameters' mostly tells of a misspelt column.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli sql Arcade.mdb \"SELECT Name FROM Games WHERE Name LIKE 'z*'\"\n"
        "  marrowkit-cli sql --json Arcade.mdb \"SELECT COUNT(*) AS n FROM Games\"\n"
        "  marrowkit-cli sql Arcade.mdb \"UPDATE Games SET Fav = True WHERE Rating > 8\"");
    command->callback([&session, options] {
        session.run = [options](Session& current) {
            return FailOnError(current, [&] { return RunSql(current, *options); });
        };
    });
}

}  // namespace marrowkit::cli
