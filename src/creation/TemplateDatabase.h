#pragma once

#include <string>

#include "creation/FrontendSchema.h"
#include "platform/jet/format/Format.h"

namespace marrowkit {

/// Makes a blank database of the frontend: all tables, indexes and relationships of that schema version and
/// the records it starts with. It can serve as Empty.mdb. Path of the host or of Windows.
///
/// Throws 3204 when the file exists, and whatever writing it raises; the file is then removed.
void CreateTemplateDatabase(const std::string& path, jet::JetVersion format, SchemaVersion version);

}  // namespace marrowkit
