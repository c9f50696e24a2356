// The man page and the shells' completions are written by hand. Here they are held against the commands and
// options that the program really has.

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/CommandLine.h"
#include "cli/CommandLineTester.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {
namespace {

using Names = std::set<std::string>;

/// The long options of the program (under "") and of each command.
using Options = std::map<std::string, Names>;

Names LongOptions(const CLI::App& app) {
    Names names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) names.insert("--" + name);
    }
    return names;
}

Options RealOptions() {
    std::istringstream in;
    std::ostringstream out;
    cli::Session session({in, out, out});
    CLI::App app;
    cli::BuildCommandLine(app, session);
    Options options;
    options[""] = LongOptions(app);
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        Names names = LongOptions(*command);
        names.erase("--help");
        options[command->get_name()] = names;
    }
    return options;
}

std::string PackagingFile(const char* name) {
    return ReadFile(std::filesystem::path(PACKAGING_FOLDER) / name);
}

Names AllMatches(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

TEST(CommandManual, ManPageDescribesEveryCommandAndOptionAndNoOther) {
    // A command starts with ".It Cm name", its options are ".Fl Fl name" lines until the next command.
    Options described;
    std::string command;
    bool inCommands = false;
    std::istringstream page(PackagingFile("marrowkit-cli.1"));
    const std::regex commandLine(R"(\.It Cm ([-a-z]+).*)");
    const std::regex optionLine(R"(\.It .*?Fl Fl ([-a-z0-9]+).*)");
    std::smatch match;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".Sh ")) inCommands = line == ".Sh COMMANDS";
        if (inCommands && std::regex_match(line, match, commandLine)) {
            command = match[1];
            described[command];
        }
        if (std::regex_match(line, match, optionLine))
            described[inCommands ? command : ""].insert("--" + match[1].str());
    }
    EXPECT_EQ(described, RealOptions());
}

/// What the shell offers when Tab is pressed behind these words, the last of them possibly unfinished.
Names BashOffers(const std::string& words) {
    const std::string script = std::string("source '") + PACKAGING_FOLDER +
                               "/completions/marrowkit-cli.bash'; " + "COMP_WORDS=(marrowkit-cli " + words +
                               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); " +
                               "_marrowkit_cli; printf '%s\\n' \"${COMPREPLY[@]}\"";
    TemporaryFolder folder;
    WriteFile(folder / "script", script);
    std::FILE* pipe = ::popen(("bash --norc '" + (folder / "script").string() + "'").c_str(), "r");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
    EXPECT_EQ(::pclose(pipe), 0);
    return AllMatches(text, "([^\n]+)\n");
}

TEST(CommandManual, BashOffersTheRealCommandsAndOptions) {
    const Options real = RealOptions();
    Names commands;
    for (const auto& [command, options] : real) {
        if (!command.empty()) commands.insert(command);
    }
    EXPECT_EQ(BashOffers("''"), commands);
    EXPECT_EQ(BashOffers("--"), real.at(""));
    for (const auto& [command, options] : real) {
        if (command.empty()) continue;
        Names expected = options;
        expected.insert(real.at("").begin(), real.at("").end());
        expected.erase("--version");
        EXPECT_EQ(BashOffers(command + " --"), expected) << command;
        EXPECT_EQ(BashOffers("--library /tmp " + command + " --"), expected) << command;
    }
}

TEST(CommandManual, BashOffersValues) {
    EXPECT_EQ(BashOffers("records Arcade P"), (Names{"Publishers", "Programmers"}));
    EXPECT_EQ(BashOffers("import x.dat --name-column ''"), (Names{"1", "2", "3", "4", "5", "8"}));
    EXPECT_EQ(BashOffers("import x.dat --file-column ''"), (Names{"1", "3", "5", "7"}));
}

TEST(CommandManual, ZshNamesTheRealCommandsAndOptions) {
    // The list of commands, the program's options, then a case with the options of each command.
    std::istringstream text(PackagingFile("completions/_marrowkit-cli"));
    Options named;
    Names commands = {""};
    std::smatch match;
    for (std::string line; std::getline(text, line);) {
        if (std::regex_match(line, match, std::regex(" {4}'([-a-z]+):.*"))) named[match[1]];
        if (std::regex_match(line, match, std::regex(" {8}([-a-z|]+)\\)")))
            commands = AllMatches(match[1], "([-a-z]+)");
        for (const std::string& command : commands) {
            named[command].merge(AllMatches(line, R"(['")}](?:\([^)]*\))?(--[-a-z0-9]+)=?\[)"));
            if (line.find("{-h,--help}") != std::string::npos) named[command].insert("--help");
        }
    }
    EXPECT_EQ(named, RealOptions());
}

TEST(CommandManual, FishNamesTheRealCommandsAndOptions) {
    std::istringstream text(PackagingFile("completions/marrowkit-cli.fish"));
    Options named;
    const std::regex commandLine(R"(complete -c marrowkit-cli -n __fish_use_subcommand .*-a ([-a-z]+) .*)");
    const std::regex optionLine(
        R"(complete -c marrowkit-cli (?:-n '__fish_seen_subcommand_from ([-a-z]+)' )?.*-l ([-a-z0-9]+) .*)");
    std::smatch match;
    for (std::string line; std::getline(text, line);) {
        if (std::regex_match(line, match, commandLine)) named[match[1]];
        if (std::regex_match(line, match, optionLine)) named[match[1]].insert("--" + match[2].str());
    }
    EXPECT_EQ(named, RealOptions());
}

TEST(CommandManual, HelpFitsATerminalAndShowsExamples) {
    for (const auto& [command, options] : RealOptions()) {
        const std::string text = command.empty() ? RunCli({"--help"}).out : RunCli({command, "--help"}).out;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
        const char* examples =
            command.empty() ? "'marrowkit-cli COMMAND --help'" : "Examples:\n  marrowkit-cli ";
        EXPECT_THAT(text, testing::HasSubstr(examples)) << command;
    }
}

}  // namespace
}  // namespace marrowkit::test
