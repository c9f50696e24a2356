#include "maintenance/DatabaseVersion.h"

#include <exception>

#include "maintenance/SchemaNames.h"
#include "platform/dao/Dao.h"
#include "platform/jet/expression/Conversion.h"

namespace marrowkit {
namespace {

/// The tenths are rounded to single precision before they are added, and so is the sum.
float VersionFrom(std::int32_t major, std::int32_t minor) {
    const auto tenths = static_cast<float>(minor / 10.0);
    return static_cast<float>(static_cast<double>(major) + static_cast<double>(tenths));
}

}  // namespace

float GetDatabaseVersion(const std::string& path) {
    try {
        dao::Database database = dao::DBEngine().OpenDatabase(path);
        dao::Recordset config = database.OpenRecordset(schema::kConfig, dao::RecordsetType::Snapshot);
        float version = kUnknownDatabaseVersion;
        if (!config.EOF_()) {
            config.MoveFirst();
            version = VersionFrom(expression::ToLong(config.Fields(schema::kMajorVersion).Value()),
                                  expression::ToLong(config.Fields(schema::kMinorVersion).Value()));
        }
        config.Close();
        database.Close();
        return version;
    } catch (const std::exception&) {
        return kUnknownDatabaseVersion;
    }
}

}  // namespace marrowkit
