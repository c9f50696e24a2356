#pragma once

#include "platform/dao/sql/Statement.h"
#include "platform/jet/engine/Database.h"

namespace marrowkit::dao::sql {

// Statements that change the design; each is one unit. Constraints without a name get one. A reference that
// names no columns means the primary key of the table it names. Raise 3371 for a table that is not there,
// 3372 for an index, and what the database raises.
void RunDesign(jet::Database& database, const CreateTable& create);
void RunDesign(jet::Database& database, const AddColumn& add);
void RunDesign(jet::Database& database, const AddConstraint& add);
void RunDesign(jet::Database& database, const DropColumn& drop);
void RunDesign(jet::Database& database, const DropConstraint& drop);
void RunDesign(jet::Database& database, const CreateIndex& create);
void RunDesign(jet::Database& database, const DropIndex& drop);
void RunDesign(jet::Database& database, const DropTable& drop);

}  // namespace marrowkit::dao::sql
