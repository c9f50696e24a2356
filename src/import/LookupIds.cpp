#include "import/LookupIds.h"

#include <type_traits>
#include <variant>

#include "platform/errors/RuntimeError.h"

namespace marrowkit {

namespace {

std::int32_t ToLong(const jet::Value& value) {
    return std::visit(
        [](const auto& held) -> std::int32_t {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::int32_t> || std::is_same_v<Held, std::int16_t> ||
                          std::is_same_v<Held, std::uint8_t>) {
                return held;
            } else {
                Raise(RuntimeErrorNumber::TypeMismatch);
            }
        },
        value);
}

}  // namespace

LookupIds::LookupIds(dao::Database& database, std::string_view table, std::string_view keyField,
                     std::string_view nameField)
    : database_(database), keyField_(keyField), nameField_(nameField) {
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
    std::int32_t id = 0;
    if (rows.EOF_()) {
        rows.AddNew();
        id = ToLong(rows.Fields(keyField_).Value());
        rows.Fields(nameField_).SetValue(name);
        rows.Update();
    } else {
        rows.MoveFirst();
        id = ToLong(rows.Fields(keyField_).Value());
    }
    rows.Close();
    return id;
}

}  // namespace marrowkit
