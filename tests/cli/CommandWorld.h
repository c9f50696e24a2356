#pragma once

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/CommandLineTester.h"
#include "import/GamesLine.h"
#include "maintenance/FrontendDatabase.h"
#include "platform/files/HostPath.h"
#include "support/Environment.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// What every command finds something to do in: a library with a database "Arcade" and Empty.mdb, a datafile,
/// a folder of ROMs. MARROWKIT_LIBRARY names an empty folder meanwhile, the settings are in a folder of its
/// own.
class CommandWorld {
public:
    CommandWorld() {
        std::filesystem::create_directory(folder / "elsewhere");
        SetVariable("MARROWKIT_LIBRARY", (folder / "elsewhere").string());
        SetVariable("XDG_CONFIG_HOME", (folder / "settings").string());
        std::filesystem::copy_file(arcade.HostFile(), arcade.LibraryFolder() / "Empty.mdb");
        WriteFile(folder / "roms/Sub/found.zip", "123456789");
        WriteFile(folder / "roms/stray.bin", "stray");
        arcade.Execute("INSERT INTO Games (Name, LA_Id) VALUES (\"Gem\", 2)");
        arcade.Execute("INSERT INTO Extras (Name) VALUES (\"map\")");
        arcade.Execute("INSERT INTO ViewData (Name) VALUES (\"view\")");
    }
    CommandWorld(const CommandWorld&) = delete;
    CommandWorld& operator=(const CommandWorld&) = delete;
    ~CommandWorld() {
        UnsetVariable("MARROWKIT_LIBRARY");
        UnsetVariable("XDG_CONFIG_HOME");
    }

    CommandLineRun Run(std::vector<std::string> arguments, const std::string& input = "") const {
        arguments.insert(arguments.begin(), {"--library", arcade.LibraryFolder().string()});
        return RunCli(std::move(arguments), input);
    }

    /// A file's full name on the host.
    std::string File(const std::string& name) const { return (folder / name).string(); }
    /// The path of a new datafile with these lines.
    std::string Datafile(const std::string& name = "Games.dat",
                         const std::string& games = GamesLine("Gem", "gem.zip", "CBF43926", "9")) const {
        WriteFile(folder / name, "[DAT]\r\nversion=2.00\r\n[GAMES]\r\n" + games);
        return File(name);
    }
    /// Whether the library has this file or folder.
    bool Has(const std::string& name) const { return std::filesystem::exists(arcade.LibraryFolder() / name); }

    FrontendDatabase arcade{2, 5};
    TemporaryFolder folder;
};

/// The commands that marrowkit-cli has, with "COMMAND --option" and "COMMAND ARGUMENT" for each of theirs.
struct RealCommandLine {
    RealCommandLine() {
        std::istringstream in;
        std::ostringstream out;
        cli::Session session({in, out, out});
        CLI::App app;
        cli::BuildCommandLine(app, session);
        for (const CLI::App* command : app.get_subcommands(nullptr)) {
            commands.insert(command->get_name());
            for (const CLI::Option* option : command->get_options()) {
                if (option == command->get_help_ptr()) continue;
                options.insert(command->get_name() + " " +
                               (option->get_positional() ? option->get_name(true) : option->get_name()));
            }
        }
    }

    std::set<std::string> commands;
    std::set<std::string> options;
};

}  // namespace marrowkit::test
