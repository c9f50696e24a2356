#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/jet/storage/TestDatabase.h"

namespace marrowkit::jet::test {

/// Changes of every kind to a test database, always the same ones for a seed: rows added, changed, moved and
/// erased, index entries with them, long values of all kinds, units committed, nested and rolled back.
class Workload {
public:
    Workload(TestDatabase& database, std::uint32_t seed)
        : database_(database),
          rows_(database.Rows()),
          index_(database.Index()),
          values_(database.LongValues()),
          random_(seed) {}

    /// One unit of `changes` changes. Returns whether it was committed (else rolled back).
    bool RunUnit(int changes);

    /// A number for everything that the database holds now: two states are the same when it is.
    static std::uint64_t Fingerprint(Pager& pager);

private:
    struct Record {
        std::vector<std::uint8_t> key;
        std::vector<std::uint8_t> bytes;
        std::vector<std::uint8_t> longValue;  ///< header in its row
    };
    using State = std::map<RowId, Record>;

    void Change(State& state);
    void Add(State& state);
    void Modify(State& state);
    void Remove(State& state);
    std::vector<std::uint8_t> SomeBytes(std::size_t most);
    std::vector<std::uint8_t> SomeKey();
    State::iterator Pick(State& state);

    TestDatabase& database_;
    RowStore rows_;
    BTree index_;
    LongValueStore values_;
    std::mt19937 random_;
    State state_;
};

}  // namespace marrowkit::jet::test
