#include "cli/CommandLine.h"

#include <algorithm>
#include <exception>
#include <ostream>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "global/modGlobal.h"
#include "platform/errors/RuntimeError.h"

namespace marrowkit::cli {

namespace {

constexpr const char* kDescription =
    "Maintains the databases of a Vellora library: what the Marrowkit window does, for scripts and "
    "terminals.";

constexpr const char* kFooter =
    "DB is a database's name in the library, or the path of an .mdb file.\n"
    "'marrowkit-cli COMMAND --help' explains a command and shows examples of it.\n"
    "\n"
    "Results go to standard output, as CSV or (--json) as one JSON document; messages to standard error.\n"
    "Exit codes: 0 done, 1 refused or failed with a message, 2 wrong usage, 70 an error nobody expected.";

void AddGlobalOptions(CLI::App& app, Session& session) {
    app.set_help_flag("-h,--help", "Explains the program or a command");
    app.set_version_flag("--version", "Marrowkit " + modGlobal::VersionText());
    app.add_option("--library", session.library,
                   "Folder of the databases and of Empty.mdb (default: MARROWKIT_LIBRARY in the environment, "
                   "else the program's own folder)")
        ->option_text("DIR");
    app.add_flag("--json", session.json, "Results as JSON instead of CSV");
    app.add_flag("--quiet", session.quiet, "No progress and no notices, only results and failures");
    app.add_flag("--yes", session.yes, "Answers every confirmation with Yes");
}

/// What an error that nobody expected looks like.
int ReportFatalError(Session& session, int number, const std::string& description) {
    session.Err() << "Run-time error '" << number << "':\n\n" << description << '\n';
    return kFatal;
}

/// False, and a message, for a library that cannot be where it is said to be.
bool StartIn(Session& session) {
    try {
        modGlobal::Start(session.library);
        return true;
    } catch (const RuntimeError& error) {
        session.Fail("The library cannot be used: " + error.description + ".");
        return false;
    }
}

int RunChosenCommand(Session& session) {
    if (!StartIn(session)) return kFailed;
    try {
        session.Ui().SetAnswerYes(session.yes);
        session.Ui().SetQuiet(session.quiet);
        const int result = session.run(session);
        if (result != kDone) session.Ui().ShowHeldBack();
        session.Out().flush();
        if (!session.Out()) return session.Fail("The results could not be written.");
        return result;
    } catch (const RuntimeError& error) {
        session.Out().flush();
        return ReportFatalError(session, error.number, error.description);
    } catch (const std::bad_alloc&) {
        constexpr int kNumber = static_cast<int>(RuntimeErrorNumber::OutOfMemory);
        return ReportFatalError(session, kNumber, std::string(RuntimeErrorText(kNumber)));
    } catch (const std::exception& error) {
        return ReportFatalError(session, static_cast<int>(RuntimeErrorNumber::InternalError), error.what());
    }
}

}  // namespace

int RunCommandLine(std::vector<std::string> arguments, const Streams& streams) {
    Session session(streams);
    CLI::App app(kDescription, "marrowkit-cli");
    app.footer(kFooter);
    app.fallthrough();  // global options may stand behind the command as well
    app.require_subcommand(1);
    AddGlobalOptions(app, session);
    AddCommands(app, session);
    try {
        std::reverse(arguments.begin(), arguments.end());  // as parse() wants them
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        // A mistyped command would be told as a missing one.
        if (app.get_subcommands().empty() && error.get_name() == "RequiredError" &&
            !app.remaining().empty()) {
            streams.err << "There is no command '" << app.remaining().front()
                        << "'.\nRun with --help for more information.\n";
            return kWrongUsage;
        }
        const int code = app.exit(error, streams.out, streams.err);
        return code == 0 ? kDone : kWrongUsage;
    }
    return RunChosenCommand(session);
}

}  // namespace marrowkit::cli
