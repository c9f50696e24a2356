#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/errors/RuntimeError.h"

namespace marrowkit::jet {

/// DAO's error numbers, as far as the engine raises them. Their English texts are DAO's own.
enum class JetError : int {
    InvalidArgument = 3001,
    InvalidDatabaseName = 3005,
    ExclusivelyLocked = 3006,
    TableOpenedExclusively = 3008,
    TableLocked = 3009,
    TableExists = 3010,
    ObjectNotFound = 3011,
    ObjectExists = 3012,
    IndexNotFound = 3015,
    FieldNotFound = 3018,
    NoCurrentIndex = 3019,
    UpdateWithoutEdit = 3020,
    NoCurrentRecord = 3021,
    DuplicateKey = 3022,
    FileNotFound = 3024,
    DiskFull = 3026,
    ReadOnly = 3027,
    WrongPassword = 3031,
    DatabaseFull = 3036,
    DiskReadError = 3040,
    OlderFormat = 3041,
    DiskError = 3043,
    InvalidPath = 3044,
    FileInUse = 3045,
    SaveLocked = 3046,
    RecordTooLarge = 3047,
    Corrupt = 3049,
    LockFailed = 3050,
    CannotOpen = 3051,
    NullInIndex = 3058,
    TooFewParameters = 3061,
    UnknownExpressionName = 3070,
    TooComplex = 3071,
    NotUpdatable = 3073,
    ExpressionSyntax = 3075,
    ExpressionSyntaxNoText = 3077,
    InputTableNotFound = 3078,
    AmbiguousField = 3079,
    UndefinedFunction = 3085,
    NotInAggregate = 3122,
    UnknownInsertField = 3127,
    InvalidSqlStatement = 3129,
    FromSyntax = 3131,
    InsertSyntax = 3134,
    SelectSyntax = 3141,
    UpdateSyntax = 3144,
    FieldTooSmall = 3163,
    RecordLocked = 3164,
    RecordDeleted = 3167,
    TooManyFields = 3190,
    DuplicateField = 3191,
    ChangedByOther = 3197,
    RelatedRecordsExist = 3200,
    RelatedRecordRequired = 3201,
    DatabaseExists = 3204,
    TableInUse = 3211,
    InvalidOperation = 3219,
    NotSupported = 3251,
    InvalidFieldType = 3259,
    NoFieldDefined = 3264,
    ItemNotFound = 3265,
    UsedInRelationship = 3281,
    PrimaryKeyExists = 3283,
    IndexExists = 3284,
    InvalidIndex = 3285,
    CreateTableSyntax = 3290,
    CreateIndexSyntax = 3291,
    JoinNotSupported = 3296,
    FieldInRelationship = 3303,
    RequiredField = 3314,
    ZeroLength = 3315,
    TableRule = 3316,
    FieldRule = 3317,
    UnrecognizedFormat = 3343,
    NumericOverflow = 3349,
    OpenedExclusivelyBy = 3356,
    NameInCollection = 3367,
    RelationshipMismatch = 3368,
    NoSuchConstraint = 3371,
    NoSuchIndexOnTable = 3372,
    IndexExistsOnTable = 3375,
    TableDoesNotExist = 3376,
    RelationshipViolated = 3379,
    FieldExistsInTable = 3380,
    NoSuchFieldInTable = 3381,
    CascadeRelatedExists = 3396,
    CascadeRelatedRequired = 3397,
    CascadeRule = 3404,
    InvalidIndexField = 3409,
    CascadeTooLarge = 3411,
    ObjectInvalid = 3420,
    ConversionError = 3421,
    NeedsRepair = 3428,
    CriteriaTypeMismatch = 3464,
    JoinTypeMismatch = 3615,
    OpenedBy = 3704,
};

/// DAO's text of a number with its places (tables, fields, files) filled in order; names are put between
/// single quotes as DAO does.
std::string JetErrorText(JetError number, const std::vector<std::string>& names = {});

/// Throws RuntimeError{number, JetErrorText(number, names)}.
[[noreturn]] void RaiseJet(JetError number, const std::vector<std::string>& names = {});

/// Damage found while reading: 3049 with the file's name is what the user sees, `where` (page, table, row,
/// index and what is wrong with it) is appended for the report.
[[noreturn]] void RaiseCorrupt(std::string_view file, std::string_view where);

}  // namespace marrowkit::jet
