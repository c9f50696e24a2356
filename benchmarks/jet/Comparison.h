#pragma once

#include <functional>
#include <string>
#include <vector>

namespace marrowkit::benchmark {

/// What some work took.
struct Cost {
    double seconds = 0;     ///< from start to end, waiting for the disk and for other programs included
    double cpuSeconds = 0;  ///< of the processor, by this process and those it started and waited for
};

Cost CostOf(const std::function<void()>& work);

/// The better of both in each respect: a busy moment of the machine makes a figure worse, nothing makes it
/// better than it is.
Cost Best(const Cost& one, const Cost& other);

/// A value that the compiler has to compute, because it cannot know that nobody looks at it.
void Keep(std::size_t value);

/// What was measured, ours beside the peers', printed as one aligned table. The best of all repetitions
/// counts.
class Comparison {
public:
    /// Figures of ours are compared with those of every peer in the same measurement.
    enum class Side { Ours, Peer };
    /// `rows`: how many rows it was about, 0 when they are not to be counted.
    void Add(const std::string& what, Side side, const std::string& who, int rows, const Cost& cost);
    /// Ratios are the peer's time to ours, so above 1 we are faster: once of all time, once of the
    /// processor's alone.
    void Print() const;

private:
    struct Figure {
        Side side;
        std::string who;
        Cost cost;
    };
    struct Measurement {
        std::string what;
        int rows;
        std::vector<Figure> figures;
    };
    static void PrintFigure(const Figure& figure, int rows);

    std::vector<Measurement> measurements_;
};

/// "2 cores": part of every table's heading; says so when the build is not optimised.
std::string MachineText();

}  // namespace marrowkit::benchmark
