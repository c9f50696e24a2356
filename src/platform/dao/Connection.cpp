#include "platform/dao/Connection.h"

#include <map>
#include <mutex>

#include "platform/dao/RecordsetState.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/text/Text.h"

namespace marrowkit::dao {

std::shared_ptr<Session> Session::Of(const std::shared_ptr<jet::Database>& engine) {
    static std::mutex mutex;
    static std::map<const jet::Database*, std::weak_ptr<Session>> sessions;
    const std::scoped_lock lock(mutex);
    std::erase_if(sessions, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<Session>& known = sessions[engine.get()];
    std::shared_ptr<Session> session = known.lock();
    if (!session) {
        session = std::make_shared<Session>(engine);
        known = session;
    }
    return session;
}

void Session::LetGo(const jet::Table* table) {
    for (Recordset::State* recordset : recordsets_) {
        const auto walked = recordset->result->ItsTable();
        if (!walked || (table && walked.get() != table)) continue;
        if (recordset->type == RecordsetType::Snapshot)
            recordset->result->Freeze();
        else
            recordset->result->Suspend();
    }
}

void Session::BeforeInsert(const jet::Table& table) {
    LetGo(&table);
}

void Session::BeforeChange(const jet::Table& table) {
    const bool alone = recordsets_.size() <= 1;
    LetGo(alone || engine_->Relationships().empty() ? &table : nullptr);
}

void Session::BeforeDesignChange(std::string_view table) {
    for (const Recordset::State* recordset : recordsets_) {
        const auto walked = recordset->result->ItsTable();
        if (walked && EqualNoCase(walked->Name(), table))
            jet::RaiseJet(jet::JetError::TableInUse, {std::string(table)});
    }
    LetGo(nullptr);
}

void Connection::Flush() {
    jet::Pager& pager = session->Engine().GetPager();
    if (pager.UnitDepth() == 0) pager.Flush();
}

}  // namespace marrowkit::dao
