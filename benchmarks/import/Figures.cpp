#include "Figures.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace marrowkit::benchmark {

Cost CostOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    const std::clock_t cpuStart = std::clock();
    work();
    const std::clock_t cpu = std::clock() - cpuStart;
    const std::chrono::duration<double> whole = std::chrono::steady_clock::now() - start;
    return {whole.count(), static_cast<double>(cpu) / CLOCKS_PER_SEC};
}

void PrintTitle(const std::string& title) {
    std::printf("\n%s\n", title.c_str());
}

void PrintHeader() {
    std::printf("%-36s %9s %9s  %-26s %9s %9s %7s  %s\n", "", "ours ms", "(cpu)", "peer", "peer ms", "(cpu)",
                "ratio", "goal");
}

void Print(const Figure& figure) {
    std::printf("%-36s %9.1f %9.1f  %-26s %9.1f %9.1f %7.2f  %s\n", figure.what.c_str(),
                figure.ours.seconds * 1e3, figure.ours.cpuSeconds * 1e3, figure.peer.c_str(),
                figure.theirs.seconds * 1e3, figure.theirs.cpuSeconds * 1e3,
                figure.ours.seconds / figure.theirs.seconds, figure.goal.c_str());
    std::fflush(stdout);
}

}  // namespace marrowkit::benchmark
