#include "fault/Walk.h"

#include <numeric>
#include <vector>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::test {

void ReadEverything(jet::Storage& storage, const std::string& path) {
    jet::OpenOptions options;
    options.readOnly = true;
    options.storage = &storage;
    const auto database = jet::Database::Open(path, options);
    database->Relationships();
    for (const std::string& name : database->TableNames(true)) {
        try {
            const auto table = database->OpenTable(name);
            std::vector<std::size_t> columns(table->Columns().size());
            std::iota(columns.begin(), columns.end(), std::size_t{0});
            const auto scan = table->OpenScan(columns);
            while (scan->Next()) {
            }
            for (std::size_t index = 0; index < table->Indexes().size(); ++index) {
                const auto walk = table->OpenIndexScan(index, jet::IndexRange::All(), columns);
                while (walk->Next()) {
                }
            }
        } catch (const RuntimeError&) {
            continue;
        }
    }
}

}  // namespace marrowkit::test
