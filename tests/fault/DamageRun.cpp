// Damages copies of databases in thousands of ways and sends each copy through the whole engine:
//
//     damage_run --from 0 --to 10000 FILE...
//
// One line per file says how many copies were refused, found damaged, compacted and written to, the slowest
// of them in seconds of CPU time and the most memory that this process has used so far. A copy that takes
// longer than the limit ends the process, naming the file and the seed; so does a crash (build with
// sanitizers). Other findings are printed and counted. Exit: 0 without findings, 1 with some, 2 for wrong
// usage, 3 for the limit.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include <sys/resource.h>
#include <sys/time.h>

#include "fault/Corruption.h"
#include "fault/Survival.h"
#include "support/TemporaryFolder.h"

using namespace marrowkit;

namespace {

constexpr int kCpuSecondsAllowed = 10;

char currentCase[512];

void Say(int to, const char* text) {
    static_cast<void>(!::write(to, text, std::strlen(text)));
}

extern "C" void OnTooSlow(int) {
    Say(STDOUT_FILENO, "TOO SLOW: ");
    Say(STDOUT_FILENO, currentCase);
    Say(STDOUT_FILENO, "\n");
    ::_exit(3);
}

void StartLimit(int seconds) {
    itimerval timer{};
    timer.it_value.tv_sec = seconds;
    ::setitimer(ITIMER_PROF, &timer, nullptr);
}

long PeakMegabytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

/// Returns the number of findings.
int RunFile(const std::filesystem::path& path, std::uint32_t from, std::uint32_t to) {
    const std::string text = test::ReadFile(path);
    const std::vector<std::uint8_t> genuine(text.begin(), text.end());
    int refused = 0;
    int damaged = 0;
    int copied = 0;
    int written = 0;
    int findings = 0;
    double slowest = 0;
    double total = 0;
    for (std::uint32_t seed = from; seed < to; ++seed) {
        std::vector<std::uint8_t> bytes = genuine;
        const std::string what = test::Corrupt(bytes, seed);
        std::snprintf(currentCase, sizeof currentCase, "%s, seed %u: %s", path.filename().c_str(), seed,
                      what.c_str());
        StartLimit(kCpuSecondsAllowed);
        const test::Survival survival = test::Survive(bytes);
        StartLimit(0);
        refused += survival.opened ? 0 : 1;
        damaged += survival.problems > 0 ? 1 : 0;
        copied += survival.copied ? 1 : 0;
        written += survival.written ? 1 : 0;
        slowest = std::max(slowest, survival.cpuSeconds);
        total += survival.cpuSeconds;
        for (const std::string& ill : survival.ills)
            std::printf("FINDING %s: %s\n", currentCase, ill.c_str());
        findings += static_cast<int>(survival.ills.size());
    }
    std::printf(
        "%s (%zu bytes) seeds %u-%u: refused %d, found damaged %d, compacted %d, written %d, "
        "findings %d, mean %.4f s, slowest %.3f s, peak %ld MB\n",
        path.filename().c_str(), genuine.size(), from, to, refused, damaged, copied, written, findings,
        total / std::max(1U, to - from), slowest, PeakMegabytes());
    std::fflush(stdout);
    return findings;
}

}  // namespace

int main(int count, char** words) {
    std::uint32_t from = 0;
    std::uint32_t to = 1000;
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if ((word == "--from" || word == "--to") && i + 1 < count) {
            (word == "--from" ? from : to) =
                static_cast<std::uint32_t>(std::strtoul(words[++i], nullptr, 10));
        } else {
            files.emplace_back(word);
        }
    }
    if (files.empty() || to <= from) {
        std::fprintf(stderr, "usage: damage_run [--from SEED] [--to SEED] FILE...\n");
        return 2;
    }
    std::signal(SIGPROF, OnTooSlow);
    int findings = 0;
    for (const std::filesystem::path& file : files) findings += RunFile(file, from, to);
    return findings == 0 ? 0 : 1;
}
