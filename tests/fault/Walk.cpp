#include "fault/Walk.h"

#include <exception>
#include <numeric>
#include <variant>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::test {

namespace {

std::vector<std::size_t> AllColumns(const jet::Table& table) {
    std::vector<std::size_t> columns(table.Columns().size());
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    return columns;
}

class Writer {
public:
    Writer(jet::Database& database, std::vector<std::string>& ills) : database_(database), ills_(ills) {}

    void ChangeTable(const std::string& name) {
        Attempt([&] {
            const auto table = database_.OpenTable(name);
            std::vector<jet::RowId> ids;
            jet::Row first;
            ReadFirstRows(*table, ids, first);
            std::vector<jet::Assignment> copy;
            for (std::size_t column = 0; column < first.size(); ++column) {
                if (!table->Columns()[column].autoNumber) copy.push_back({column, first[column]});
            }
            if (!ids.empty()) Change([&] { table->Update(ids.front(), Longer(*table, first)); });
            Change([&] { table->Insert(copy); });
            if (ids.size() > 1) Change([&] { table->Delete(ids.back()); });
        });
    }
    int Changes() const { return changes_; }

private:
    static void ReadFirstRows(const jet::Table& table, std::vector<jet::RowId>& ids, jet::Row& first) {
        constexpr std::size_t kRows = 3;
        const auto scan = table.OpenScan(AllColumns(table));
        while (ids.size() < kRows && scan->Next()) {
            if (ids.empty()) first = scan->Values();
            ids.push_back(scan->Id());
        }
    }

    /// The row with its texts and binaries grown: rows move, long values are replaced.
    static std::vector<jet::Assignment> Longer(const jet::Table& table, const jet::Row& row) {
        std::vector<jet::Assignment> changed;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const jet::ColumnType type = table.Columns()[i].type;
            if (type == jet::ColumnType::Memo) changed.push_back({i, std::string(3000, 'm')});
            if (type == jet::ColumnType::Ole) changed.push_back({i, jet::Binary(9000, 7)});
            if (type == jet::ColumnType::Text) {
                changed.push_back({i, std::string(static_cast<std::size_t>(table.Columns()[i].size), 't')});
            }
        }
        return changed;
    }

    template <typename Step>
    bool Attempt(const Step& step) {
        try {
            step();
            return true;
        } catch (const RuntimeError&) {
            // Refused.
        } catch (const std::exception& error) {
            ills_.push_back(std::string("writing: ") + error.what());
        }
        return false;
    }
    template <typename Step>
    void Change(const Step& step) {
        if (Attempt(step)) ++changes_;
    }

    jet::Database& database_;
    std::vector<std::string>& ills_;
    int changes_ = 0;
};

}  // namespace

void ReadEverything(jet::Storage& storage, const std::string& path) {
    jet::OpenOptions options;
    options.readOnly = true;
    options.storage = &storage;
    const auto database = jet::Database::Open(path, options);
    database->Relationships();
    for (const std::string& name : database->TableNames(true)) {
        try {
            const auto table = database->OpenTable(name);
            const std::vector<std::size_t> columns = AllColumns(*table);
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

int WriteSomething(jet::Storage& storage, const std::string& path, std::vector<std::string>& ills) {
    jet::OpenOptions options;
    options.storage = &storage;
    const auto database = jet::Database::Open(path, options);
    Writer writer(*database, ills);
    for (const std::string& name : database->TableNames()) writer.ChangeTable(name);
    database->GetPager().Flush();
    return writer.Changes();
}

}  // namespace marrowkit::test
