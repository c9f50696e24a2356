#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "creation/TemplateDatabase.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::cli {

namespace {

struct CreateTemplateOptions {
    std::string file;
    bool jet3 = false;
    bool jet4 = false;
    std::string version;
};

/// "2.5": one digit each, as Config holds them. Empty when it is one, else what is wrong.
std::string CheckVersion(const std::string& text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.size() == 3 && isDigit(text[0]) && text[0] != '0' && text[1] == '.' && isDigit(text[2]))
        return "";
    return "\"" + text + "\" is no version like 2.5";
}

int RunCreateTemplate(Session& session, const CreateTemplateOptions& options) {
    const SchemaVersion version{options.version[0] - '0', options.version[2] - '0'};
    const jet::JetVersion format = options.jet3 ? jet::JetVersion::Jet3 : jet::JetVersion::Jet4;
    try {
        CreateTemplateDatabase(options.file, format, version);
    } catch (const RuntimeError& error) {
        return session.Fail(error.description);
    }
    const auto rows = session.Rows({"File", "Format", "Version"});
    rows->Write({WindowsPath(options.file), options.jet3 ? "Jet 3" : "Jet 4", options.version});
    rows->Finish();
    return kDone;
}

}  // namespace

void AddCreateTemplateCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<CreateTemplateOptions>();
    options->version =
        std::to_string(kNewestSchemaVersion.major) + "." + std::to_string(kNewestSchemaVersion.minor);
    CLI::App* command = app.add_subcommand("create-template", "Makes a blank database of the frontend");
    command->add_option("FILE", options->file, "The file to make; it must not exist")->required();
    CLI::Option* jet3 = command->add_flag("--jet3", options->jet3, "As Access 97 writes it");
    command->add_flag("--jet4", options->jet4, "As Access 2000 to 2003 write it (the default)")
        ->excludes(jet3);
    command->add_option("--schema-version", options->version, "Version of the frontend's schema")
        ->option_text("X.Y")
        ->capture_default_str()
        ->check(CheckVersion);
    command->footer(
        "The database has all tables, indexes and relationships of the frontend and the records that every\n"
        "database starts with, but no games. In the library's folder, as Empty.mdb, it is what new "
        "databases\n"
        "are copied from.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli create-template Empty.mdb\n"
        "  marrowkit-cli create-template --jet3 --schema-version 2.1 Old.mdb");
    command->callback([&session, options] {
        session.run =
            Session::Changing([options](Session& current) { return RunCreateTemplate(current, *options); });
    });
}

}  // namespace marrowkit::cli
