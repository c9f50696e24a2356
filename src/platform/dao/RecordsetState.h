#pragma once

#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "platform/dao/Connection.h"
#include "platform/dao/NameTable.h"
#include "platform/dao/sql/Result.h"

namespace marrowkit::dao {

/// Everything behind a Recordset. Stays where it is while the Recordset object is moved, so that fields can
/// point here.
struct Recordset::State {
    enum class Mode { Reading, Adding, Editing };
    enum class Place { BeforeFirst, AtRecord, BehindLast };

    State(std::shared_ptr<Connection> connection, RecordsetType type, std::unique_ptr<sql::Result> result);
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();

    /// Raises 3420 once closed.
    void CheckOpen() const;
    /// Raises 3021 without a current record, 3167 when it was deleted through this recordset.
    void CheckCurrent() const;
    /// Raises 3251 for a snapshot, 3027 for a query whose records are not rows of one table.
    void CheckUpdatable() const;

    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    std::int32_t RecordCount() const;

    Value Read(std::size_t field) const;
    void Write(std::size_t field, Value&& value);
    void AddNew();
    void Edit();
    void Update();
    void CancelUpdate();
    void Delete();
    /// Lets go of everything; makes changes durable. Nothing else may be called afterwards.
    void Close();

    std::shared_ptr<Connection> connection;
    RecordsetType type;
    std::unique_ptr<sql::Result> result;
    NameTable names;

private:
    void LeaveMode();
    void StepForward(std::size_t from);
    void Visit(std::size_t record);
    bool IsLive(std::size_t record) const { return !deleted_.contains(record); }
    void Assign(std::size_t field, std::size_t column, Value&& value);
    std::size_t TableColumn(std::size_t field) const;

    std::shared_ptr<jet::Table> table_;  ///< whose rows the records are; null when they are computed
    Place place_ = Place::BehindLast;
    bool empty_ = true;  ///< BOF and EOF at once
    std::size_t record_ = 0;
    std::size_t visited_ = 0;    ///< one more than the highest record that was current
    std::size_t firstLive_ = 0;  ///< no record before it is left
    std::unordered_set<std::size_t> deleted_;
    Mode mode_ = Mode::Reading;
    static constexpr std::size_t kNotAssigned = 0;
    std::vector<jet::Assignment> assignments_;  ///< while adding or editing
    std::vector<std::size_t> assigned_;         ///< by field: one more than its place in assignments_
    bool changed_ = false;

    friend class Recordset;
};

}  // namespace marrowkit::dao
