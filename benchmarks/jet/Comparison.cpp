#include "Comparison.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include <sys/resource.h>

namespace marrowkit::benchmark {

namespace {

volatile std::size_t g_kept = 0;

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double CpuSeconds() {
    double seconds = 0;
    for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        seconds += Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
    }
    return seconds;
}

}  // namespace

Cost CostOf(const std::function<void()>& work) {
    const double cpu = CpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    return {seconds.count(), CpuSeconds() - cpu};
}

Cost Best(const Cost& one, const Cost& other) {
    return {std::min(one.seconds, other.seconds), std::min(one.cpuSeconds, other.cpuSeconds)};
}

void Keep(std::size_t value) {
    g_kept = value;
}

void Comparison::Add(const std::string& what, Side side, const std::string& who, int rows, const Cost& cost) {
    auto measurement = std::ranges::find(measurements_, what, &Measurement::what);
    if (measurement == measurements_.end()) {
        measurements_.push_back({what, rows, {}});
        measurement = measurements_.end() - 1;
    }
    auto figure = std::ranges::find(measurement->figures, who, &Figure::who);
    if (figure == measurement->figures.end()) {
        measurement->figures.push_back({side, who, cost});
    } else {
        figure->cost = Best(figure->cost, cost);
    }
}

void Comparison::Print() const {
    std::printf("%-26s %-10s %10s %10s   %-10s %10s %10s %9s %9s\n", "", "ours", "ms", "rows/s", "peer", "ms",
                "rows/s", "ratio", "cpu ratio");
    for (const Measurement& measurement : measurements_) {
        for (const Figure& ours : measurement.figures) {
            if (ours.side != Side::Ours) continue;
            for (const Figure& peer : measurement.figures) {
                if (peer.side != Side::Peer) continue;
                std::printf("%-26s ", measurement.what.c_str());
                PrintFigure(ours, measurement.rows);
                std::printf("   ");
                PrintFigure(peer, measurement.rows);
                std::printf(" %7.2f x %7.2f x\n", peer.cost.seconds / ours.cost.seconds,
                            peer.cost.cpuSeconds / ours.cost.cpuSeconds);
            }
        }
    }
}

void Comparison::PrintFigure(const Figure& figure, int rows) {
    std::printf("%-10s %10.2f ", figure.who.c_str(), figure.cost.seconds * 1e3);
    if (rows == 0) {
        std::printf("%10s", "");
    } else {
        std::printf("%10.0f", rows / figure.cost.seconds);
    }
}

std::string MachineText() {
    std::string text = std::to_string(std::thread::hardware_concurrency()) + " cores";
#ifndef NDEBUG
    text += "  WARNING: not an optimised build";
#endif
    return text;
}

}  // namespace marrowkit::benchmark
