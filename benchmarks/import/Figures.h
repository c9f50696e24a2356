#pragma once

#include <functional>
#include <limits>
#include <string>

namespace marrowkit::benchmark {

/// What some work took.
struct Cost {
    double seconds = std::numeric_limits<double>::infinity();  ///< from start to end
    double cpuSeconds = 0;                                     ///< of this process
};

Cost CostOf(const std::function<void()>& work);

/// The best of several rounds.
class Best {
public:
    void Take(const Cost& cost) {
        if (cost.seconds < cost_.seconds) cost_ = cost;
    }
    const Cost& Get() const { return cost_; }

private:
    Cost cost_;
};

/// One line of the table: what our work took, what a peer's on the same data did, and what we want the ratio
/// to be.
struct Figure {
    std::string what;
    std::string peer;
    Cost ours;
    Cost theirs;
    std::string goal;  ///< "<= 1.30"; empty when there is none
};

void PrintTitle(const std::string& title);
/// Ratio: our time by the peer's, so less than 1 is faster than the peer.
void PrintHeader();
void Print(const Figure& figure);

}  // namespace marrowkit::benchmark
