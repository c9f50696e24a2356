#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/DatabaseArgument.h"
#include "cli/OpenForReading.h"
#include "maintenance/LookupTables.h"
#include "platform/dao/Dao.h"
#include "platform/files/FileTools.h"

namespace marrowkit::cli {

namespace {

struct RecordOptions {
    std::string database;
    std::string table;
    std::int32_t id = 0;
    std::int32_t replacementId = 0;
};

/// The five tables, as --help and wrong usage name them.
CLI::Validator IsLookupTable() {
    std::string names;
    for (const LookupTable& table : kLookupTables) {
        names.append(names.empty() ? "" : ", ").append(table.table);
    }
    return CLI::Validator(
        [names](const std::string& text) {
            return FindLookupTable(text) != nullptr ? std::string()
                                                    : "There is no such table; it is one of " + names;
        },
        "TABLE");
}

const LookupRecord* FindRecord(const std::vector<LookupRecord>& records, std::int32_t id) {
    const auto found = std::find_if(records.begin(), records.end(),
                                    [id](const LookupRecord& record) { return record.id == id; });
    return found == records.end() ? nullptr : &*found;
}

int FailForMissing(Session& session, const std::string& path) {
    return session.Fail("Could not find file: " + path);
}

int RunRecords(Session& session, const RecordOptions& options) {
    const std::string path = DatabaseOf(options.database);
    if (!FileTools().FileExists(path, 0, "")) return FailForMissing(session, path);
    dao::Database database = dao::DBEngine().OpenDatabase(path);
    const auto rows = session.Rows({"ID", "Name"});
    for (const LookupRecord& record :
         ListLookupRecords(database, FindLookupTable(options.table)->deletionList)) {
        rows->Write({record.id, record.name});
    }
    rows->Finish();
    return kDone;
}

int RunDeleteRecord(Session& session, const RecordOptions& options) {
    std::string path;
    const int understood = FailOnError(session, [&] {
        path = DatabaseOf(options.database);
        return kDone;
    });
    if (understood != kDone) return understood;
    if (!FileTools().FileExists(path, 0, "")) return FailForMissing(session, path);
    const LookupTable& table = *FindLookupTable(options.table);
    dao::Database database = dao::DBEngine().OpenDatabase(path);
    const auto records = ListLookupRecords(database, table.deletionList);
    const LookupRecord* record = FindRecord(records, options.id);
    if (record == nullptr) {
        return session.Fail("There is no record " + std::to_string(options.id) + " in " +
                            std::string(table.table) + " that may be deleted.");
    }
    const auto replacements =
        ListLookupRecords(database, ReplacementStatement(table, options.id), dao::RecordsetType::Snapshot);
    const LookupRecord* replacement = FindRecord(replacements, options.replacementId);
    // A key that is not positive means "none chosen" to the window, so no record of such a key can be.
    if (replacement == nullptr || options.replacementId <= 0) {
        return session.Fail("There is no other record " + std::to_string(options.replacementId) + " in " +
                            std::string(table.table) + " that could take its place.");
    }
    if (!ConfirmLookupDeletion(session.Ui(), table, *record, *replacement)) return kFailed;
    DeleteLookupRecord(database, table, record->id, replacement->id);
    ReportLookupDeletion(session.Ui());
    return kDone;
}

/// DB and TABLE, which both commands begin with.
void AddTableOptions(CLI::App& command, RecordOptions& options) {
    command.add_option("DB", options.database, kDatabaseHelp)->required();
    command.add_option("TABLE", options.table, "Publishers, Musicians, Programmers, Languages or Crackers")
        ->required()
        ->check(IsLookupTable());
}

}  // namespace

void AddRecordsCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<RecordOptions>();
    CLI::App* command = app.add_subcommand("records", "Records of a lookup table that may be deleted");
    AddTableOptions(*command, *options);
    command->footer(
        "The records that the frontend ships and falls back to are not among them.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli records Arcade Publishers");
    command->callback([&session, options] {
        session.run = [options](Session& current) {
            return FailOnError(current, [&] { return RunRecords(current, *options); });
        };
    });
}

void AddDeleteRecordCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<RecordOptions>();
    CLI::App* command =
        app.add_subcommand("delete-record", "Deletes a record of a lookup table and moves its games");
    AddTableOptions(*command, *options);
    command->add_option("ID", options->id, "The record, as 'records' lists it")->required();
    command
        ->add_option("--replace-with", options->replacementId, "The record that its games move to (required)")
        ->required()
        ->option_text("ID");
    command->footer(
        "Any other record of the table can take its place, also one that may not be deleted itself.\n"
        "Asks first; --yes answers.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli delete-record Arcade Publishers 12 --replace-with 37");
    command->callback([&session, options] {
        session.run =
            Session::Changing([options](Session& current) { return RunDeleteRecord(current, *options); });
    });
}

}  // namespace marrowkit::cli
