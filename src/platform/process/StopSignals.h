#pragma once

namespace marrowkit {

/// While it lives, the signals that end a program (the system's SIGTERM, Ctrl-C, a terminal that closes)
/// become a StopRequest: a database that is being changed would otherwise be left in the middle, with only
/// the journal beside it to tell, and programs that know nothing of the journal would take it as it is.
///
/// On Windows these are Ctrl-C, Ctrl-Break, the closing of the console, and the end of the session. Of the
/// last two the system lets nobody do more than delay them by some seconds, enough to undo what was begun.
///
/// Signals about output that cannot go on (a pipe whose reader left, a limit of file sizes) are ignored
/// meanwhile; the write fails then, and is handled like every other.
///
/// Not more than one at a time.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    /// The signal that came last since the program began (SIGINT for Ctrl-C and Ctrl-Break, SIGTERM for the
    /// other events of a console); 0 when none did.
    static int Received();
    /// Also writes a byte to this descriptor at every signal, to wake up whoever waits at a pipe's other end.
    static void WakeBy(int descriptor);
    /// Ends the program the way the signal would have: whoever started it sees what it died of.
    [[noreturn]] static void EndBy(int signal);

    /// While it lives, signals end the program at once: it waits for a person, and nothing is under way.
    class Idle {
    public:
        Idle();
        Idle(const Idle&) = delete;
        Idle& operator=(const Idle&) = delete;
        ~Idle();
    };
};

}  // namespace marrowkit
