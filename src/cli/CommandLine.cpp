#include "cli/CommandLine.h"

#include <algorithm>
#include <exception>
#include <ostream>

#include <CLI/CLI.hpp>

#include "cli/Commands.h"
#include "cli/Help.h"
#include "global/modGlobal.h"
#include "platform/errors/RuntimeError.h"
#include "platform/installation/BuildVersion.h"
#include "platform/process/StopRequest.h"

namespace marrowkit::cli {

namespace {

constexpr const char* kDescription =
    "Maintains the databases of a Vellora library: what the Marrowkit window does,\n"
    "for scripts and terminals.";

constexpr const char* kFooter =
    "DB is a database's name in the library, or the path of an .mdb file or of its\n"
    "folder.\n"
    "'marrowkit-cli COMMAND --help' explains a command and shows examples of it.\n"
    "\n"
    "Results go to standard output, as CSV or (--json) as one JSON document; messages\n"
    "go to standard error. Exit codes: 0 done, 1 refused or failed with a message,\n"
    "2 wrong usage, 70 an error nobody expected.";

/// Given and empty is not the same as not given: what a script's empty variable would lead to is another
/// library than the one that was meant.
std::string RefuseEmpty(const std::string& text) {
    return text.empty() ? "The folder's name is empty" : "";
}

void AddGlobalOptions(CLI::App& app, Session& session) {
    app.set_help_flag("-h,--help", "Explains the program or a command");
    app.set_version_flag("--version", BuildVersionText(),
                         "Prints the version and the commit it was built from");
    app.add_option("--library", session.library,
                   "Folder of the databases and of Empty.mdb; else what MARROWKIT_LIBRARY in the environment "
                   "names, else the folder that the desktop program remembers, else the program's own")
        ->type_name("DIR")
        ->check(RefuseEmpty);
    app.add_flag("--json", session.json, "Results as JSON instead of CSV");
    app.add_flag("--quiet", session.quiet, "No progress and no notices, only results and failures");
    app.add_flag("--yes", session.yes, "Answers every confirmation with Yes");
}

constexpr const char* kNotWritten = "The results could not be written.";

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
        if (!session.Out()) return session.Fail(kNotWritten);
        return result;
    } catch (const RuntimeError& error) {
        session.Out().flush();
        if (IsStopRequested()) return session.Fail(error.description);
        return ReportFatalError(session, error.number, error.description);
    } catch (const std::bad_alloc&) {
        constexpr int kNumber = static_cast<int>(RuntimeErrorNumber::OutOfMemory);
        return ReportFatalError(session, kNumber, std::string(RuntimeErrorText(kNumber)));
    } catch (const std::exception& error) {
        return ReportFatalError(session, static_cast<int>(RuntimeErrorNumber::InternalError), error.what());
    }
}

/// --help and --version, which the parser reports like an error.
int PrintExplanation(const CLI::App& app, const CLI::ParseError& error, Session& session) {
    app.exit(error, session.Out(), session.Err());
    session.Out().flush();
    return session.Out() ? kDone : session.Fail(kNotWritten);
}

}  // namespace

void BuildCommandLine(CLI::App& app, Session& session) {
    app.name("marrowkit-cli");
    app.description(kDescription);
    app.footer(kFooter);
    app.fallthrough();  // global options may stand behind the command as well
    app.require_subcommand(1);
    StyleHelp(app);
    AddGlobalOptions(app, session);
    AddCommands(app, session);
}

int RunCommandLine(std::vector<std::string> arguments, const Streams& streams) {
    Session session(streams);
    CLI::App app;
    BuildCommandLine(app, session);
    try {
        std::reverse(arguments.begin(), arguments.end());  // as parse() wants them
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return PrintExplanation(app, error, session);
        streams.err << WrongUsageText(app, error);
        return kWrongUsage;
    }
    return RunChosenCommand(session);
}

}  // namespace marrowkit::cli
