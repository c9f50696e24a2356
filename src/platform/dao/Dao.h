#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/jet/format/Format.h"
#include "platform/jet/format/Value.h"

namespace marrowkit::dao {

using jet::Value;

struct Connection;
class Field;

/// The numbers are DAO's own.
enum class RecordsetType : int { Table = 1, Dynaset = 2, Snapshot = 4 };

/// Records of a table or a SELECT, one of them current. A table and a dynaset read through to the database
/// and see changes; a snapshot keeps what it saw when it was opened and cannot be changed (3251).
///
/// A dynaset of one table without DISTINCT, grouping and aggregates can be changed, computed columns excepted
/// (3164); other dynasets are read-only (3027). Opening reads no more than the first record, unless a sort
/// needs them all. Changes are durable when the recordset or its database is closed. After Close, or that of
/// the database, every use raises 3420.
class Recordset {
public:
    ~Recordset();
    Recordset(Recordset&&) noexcept;
    Recordset& operator=(Recordset&&) noexcept;

    /// Both are true when there are no records.
    bool BOF() const;
    bool EOF_() const;  ///< EOF is a macro of the C library
    /// All give up an edit that is under way. MoveFirst and MoveLast raise 3021 without records, MoveNext at
    /// EOF, MovePrevious at BOF.
    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    /// Records visited so far (all of them after MoveLast); all of them at once for type Table.
    std::int32_t RecordCount() const;

    /// By name, ignoring case (3265 when unknown), or by position.
    Field Fields(std::string_view name);
    Field Fields(std::size_t position);
    std::size_t FieldCount() const;

    /// The new record's AutoNumber can be read before Update. After Update the record that was current is
    /// still the current one; the new one comes behind the others.
    void AddNew();
    /// Raises 3021 without a current record, 3167 when it was deleted.
    void Edit();
    /// Raises 3020 without AddNew or Edit, and what the table's rules raise; then the edit goes on.
    void Update();
    void CancelUpdate();
    /// The deleted record stays current, unreadable (3167), until a move.
    void Delete();
    void Close();

    struct State;

private:
    friend class Database;
    friend class Field;
    explicit Recordset(std::unique_ptr<State> state);
    State& Open() const;
    std::unique_ptr<State> state_;
};

/// One column of a recordset's current record (or of the record being added or edited). A view into the
/// recordset that may be kept and used for record after record, while the recordset object lives (it may be
/// moved).
class Field {
public:
    const std::string& Name() const;
    jet::ColumnType Type() const;
    /// Throws 3021 without a current record, 3167 when it was deleted.
    jet::Value Value() const;
    /// Throws 3020 without AddNew or Edit, 3421 when the value cannot be converted to the column's type.
    void SetValue(jet::Value value);

private:
    friend class Recordset;
    Field(Recordset::State* recordset, std::size_t column) : recordset_(recordset), column_(column) {}
    Recordset::State* recordset_;
    std::size_t column_;
};

/// An open connection. Text of statements is UTF-8.
class Database {
public:
    ~Database();
    Database(Database&&) noexcept;
    Database& operator=(Database&&) noexcept;

    /// Runs one statement that returns no records (3065 for a SELECT). All or nothing, and durable on return.
    void Execute(std::string_view sql);
    /// Records that the last Execute inserted, changed or deleted.
    std::int32_t RecordsAffected() const;
    /// `source` is a SELECT or the name of a table; type Table takes a name only (3011). Raises 3219 for a
    /// statement that returns no records.
    Recordset OpenRecordset(std::string_view source, RecordsetType type = RecordsetType::Dynaset);
    /// Raises 3045, 3356 or 3704 when a program that does not keep to the exclusive opening, as the frontend,
    /// has come since. REQUIRES: opened exclusively.
    void RaiseWhenInUse() const;
    /// Closes its recordsets too. Every later use raises 3420.
    void Close();

    struct State;

private:
    friend class DBEngine;
    explicit Database(std::unique_ptr<State> state);
    Connection& Open() const;
    std::unique_ptr<State> state_;
};

/// Exclusive: other processes can neither open the database (3045) nor have it open (3045, 3356, 3704).
enum class Sharing { Shared, Exclusive };

/// The database engine object. Raises 3044 for a path that cannot be one. Paths are the program's Windows
/// path texts, or host paths.
class DBEngine {
public:
    /// What this process opens meanwhile shares an exclusive opening.
    Database OpenDatabase(std::string_view path, Sharing sharing = Sharing::Shared);
    void CompactDatabase(std::string_view source, std::string_view destination);
    Database CreateDatabase(std::string_view path, jet::JetVersion version = jet::JetVersion::Jet4);

    /// For a process that exits in the middle of its work: what is half done in open databases is undone,
    /// what is complete is written. Nothing in them can be used afterwards.
    static void SettleOpenDatabases() noexcept;
};

}  // namespace marrowkit::dao
