#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "import/TosecName.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::cli {

namespace {

int RunTosec(Session& session, const std::vector<std::string>& names) {
    const auto rows = session.Rows({"Name", "Title", "YearId", "Publisher", "Language", "Cracker", "Trainers",
                                    "PalNtsc", "PublicDomain", "VersionComment", "SaveFix"});
    TosecParser parser;
    int result = kDone;
    for (const std::string& name : names) {
        DatafileEntry entry;
        entry.Name = name;
        entry.FileName = name;
        try {
            parser.Parse(entry);
        } catch (const RuntimeError& error) {
            result = session.Fail(error.description + ": " + name);
            continue;
        }
        rows->Write({name, entry.Name, entry.YearId, entry.Publisher.Text(), entry.Language.Text(),
                     entry.Cracker.Text(), entry.Trainers, entry.PalNtsc, entry.PublicDomain.Text(),
                     entry.VersionComment.Text(), entry.SaveFix});
    }
    rows->Finish();
    return result;
}

}  // namespace

void AddTosecCommand(CLI::App& app, Session& session) {
    const auto names = std::make_shared<std::vector<std::string>>();
    CLI::App* command = app.add_subcommand("tosec", "What the import reads out of TOSEC file names");
    command->add_option("NAME", *names, "Names in the TOSEC naming convention (TNC v1)")->required();
    command->footer(
        "YearId is the row of the frontend's table Years (1: unknown year). Trainers: 0 none, -1 an unknown\n"
        "number. PalNtsc: 0 PAL, 1 PAL+NTSC, 2 NTSC, 3 unknown. Cracker: ~NONE~ for a game without one.\n"
        "A name with a trainer count beyond 2147483647 is an error, which would end an import.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli tosec 'Gem (1991)(Kaiko)(de)[cr ICS][t +2].st'\n"
        "  marrowkit-cli tosec --json 'Zaxxon (1982)(Coleco)(NTSC).bin'");
    command->callback(
        [&session, names] { session.run = [names](Session& current) { return RunTosec(current, *names); }; });
}

}  // namespace marrowkit::cli
