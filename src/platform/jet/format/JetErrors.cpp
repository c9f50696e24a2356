#include "platform/jet/format/JetErrors.h"

#include <algorithm>
#include <array>

#include "platform/jet/format/ShownPaths.h"

namespace marrowkit::jet {
namespace {

/// DAO's wording. "<>" stands for the next name, put between single quotes; "{}" for the next piece of text
/// as it is.
struct Wording {
    JetError number;
    std::string_view text;
};

constexpr Wording kWordings[] = {
    {JetError::InvalidArgument, "Invalid argument."},
    {JetError::InvalidDatabaseName, "<> is not a valid database name."},
    {JetError::ExclusivelyLocked, "Database <> is exclusively locked."},
    {JetError::TableOpenedExclusively,
     "The table <> is already opened exclusively by another user, or it is already open through the user "
     "interface and cannot be manipulated programmatically."},
    {JetError::TableLocked,
     "You tried to lock table <> while opening it, but the table cannot be locked because it is currently in "
     "use. Wait a moment, and then try the operation again."},
    {JetError::TableExists, "Table <> already exists."},
    {JetError::ObjectNotFound,
     "The Microsoft Jet database engine could not find the object <>. Make sure the object exists and that "
     "you spell its name and the path name correctly."},
    {JetError::ObjectExists, "Object <> already exists."},
    {JetError::IndexNotFound, "<> isn't an index in this table."},
    {JetError::FieldNotFound, "Could not find field <>."},
    {JetError::NoCurrentIndex, "Operation invalid without a current index."},
    {JetError::UpdateWithoutEdit, "Update or CancelUpdate without AddNew or Edit."},
    {JetError::NoCurrentRecord, "No current record."},
    {JetError::DuplicateKey,
     "The changes you requested to the table were not successful because they would create duplicate values "
     "in the index, primary key, or relationship. Change the data in the field or fields that contain "
     "duplicate data, remove the index, or redefine the index to permit duplicate entries and try again."},
    {JetError::FileNotFound, "Could not find file <>."},
    {JetError::DiskFull, "Not enough space on disk."},
    {JetError::ReadOnly, "Cannot update. Database or object is read-only."},
    {JetError::WrongPassword, "Not a valid password."},
    {JetError::DatabaseFull, "Database has reached maximum size."},
    {JetError::DiskReadError, "Disk I/O error during read."},
    {JetError::OlderFormat, "Cannot open a database created with a previous version of your application."},
    {JetError::DiskError, "Disk or network error."},
    {JetError::InvalidPath,
     "<> is not a valid path. Make sure that the path name is spelled correctly and that you are connected "
     "to the server on which the file resides."},
    {JetError::FileInUse, "Could not use <>; file already in use."},
    {JetError::SaveLocked, "Could not save; currently locked by another user."},
    {JetError::RecordTooLarge, "Record is too large."},
    {JetError::Corrupt,
     "Cannot open database <>. It may not be a database that your application recognizes, or the file may be "
     "corrupt."},
    {JetError::LockFailed, "Could not lock file."},
    {JetError::CannotOpen,
     "The Microsoft Jet database engine cannot open the file <>. It is already opened exclusively by another "
     "user, or you need permission to view its data."},
    {JetError::NullInIndex, "Index or primary key cannot contain a Null value."},
    {JetError::TooFewParameters, "Too few parameters. Expected {}."},
    {JetError::UnknownExpressionName,
     "The Microsoft Jet database engine does not recognize <> as a valid field name or expression."},
    {JetError::TooComplex,
     "This expression is typed incorrectly, or it is too complex to be evaluated. For example, a numeric "
     "expression may contain too many complicated elements. Try simplifying the expression by assigning "
     "parts of the expression to variables."},
    {JetError::NotUpdatable, "Operation must use an updatable query."},
    {JetError::ExpressionSyntax, "{} in query expression <>."},
    {JetError::ExpressionSyntaxNoText, "{} in expression."},
    {JetError::InputTableNotFound,
     "The Microsoft Jet database engine cannot find the input table or query <>. Make sure it exists and "
     "that its name is spelled correctly."},
    {JetError::AmbiguousField,
     "The specified field <> could refer to more than one table listed in the FROM clause of your SQL "
     "statement."},
    {JetError::UndefinedFunction, "Undefined function <> in expression."},
    {JetError::NotInAggregate,
     "You tried to execute a query that does not include the specified expression <> as part of an aggregate "
     "function."},
    {JetError::UnknownInsertField,
     "The INSERT INTO statement contains the following unknown field name: <>. Make sure you have typed the "
     "name correctly, and try the operation again."},
    {JetError::InvalidSqlStatement,
     "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'."},
    {JetError::FromSyntax, "Syntax error in FROM clause."},
    {JetError::InsertSyntax, "Syntax error in INSERT INTO statement."},
    {JetError::SelectSyntax,
     "The SELECT statement includes a reserved word or an argument name that is misspelled or missing, or "
     "the punctuation is incorrect."},
    {JetError::UpdateSyntax, "Syntax error in UPDATE statement."},
    {JetError::FieldTooSmall,
     "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting "
     "less data."},
    {JetError::RecordLocked,
     "The field cannot be updated because another user or process has locked the corresponding record or "
     "table."},
    {JetError::RecordDeleted, "Record is deleted."},
    {JetError::TooManyFields, "Too many fields defined."},
    {JetError::DuplicateField, "Cannot define field more than once."},
    {JetError::ChangedByOther,
     "The Microsoft Jet database engine stopped the process because you and another user are attempting to "
     "change the same data at the same time."},
    {JetError::RelatedRecordsExist,
     "The record cannot be deleted or changed because table <> includes related records."},
    {JetError::RelatedRecordRequired,
     "You cannot add or change a record because a related record is required in table <>."},
    {JetError::DatabaseExists, "Database already exists."},
    {JetError::TableInUse,
     "The database engine could not lock table <> because it is already in use by another person or "
     "process."},
    {JetError::InvalidOperation, "Invalid operation."},
    {JetError::NotSupported, "Operation is not supported for this type of object."},
    {JetError::InvalidFieldType, "Invalid field data type."},
    {JetError::NoFieldDefined, "No field defined -- cannot append TableDef or Index."},
    {JetError::ItemNotFound, "Item not found in this collection."},
    {JetError::UsedInRelationship,
     "Cannot delete this index or table. It's either the current index or is used in a relationship."},
    {JetError::PrimaryKeyExists, "Primary key already exists."},
    {JetError::IndexExists, "Index already exists."},
    {JetError::InvalidIndex, "Invalid index definition."},
    {JetError::CreateTableSyntax, "Syntax error in CREATE TABLE statement."},
    {JetError::CreateIndexSyntax, "Syntax error in CREATE INDEX statement."},
    {JetError::JoinNotSupported, "Join expression not supported."},
    {JetError::FieldInRelationship, "Cannot delete this field. It's part of one or more relationships."},
    {JetError::RequiredField,
     "The field <> cannot contain a Null value because the Required property for this field is set to True. "
     "Enter a value in this field."},
    {JetError::ZeroLength, "Field <> cannot be a zero-length string."},
    {JetError::TableRule, "{}"},
    {JetError::FieldRule,
     "One or more values are prohibited by the validation rule <> set for <>. Enter a value that the "
     "expression for this field can accept."},
    {JetError::UnrecognizedFormat, "Unrecognized database format <>."},
    {JetError::NumericOverflow, "Numeric field overflow."},
    {JetError::OpenedExclusivelyBy,
     "You attempted to open a database that is already opened exclusively by user <> on machine <>. Try "
     "again when the database is available."},
    {JetError::NameInCollection, "Cannot append. An object with that name already exists in the collection."},
    {JetError::RelationshipMismatch,
     "Relationship must be on the same number of fields with the same data types."},
    {JetError::NoSuchConstraint, "Cannot find table or constraint."},
    {JetError::NoSuchIndexOnTable, "No such index <> on table <>."},
    {JetError::IndexExistsOnTable, "Table <> already has an index named <>."},
    {JetError::TableDoesNotExist, "Table <> does not exist."},
    {JetError::RelationshipViolated,
     "Cannot create relationships to enforce referential integrity. Existing data in table <> violates "
     "referential integrity rules in table <>."},
    {JetError::FieldExistsInTable, "Field <> already exists in table <>."},
    {JetError::NoSuchFieldInTable, "There is no field named <> in table <>."},
    {JetError::CascadeRelatedExists,
     "Cannot perform cascading operation. Since related records exist in table <>, referential integrity "
     "rules would be violated."},
    {JetError::CascadeRelatedRequired,
     "Cannot perform cascading operation. There must be a related record in table <>."},
    {JetError::CascadeRule,
     "Cannot perform cascading operation. The value entered is prohibited by the validation rule <> set for "
     "<>."},
    {JetError::InvalidIndexField, "Invalid field name <> in definition of index or relationship."},
    {JetError::CascadeTooLarge,
     "Invalid entry. Cannot perform cascading operation in table <> because the value entered is too large "
     "for field <>."},
    {JetError::ObjectInvalid, "Object is invalid or no longer set."},
    {JetError::ConversionError, "Data type conversion error."},
    {JetError::NeedsRepair,
     "A problem occurred in your database; correct the problem by repairing and compacting the database."},
    {JetError::CriteriaTypeMismatch, "Data type mismatch in criteria expression."},
    {JetError::JoinTypeMismatch, "Type mismatch in JOIN expression."},
    {JetError::OpenedBy,
     "You attempted to open a database that is already opened by user <> on machine <>. Try again when the "
     "database is available."},
};

std::string_view WordingOf(JetError number) {
    const auto* const found = std::find_if(std::begin(kWordings), std::end(kWordings),
                                           [number](const Wording& w) { return w.number == number; });
    return found == std::end(kWordings) ? std::string_view{} : found->text;
}

}  // namespace

std::string JetErrorText(JetError number, const std::vector<std::string>& names) {
    // Without a name to complain about, DAO words this one differently.
    if (number == JetError::IndexNotFound && names.empty()) return "Index not found.";
    const std::string_view wording = WordingOf(number);
    std::string text;
    std::size_t used = 0;
    for (std::size_t at = 0; at < wording.size(); ++at) {
        const std::string_view place = wording.substr(at, 2);
        if (place != "<>" && place != "{}") {
            text.push_back(wording[at]);
            continue;
        }
        const std::string name = used < names.size() ? ShownPath(names[used]) : std::string();
        ++used;
        text += place == "<>" ? "'" + name + "'" : name;
        ++at;
    }
    return text;
}

void RaiseJet(JetError number, const std::vector<std::string>& names) {
    throw RuntimeError(static_cast<int>(number), JetErrorText(number, names));
}

void RaiseCorrupt(std::string_view file, std::string_view where) {
    std::string text = JetErrorText(JetError::Corrupt, {std::string(file)});
    if (!where.empty()) text.append(" (").append(where).append(")");
    throw RuntimeError(static_cast<int>(JetError::Corrupt), text);
}

}  // namespace marrowkit::jet
