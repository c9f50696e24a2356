#include <map>
#include <utility>

#include "platform/jet/engine/DatabaseCreation.h"
#include "platform/jet/engine/LocalDatabase.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/NewFileGuard.h"

namespace marrowkit::jet {

namespace {

/// The databases this process has open, by the identity of their files.
std::map<std::string, std::weak_ptr<Database>>& OpenDatabases() {
    static std::map<std::string, std::weak_ptr<Database>> databases;
    return databases;
}

std::shared_ptr<Database> Remember(Storage& storage, std::shared_ptr<Pager> pager) {
    auto& databases = OpenDatabases();
    std::erase_if(databases, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<Database>& known = databases[storage.Identity(pager->Path())];
    // The pager is shared by all who open the file; the database object above it must be, too.
    if (auto database = known.lock(); database && &database->GetPager() == pager.get()) return database;
    auto database = std::make_shared<LocalDatabase>(std::move(pager));
    known = database;
    return database;
}

PagerOptions PagerOptionsOf(const OpenOptions& options) {
    PagerOptions result;
    result.readOnly = options.readOnly;
    result.exclusive = options.exclusive;
    result.cacheBytes = options.cacheBytes;
    return result;
}

Storage& StorageOf(const OpenOptions& options) {
    return options.storage == nullptr ? HostStorage() : *options.storage;
}

}  // namespace

std::shared_ptr<Database> Database::Open(const std::string& path, const OpenOptions& options) {
    Storage& storage = StorageOf(options);
    return Remember(storage, Pager::Open(storage, path, PagerOptionsOf(options)));
}

std::shared_ptr<Database> Database::Create(const std::string& path, JetVersion version,
                                           const OpenOptions& options) {
    Storage& storage = StorageOf(options);
    const DatabaseHeader header = NewDatabaseHeader(version, CreationTime());
    std::shared_ptr<Pager> pager = Pager::Create(storage, path, header, PagerOptionsOf(options));
    try {
        std::shared_ptr<Database> database = Remember(storage, pager);
        WriteSystemTables(static_cast<LocalDatabase&>(*database));
        pager->Flush();
        return database;
    } catch (...) {
        pager.reset();  // closes the file
        const NewFileGuard unfinished(storage, path);
        throw;
    }
}

}  // namespace marrowkit::jet
