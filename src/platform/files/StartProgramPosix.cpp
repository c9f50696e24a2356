#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <span>
#include <system_error>
#include <unistd.h>

#include <sys/wait.h>

#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/files/StartProgram.h"
#include "platform/text/Text.h"

namespace marrowkit {

namespace {

/// So long an opener may take to say that it found nothing; one that still runs then counts as started.
constexpr int kRefusalMilliseconds = 1000;
constexpr int kCannotStart = 127;  // a shell's exit code for a command that is not there

/// The file that PATH gives for a program's name; the name itself when it is a path.
std::optional<std::string> FindProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return access(name.c_str(), X_OK) == 0 ? std::optional(name) : std::nullopt;
    }
    const char* path = std::getenv("PATH");
    for (const std::string_view folder :
         Split(path == nullptr ? "/usr/local/bin:/usr/bin:/bin" : path, ":")) {
        const std::filesystem::path program = std::filesystem::path(folder.empty() ? "." : folder) / name;
        std::error_code error;
        if (std::filesystem::is_regular_file(program, error) && access(program.c_str(), X_OK) == 0) {
            return program.string();
        }
    }
    return std::nullopt;
}

/// As exec takes them, with a null at the end. They point into `arguments`.
std::vector<char*> PointersTo(std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// A pipe of which no other program inherits an end.
struct Pipe {
    Pipe() {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) RaiseSystemError(errno);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        for (const int end : ends) {
            if (end >= 0) close(end);
        }
    }
    void CloseEnd(std::size_t which) {
        close(ends.at(which));
        ends.at(which) = -1;
    }
    std::array<int, 2> ends = {-1, -1};
};

/// Runs in the watcher process, which belongs to init: starts the program, waits for it and writes its exit
/// code into the pipe. Between fork and exec only calls that are safe there.
[[noreturn]] void WatchProgram(const char* program, char* const* arguments, int report) {
    setsid();
    const pid_t child = fork();
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDWR);
        if (nothing >= 0) {
            dup2(nothing, STDIN_FILENO);
            dup2(nothing, STDOUT_FILENO);
        }
        execv(program, arguments);
        _exit(kCannotStart);
    }
    int status = 0;
    unsigned char code = kCannotStart;
    if (child > 0) {
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        code = WIFEXITED(status) ? static_cast<unsigned char>(WEXITSTATUS(status)) : 1;
    }
    static_cast<void>(!write(report, &code, 1));
    _exit(0);
}

/// Whether the program started and did not fail at once. It outlives us and leaves no zombie.
bool StartDetached(const std::string& program, std::vector<std::string> arguments) {
    const std::vector<char*> argumentPointers = PointersTo(arguments);

    Pipe pipe;
    const pid_t first = fork();
    if (first < 0) RaiseSystemError(errno);
    if (first == 0) {
        if (fork() == 0) WatchProgram(program.c_str(), argumentPointers.data(), pipe.ends[1]);
        _exit(0);
    }
    pipe.CloseEnd(1);
    while (waitpid(first, nullptr, 0) < 0 && errno == EINTR) {
    }
    pollfd waiting{pipe.ends[0], POLLIN, 0};
    if (poll(&waiting, 1, kRefusalMilliseconds) <= 0) return true;
    unsigned char code = kCannotStart;
    return read(pipe.ends[0], &code, 1) == 1 && code == 0;
}

bool TryStart(const std::string& name, std::vector<std::string> arguments) {
    const auto program = FindProgram(name);
    if (!program) return false;
    arguments.insert(arguments.begin(), name);
    return StartDetached(*program, std::move(arguments));
}

/// What a program prints, at most one line of 256 bytes; empty when it cannot be started.
std::string FirstLineOf(const std::string& name, std::vector<std::string> arguments) {
    const auto program = FindProgram(name);
    if (!program) return "";
    arguments.insert(arguments.begin(), name);
    const std::vector<char*> argumentPointers = PointersTo(arguments);

    Pipe pipe;
    const pid_t child = fork();
    if (child < 0) return "";
    if (child == 0) {
        dup2(pipe.ends[1], STDOUT_FILENO);
        execv(program->c_str(), argumentPointers.data());
        _exit(kCannotStart);
    }
    pipe.CloseEnd(1);
    std::string output;
    std::array<char, 256> buffer{};
    ssize_t count = 0;
    while ((count = read(pipe.ends[0], buffer.data(), buffer.size())) > 0 && output.size() < buffer.size()) {
        output.append(buffer.data(), static_cast<std::size_t>(count));
    }
    pipe.CloseEnd(0);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return output.substr(0, output.find('\n'));
}

/// The desktop entry of the program for plain text ("org.gnome.TextEditor.desktop") is what the desktop's
/// launcher takes.
bool OpenInTextEditor(const std::vector<std::string>& files) {
    const std::string editor = FirstLineOf("xdg-mime", {"query", "default", "text/plain"});
    if (editor.empty()) return false;
    std::vector<std::string> arguments = {editor};
    arguments.insert(arguments.end(), files.begin(), files.end());
    return TryStart("gtk-launch", std::move(arguments));
}

bool IsNotepad(std::string_view program) {
    const std::string name = FileNameOf(program);
    return EqualNoCase(name, "notepad.exe") || EqualNoCase(name, "notepad");
}

}  // namespace

bool OpenWithDesktop(std::string_view path) {
    const auto host = TryHostPath(path);
    return host && TryStart("xdg-open", {*host});
}

void StartCommandLine(std::string_view commandLine) {
    std::vector<std::string> words = SplitCommandLine(commandLine);
    if (words.empty()) Raise(RuntimeErrorNumber::InvalidProcedureCall);
    const std::string program = words.front();
    words.erase(words.begin());
    for (std::string& word : words) {
        if (IsAbsolutePath(word)) word = TryHostPath(word).value_or(word);
    }
    bool started = false;
    if (IsNotepad(program)) {
        started = OpenInTextEditor(words) || TryStart("xdg-open", words);
    } else {
        started = TryStart(HasDriveLetter(program) ? TryHostPath(program).value_or(program) : program, words);
    }
    if (!started) Raise(RuntimeErrorNumber::FileNotFound);
}

}  // namespace marrowkit
