#include "fault/Survival.h"

#include <ctime>
#include <exception>

#include "fault/MemoryStorage.h"
#include "fault/Walk.h"
#include "platform/errors/RuntimeError.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::test {

namespace {

constexpr std::size_t kProblemsAsked = 50;

double CpuSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// Runs a step that may be refused with a numbered error, and with nothing else. Returns whether it
/// succeeded.
template <typename Step>
bool Attempt(Survival& survival, const char* what, const Step& step) {
    try {
        step();
        return true;
    } catch (const RuntimeError& error) {
        if (error.number <= 0) survival.ills.push_back(std::string(what) + ": an error without a number");
    } catch (const std::exception& error) {
        survival.ills.push_back(std::string(what) + ": " + error.what());
    }
    return false;
}

}  // namespace

Survival Survive(const std::vector<std::uint8_t>& database) {
    Survival survival;
    const double start = CpuSeconds();
    MemoryStorage storage;
    storage.Put("damaged.mdb", database);
    survival.opened = Attempt(survival, "reading", [&] { ReadEverything(storage, "damaged.mdb"); });
    // Damage is a finding, never an error.
    const bool checked = Attempt(survival, "check", [&] {
        survival.problems = jet::Check("damaged.mdb", kProblemsAsked, &storage).size();
    });
    if (!checked) survival.ills.emplace_back("the check threw");

    jet::OpenOptions options;
    options.storage = &storage;
    survival.copied =
        Attempt(survival, "compaction", [&] { jet::Compact("damaged.mdb", "copy.mdb", options); });
    if (survival.copied != storage.Exists("copy.mdb")) {
        survival.ills.emplace_back(survival.copied ? "no copy" : "a failed compaction left a file");
    }
    if (storage.Get("damaged.mdb") != database) survival.ills.emplace_back("reading changed the file");

    Attempt(survival, "writing",
            [&] { survival.written = WriteSomething(storage, "damaged.mdb", survival.ills) > 0; });
    Attempt(survival, "check after writing", [&] { jet::Check("damaged.mdb", kProblemsAsked, &storage); });
    survival.cpuSeconds = CpuSeconds() - start;
    return survival;
}

}  // namespace marrowkit::test
