#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "cli/RowWriter.h"
#include "cli/TerminalUserInterface.h"

namespace marrowkit::cli {

/// How a run of the program ends.
enum ExitCode : int {
    kDone = 0,
    kFailed = 1,  ///< refused or failed, and a message said why
    kWrongUsage = 2,
    kFatal = 70,  ///< the fatal-error report was printed
};

/// The three streams of the program; tests put texts in their places.
struct Streams {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
};

/// One run of the program: what stands on its command line before and behind the command, and the places
/// where a command leaves its results and messages.
class Session {
public:
    explicit Session(const Streams& streams) : streams_(streams), ui_(streams.in, streams.err) {}

    /// --json: results are one JSON document instead of CSV.
    bool json = false;
    /// --quiet: no progress, no message about what went well.
    bool quiet = false;
    /// --yes: confirmations are answered with Yes.
    bool yes = false;
    /// --library DIR; empty: the folder of the program.
    std::string library;

    /// What the chosen command does; its result is the exit code. Each command sets this when it is chosen.
    std::function<int(Session&)> run;

    /// For `run`: work that changes databases or files. Signals that end the program are taken as a wish to
    /// stop, so that what is half done is undone first; work that only looks is ended at once.
    static std::function<int(Session&)> Changing(std::function<int(Session&)> work);

    /// Rows of results, as CSV or JSON, on standard output. Finish() it at the end.
    std::unique_ptr<RowWriter> Rows(const std::vector<std::string>& columns);
    /// Standard output, for results that are no rows: JSON documents, SQL text.
    std::ostream& Out() { return streams_.out; }
    /// Standard error.
    std::ostream& Err() { return streams_.err; }
    /// A line on standard error that explains a failure; returns kFailed, so that a command can say
    /// `return session.Fail("...")`.
    int Fail(const std::string& text);

    /// The person at the terminal, for the operations.
    TerminalUserInterface& Ui() { return ui_; }

private:
    Streams streams_;
    TerminalUserInterface ui_;
};

}  // namespace marrowkit::cli
