#pragma once

#include <memory>
#include <set>
#include <string_view>

#include "platform/dao/Dao.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::dao {

/// All users of one database file in this process. Recordsets that walk through a table must know when
/// somebody else changes it, over whichever connection.
class Session {
public:
    /// The session of an open database; made when it is the first.
    static std::shared_ptr<Session> Of(const std::shared_ptr<jet::Database>& engine);

    explicit Session(std::shared_ptr<jet::Database> engine) : engine_(std::move(engine)) {}

    jet::Database& Engine() { return *engine_; }
    void Enter(Recordset::State* recordset) { recordsets_.insert(recordset); }
    void Leave(Recordset::State* recordset) { recordsets_.erase(recordset); }

    /// Rows of a table are about to be added: walks through it stop, snapshots of it take what they need.
    void BeforeInsert(const jet::Table& table);
    /// Rows are about to be changed or deleted, which relationships may carry on to other tables.
    void BeforeChange(const jet::Table& table);
    /// The design of a table is about to change. Raises 3211 while a recordset is open on it.
    void BeforeDesignChange(std::string_view table);

private:
    void LetGo(const jet::Table* table);

    std::shared_ptr<jet::Database> engine_;
    std::set<Recordset::State*> recordsets_;
};

/// One Database object with the recordsets that were opened over it and are closed with it.
struct Connection {
    std::shared_ptr<Session> session;
    std::set<Recordset::State*> recordsets;
    std::int32_t recordsAffected = 0;
    bool open = true;

    /// Makes what was changed durable, unless somebody's unit is still open.
    void Flush();
};

}  // namespace marrowkit::dao
