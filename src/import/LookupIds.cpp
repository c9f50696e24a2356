#include "import/LookupIds.h"

#include "platform/jet/expression/Conversion.h"

namespace marrowkit {

LookupIds::LookupIds(dao::Database& database, std::string_view table, std::string_view keyField,
                     std::string_view nameField)
    : database_(database), table_(table), keyField_(keyField), nameField_(nameField) {
    query_.append("SELECT * FROM ").append(table).append(" WHERE ").append(nameField).append(" = \"");
}

std::int32_t LookupIds::IdOf(const std::string& name) {
    if (name.find('"') != std::string::npos) return FindOrAdd(name);
    const auto known = known_.find(name);
    if (known != known_.end()) return known->second;
    const std::int32_t id = FindOrAdd(name);
    known_.emplace(name, id);
    return id;
}

std::int32_t LookupIds::FindOrAdd(const std::string& name) {
    dao::Recordset rows = database_.OpenRecordset(query_ + name + '"');
    if (rows.EOF_()) return Add(name);
    rows.MoveFirst();
    return expression::ToLong(rows.Fields(keyField_).Value());
}

std::int32_t LookupIds::Add(const std::string& name) {
    if (!additions_) additions_ = database_.OpenRecordset("SELECT * FROM " + table_);
    additions_->AddNew();
    const std::int32_t id = expression::ToLong(additions_->Fields(keyField_).Value());
    additions_->Fields(nameField_).SetValue(name);
    additions_->Update();
    return id;
}

}  // namespace marrowkit
