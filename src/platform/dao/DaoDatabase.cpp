#include <type_traits>

#include "platform/dao/Connection.h"
#include "platform/dao/Dao.h"
#include "platform/dao/RecordsetState.h"
#include "platform/dao/sql/Change.h"
#include "platform/dao/sql/Design.h"
#include "platform/dao/sql/Query.h"
#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/dao/sql/TableResult.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/HostPath.h"
#include "platform/jet/compact/Compact.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/ShownPaths.h"

namespace marrowkit::dao {
namespace {

using jet::JetError;
using jet::RaiseJet;

/// Messages call the file as the caller does.
std::string NeedHostPath(std::string_view path) {
    const auto host = TryHostPath(path);
    if (!host) RaiseJet(JetError::InvalidPath, {std::string(path)});
    jet::ShowPathAs(*host, path);
    return *host;
}

/// Another process's flush can come between two pages of a read. The read is told so before it has changed or
/// answered anything, and sees the new state when it starts again; only a file that never comes to rest is
/// reported to the caller.
template <class Work>
auto OnSettledState(const Work& work) {
    constexpr int kMostTries = 200;
    for (int tries = 1;; ++tries) {
        try {
            return work();
        } catch (const RuntimeError& error) {
            const bool changedMeanwhile = error.number == static_cast<int>(JetError::ChangedByOther);
            if (!changedMeanwhile || tries == kMostTries) throw;
        }
    }
}

/// Runs statements of all kinds on one connection.
class Executor {
public:
    explicit Executor(Connection& connection)
        : connection_(connection), engine_(connection.session->Engine()) {}

    std::int64_t operator()(const sql::Select& select) {
        if (select.into.empty()) sql::RaiseSql(sql::SqlError::SelectExecuted);
        return sql::RunSelectInto(engine_, select);
    }
    std::int64_t operator()(const sql::Insert& insert) {
        return sql::RunInsert(engine_, insert,
                              [this](const jet::Table& table) { connection_.session->BeforeInsert(table); });
    }
    std::int64_t operator()(const sql::Update& update) {
        return sql::RunUpdate(engine_, update,
                              [this](const jet::Table& table) { connection_.session->BeforeChange(table); });
    }
    std::int64_t operator()(const sql::Delete& statement) {
        return sql::RunDelete(engine_, statement,
                              [this](const jet::Table& table) { connection_.session->BeforeChange(table); });
    }
    std::int64_t operator()(const sql::CreateTable& create) {
        sql::RunDesign(engine_, create);
        return 0;
    }
    template <class Design>
    std::int64_t operator()(const Design& design) {
        connection_.session->BeforeDesignChange(design.table);
        sql::RunDesign(engine_, design);
        return 0;
    }

private:
    Connection& connection_;
    jet::Database& engine_;
};

/// A SELECT, or the name of a table.
std::unique_ptr<sql::Result> OpenSource(jet::Database& engine, std::string_view source, RecordsetType type) {
    expression::TokenStream tokens(source);
    const bool statement = tokens.IsKeyword("SELECT") || tokens.IsSymbol("(");
    if (!statement || type == RecordsetType::Table) {
        std::shared_ptr<jet::Table> table = engine.FindTable(source);
        const bool bracketed = tokens.Peek().kind == expression::TokenKind::BracketedName;
        if (!table && bracketed) table = engine.FindTable(tokens.Peek().text);
        if (table) return sql::OpenTableResult(table);
        if (type == RecordsetType::Table) RaiseJet(JetError::ObjectNotFound, {std::string(source)});
        for (const std::string_view word : {"INSERT", "UPDATE", "DELETE", "CREATE", "ALTER", "DROP"})
            if (tokens.IsKeyword(word)) RaiseJet(JetError::InvalidOperation);
        RaiseJet(JetError::InputTableNotFound, {std::string(source)});
    }
    const sql::Statement parsed = sql::ParseStatement(source);
    const auto* select = std::get_if<sql::Select>(&parsed);
    if (!select || !select->into.empty()) RaiseJet(JetError::InvalidOperation);
    return sql::OpenSelect(engine, *select);
}

}  // namespace

struct Database::State {
    std::shared_ptr<Connection> connection;
};

Database::Database(std::unique_ptr<State> state) : state_(std::move(state)) {}
Database::Database(Database&&) noexcept = default;

Database& Database::operator=(Database&& other) noexcept {
    std::swap(state_, other.state_);
    return *this;
}

Database::~Database() {
    // A failure to write must be met by Close; a destructor has nobody to tell.
    try {
        if (state_ && state_->connection->open) Close();
    } catch (const RuntimeError&) {
        return;
    }
}

Connection& Database::Open() const {
    if (!state_ || !state_->connection->open) RaiseJet(JetError::ObjectInvalid);
    return *state_->connection;
}

void Database::Execute(std::string_view text) {
    Connection& connection = Open();
    const sql::Statement statement = sql::ParseStatement(text);
    connection.recordsAffected = 0;
    const std::int64_t affected = OnSettledState([&] { return std::visit(Executor(connection), statement); });
    connection.recordsAffected = static_cast<std::int32_t>(affected);
    connection.Flush();
}

std::int32_t Database::RecordsAffected() const {
    return Open().recordsAffected;
}

Recordset Database::OpenRecordset(std::string_view source, RecordsetType type) {
    Connection& connection = Open();
    if (type != RecordsetType::Table && type != RecordsetType::Dynaset && type != RecordsetType::Snapshot)
        RaiseJet(JetError::InvalidArgument);
    return OnSettledState([&] {
        std::unique_ptr<sql::Result> result = OpenSource(connection.session->Engine(), source, type);
        return Recordset(std::make_unique<Recordset::State>(state_->connection, type, std::move(result)));
    });
}

void Database::RaiseWhenInUse() const {
    Open().session->Engine().GetPager().RaiseWhenInUse();
}

void Database::Close() {
    Connection& connection = Open();
    while (!connection.recordsets.empty()) (*connection.recordsets.begin())->Close();
    connection.open = false;
    connection.Flush();
    connection.session.reset();
}

Database DBEngine::OpenDatabase(std::string_view path, Sharing sharing) {
    auto state = std::make_unique<Database::State>();
    state->connection = std::make_shared<Connection>();
    const std::string host = NeedHostPath(path);
    jet::OpenOptions options;
    options.exclusive = sharing == Sharing::Exclusive;
    state->connection->session =
        OnSettledState([&] { return Session::Of(jet::Database::Open(host, options)); });
    return Database(std::move(state));
}

void DBEngine::CompactDatabase(std::string_view source, std::string_view destination) {
    jet::Compact(NeedHostPath(source), NeedHostPath(destination));
}

void DBEngine::SettleOpenDatabases() noexcept {
    jet::Pager::SettleAll();
}

Database DBEngine::CreateDatabase(std::string_view path, jet::JetVersion version) {
    auto state = std::make_unique<Database::State>();
    state->connection = std::make_shared<Connection>();
    state->connection->session = Session::Of(jet::Database::Create(NeedHostPath(path), version));
    return Database(std::move(state));
}

}  // namespace marrowkit::dao
