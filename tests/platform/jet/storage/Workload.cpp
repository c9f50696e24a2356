#include "platform/jet/storage/Workload.h"

#include "platform/jet/storage/Hash.h"

namespace marrowkit::jet::test {

std::uint64_t Workload::Fingerprint(Pager& pager) {
    std::uint64_t hash = pager.PageCount();
    for (PageNumber page = 0; page < pager.PageCount(); ++page) {
        hash = Hash64(hash, pager.Read(page).Bytes().All());
    }
    return hash;
}

bool Workload::RunUnit(int changes) {
    State state = state_;
    Unit outer(*database_.pager);
    for (int i = 0; i < changes; ++i) {
        if (random_() % 8 == 0) {
            // A statement within the transaction, which may fail.
            State inner = state;
            Unit unit(*database_.pager);
            Change(inner);
            Change(inner);
            if (random_() % 2 == 0) {
                unit.Commit();
                state = std::move(inner);
            }
        } else {
            Change(state);
        }
    }
    if (random_() % 5 == 0) return false;
    outer.Commit();
    state_ = std::move(state);
    return true;
}

void Workload::Change(State& state) {
    const auto what = random_() % 10;
    if (state.empty() || what < 5) return Add(state);
    if (what < 8) return Modify(state);
    Remove(state);
}

std::vector<std::uint8_t> Workload::SomeBytes(std::size_t most) {
    std::vector<std::uint8_t> bytes(random_() % most + 1);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
    return bytes;
}

std::vector<std::uint8_t> Workload::SomeKey() {
    std::vector<std::uint8_t> key{0x7F};
    const std::size_t length = random_() % 60;
    for (std::size_t i = 0; i < length; ++i) key.push_back(static_cast<std::uint8_t>(0x60 + random_() % 5));
    key.push_back(0);
    return key;
}

Workload::State::iterator Workload::Pick(State& state) {
    return std::next(state.begin(), static_cast<std::ptrdiff_t>(random_() % state.size()));
}

void Workload::Add(State& state) {
    Record record;
    record.key = SomeKey();
    record.bytes = SomeBytes(300);
    const std::size_t longest = random_() % 4 == 0 ? 12000 : 500;
    record.longValue = values_.Store(SomeBytes(longest));
    const RowId row = rows_.Append(record.bytes);
    index_.Insert(record.key, row);
    state[row] = std::move(record);
}

void Workload::Modify(State& state) {
    const auto found = Pick(state);
    Record& record = found->second;
    record.bytes = SomeBytes(random_() % 3 == 0 ? 1500 : 300);
    rows_.Replace(found->first, record.bytes);
    index_.Erase(record.key, found->first);
    record.key = SomeKey();
    index_.Insert(record.key, found->first);
}

void Workload::Remove(State& state) {
    const auto found = Pick(state);
    values_.Free(ByteView(found->second.longValue));
    index_.Erase(found->second.key, found->first);
    rows_.Erase(found->first);
    state.erase(found);
}

}  // namespace marrowkit::jet::test
