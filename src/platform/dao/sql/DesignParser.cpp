#include <algorithm>
#include <array>

#include "platform/dao/sql/SqlErrors.h"
#include "platform/dao/sql/StatementParser.h"
#include "platform/jet/expression/Characters.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::dao::sql {
namespace {

using expression::Token;
using expression::TokenKind;
using expression::TokenStream;
using jet::ColumnType;
using jet::JetError;
using jet::RaiseJet;

struct TypeWord {
    std::string_view word;
    ColumnType type;
};

/// The type names of the language with their synonyms.
constexpr std::array kTypeWords{
    TypeWord{"BIT", ColumnType::Boolean},
    TypeWord{"BOOLEAN", ColumnType::Boolean},
    TypeWord{"LOGICAL", ColumnType::Boolean},
    TypeWord{"LOGICAL1", ColumnType::Boolean},
    TypeWord{"YESNO", ColumnType::Boolean},
    TypeWord{"BYTE", ColumnType::Byte},
    TypeWord{"INTEGER1", ColumnType::Byte},
    TypeWord{"TINYINT", ColumnType::Byte},
    TypeWord{"SHORT", ColumnType::Integer},
    TypeWord{"SMALLINT", ColumnType::Integer},
    TypeWord{"INTEGER2", ColumnType::Integer},
    TypeWord{"LONG", ColumnType::Long},
    TypeWord{"INT", ColumnType::Long},
    TypeWord{"INTEGER", ColumnType::Long},
    TypeWord{"INTEGER4", ColumnType::Long},
    TypeWord{"COUNTER", ColumnType::Long},
    TypeWord{"AUTOINCREMENT", ColumnType::Long},
    TypeWord{"IDENTITY", ColumnType::Long},
    TypeWord{"CURRENCY", ColumnType::Currency},
    TypeWord{"MONEY", ColumnType::Currency},
    TypeWord{"SINGLE", ColumnType::Single},
    TypeWord{"FLOAT4", ColumnType::Single},
    TypeWord{"IEEESINGLE", ColumnType::Single},
    TypeWord{"REAL", ColumnType::Single},
    TypeWord{"DOUBLE", ColumnType::Double},
    TypeWord{"FLOAT", ColumnType::Double},
    TypeWord{"FLOAT8", ColumnType::Double},
    TypeWord{"IEEEDOUBLE", ColumnType::Double},
    TypeWord{"NUMBER", ColumnType::Double},
    TypeWord{"NUMERIC", ColumnType::Double},
    TypeWord{"DECIMAL", ColumnType::Numeric},
    TypeWord{"DEC", ColumnType::Numeric},
    TypeWord{"DATETIME", ColumnType::DateTime},
    TypeWord{"DATE", ColumnType::DateTime},
    TypeWord{"TIME", ColumnType::DateTime},
    TypeWord{"TIMESTAMP", ColumnType::DateTime},
    TypeWord{"TEXT", ColumnType::Text},
    TypeWord{"CHAR", ColumnType::Text},
    TypeWord{"VARCHAR", ColumnType::Text},
    TypeWord{"STRING", ColumnType::Text},
    TypeWord{"CHARACTER", ColumnType::Text},
    TypeWord{"ALPHANUMERIC", ColumnType::Text},
    TypeWord{"NCHAR", ColumnType::Text},
    TypeWord{"NVARCHAR", ColumnType::Text},
    TypeWord{"MEMO", ColumnType::Memo},
    TypeWord{"LONGTEXT", ColumnType::Memo},
    TypeWord{"LONGCHAR", ColumnType::Memo},
    TypeWord{"NOTE", ColumnType::Memo},
    TypeWord{"NTEXT", ColumnType::Memo},
    TypeWord{"BINARY", ColumnType::Binary},
    TypeWord{"VARBINARY", ColumnType::Binary},
    TypeWord{"LONGBINARY", ColumnType::Ole},
    TypeWord{"GENERAL", ColumnType::Ole},
    TypeWord{"OLEOBJECT", ColumnType::Ole},
    TypeWord{"IMAGE", ColumnType::Ole},
    TypeWord{"GUID", ColumnType::Guid},
    TypeWord{"UNIQUEIDENTIFIER", ColumnType::Guid},
};

/// Sizes of columns that are given none.
constexpr int kDefaultTextChars = 255;
constexpr int kDefaultBinaryBytes = 255;
constexpr std::uint8_t kDefaultPrecision = 18;

bool AtItemEnd(const TokenStream& tokens) {
    return tokens.AtEnd() || tokens.IsSymbol(",") || tokens.IsSymbol(")") || tokens.IsSymbol(";");
}

/// Up to two numbers in parentheses.
std::vector<int> TakeSizes(TokenStream& tokens) {
    std::vector<int> sizes;
    if (!tokens.TakeSymbol("(")) return sizes;
    do {
        const Token& token = tokens.Take();
        const auto* number =
            token.kind == TokenKind::Literal ? std::get_if<std::int32_t>(&token.value) : nullptr;
        if (!number || *number < 0 || sizes.size() == 2) RaiseSql(SqlError::FieldSyntax);
        sizes.push_back(*number);
    } while (tokens.TakeSymbol(","));
    if (!tokens.TakeSymbol(")")) RaiseSql(SqlError::FieldSyntax);
    return sizes;
}

void ApplySizes(jet::Column& column, const std::vector<int>& sizes) {
    const bool sized = column.type == ColumnType::Text || column.type == ColumnType::Binary;
    if (sized) {
        const int given = sizes.empty() ? 0 : sizes[0];
        const int usual = column.type == ColumnType::Text ? kDefaultTextChars : kDefaultBinaryBytes;
        column.size = sizes.empty() ? usual : given;
        if (column.size < 1 || column.size > 255 || sizes.size() > 1) RaiseSql(SqlError::FieldSyntax);
    } else if (column.type == ColumnType::Numeric) {
        column.precision =
            sizes.empty() ? kDefaultPrecision : static_cast<std::uint8_t>(std::min(sizes[0], 255));
        column.scale =
            sizes.size() < 2 ? std::uint8_t{0} : static_cast<std::uint8_t>(std::min(sizes[1], 255));
        if (column.precision < 1 || column.precision > 28 || column.scale > column.precision)
            RaiseSql(SqlError::FieldSyntax);
    }
}

jet::Column TakeColumn(TokenStream& tokens) {
    jet::Column column;
    column.name = TakeName(tokens);
    const Token& type = tokens.Take();
    if (column.name.empty() || type.kind != TokenKind::Name) RaiseSql(SqlError::FieldSyntax);
    const auto* found = std::find_if(kTypeWords.begin(), kTypeWords.end(), [&](const TypeWord& word) {
        return expression::SameName(type.text, word.word);
    });
    if (found == kTypeWords.end()) RaiseSql(SqlError::FieldSyntax);
    column.type = found->type;
    column.autoNumber =
        found->word == "COUNTER" || found->word == "AUTOINCREMENT" || found->word == "IDENTITY";
    if (found->word == "DOUBLE") tokens.TakeKeyword("PRECISION");
    if (found->word == "CHAR" || found->word == "CHARACTER") tokens.TakeKeyword("VARYING");
    const std::vector<int> sizes = TakeSizes(tokens);
    if (found->word == "NUMERIC" && !sizes.empty()) column.type = ColumnType::Numeric;
    ApplySizes(column, sizes);
    return column;
}

jet::Index::Part TakeIndexPart(TokenStream& tokens, SqlError error) {
    jet::Index::Part part;
    part.column = TakeName(tokens);
    if (part.column.empty()) RaiseSql(error);
    part.ascending = !tokens.TakeKeyword("DESC");
    if (part.ascending) tokens.TakeKeyword("ASC");
    return part;
}

/// REFERENCES table [(columns)] [ON UPDATE CASCADE] [ON DELETE CASCADE]
jet::Relationship TakeReferences(TokenStream& tokens, const std::vector<std::string>& foreignColumns) {
    jet::Relationship relationship;
    relationship.table = TakeName(tokens);
    if (relationship.table.empty()) RaiseSql(SqlError::ConstraintSyntax);
    std::vector<std::string> columns;
    if (tokens.IsSymbol("(") && !TakeNameList(tokens, columns)) RaiseSql(SqlError::ConstraintSyntax);
    if (!columns.empty() && columns.size() != foreignColumns.size()) RaiseJet(JetError::RelationshipMismatch);
    // Without a list the primary key is meant; whoever runs the statement looks it up.
    for (std::size_t i = 0; i < foreignColumns.size(); ++i)
        relationship.columns.emplace_back(columns.empty() ? std::string() : columns[i], foreignColumns[i]);
    while (tokens.TakeKeyword("ON")) {
        const bool update = tokens.TakeKeyword("UPDATE");
        if (!update && !tokens.TakeKeyword("DELETE")) RaiseSql(SqlError::ConstraintSyntax);
        bool& cascade = update ? relationship.cascadeUpdates : relationship.cascadeDeletes;
        if (tokens.TakeKeyword("CASCADE"))
            cascade = true;
        else if (!tokens.TakeKeyword("NO") || !tokens.TakeKeyword("ACTION"))
            RaiseSql(SqlError::ConstraintSyntax);
    }
    return relationship;
}

/// What constraints ask for, of one column or of a table.
struct Constraints {
    std::vector<jet::Index> indexes;
    std::vector<jet::Relationship> relationships;
};

/// PRIMARY KEY | UNIQUE
jet::Index TakeKeyKind(TokenStream& tokens, std::string name) {
    jet::Index index;
    index.primaryKey = tokens.TakeKeyword("PRIMARY");
    if (index.primaryKey ? !tokens.TakeKeyword("KEY") : !tokens.TakeKeyword("UNIQUE"))
        RaiseSql(SqlError::ConstraintSyntax);
    index.unique = true;
    index.required = index.primaryKey;
    index.name = std::move(name);
    return index;
}

/// [CONSTRAINT name]: empty without one.
std::string TakeConstraintName(TokenStream& tokens) {
    if (!tokens.TakeKeyword("CONSTRAINT")) return {};
    std::string name = TakeName(tokens);
    if (name.empty()) RaiseSql(SqlError::ConstraintSyntax);
    return name;
}

/// PRIMARY KEY | UNIQUE | NOT NULL | REFERENCES ... behind a column.
void TakeColumnConstraint(TokenStream& tokens, std::string name, jet::Column& column,
                          Constraints& constraints) {
    if (tokens.TakeKeyword("NOT")) {
        if (!tokens.TakeKeyword("NULL")) RaiseSql(SqlError::ConstraintSyntax);
        column.required = true;
        return;
    }
    if (tokens.TakeKeyword("REFERENCES")) {
        constraints.relationships.push_back(TakeReferences(tokens, {column.name}));
        constraints.relationships.back().name = std::move(name);
        return;
    }
    jet::Index index = TakeKeyKind(tokens, std::move(name));
    index.parts.push_back({column.name, true});
    constraints.indexes.push_back(std::move(index));
}

void TakeColumnOptions(TokenStream& tokens, jet::Column& column, Constraints& constraints) {
    while (!AtItemEnd(tokens)) {
        if (tokens.TakeKeyword("NULL")) continue;
        if (tokens.TakeKeyword("WITH")) {
            if (!tokens.TakeKeyword("COMPRESSION") && !tokens.TakeKeyword("COMP"))
                RaiseSql(SqlError::FieldSyntax);
            column.compressed = true;
        } else if (tokens.TakeKeyword("DEFAULT")) {
            const std::size_t start = tokens.Peek().start;
            const NodePtr value = expression::Parser(tokens).ParseTerm();
            column.defaultValue = tokens.Source().substr(start, value->end - start);
        } else {
            TakeColumnConstraint(tokens, TakeConstraintName(tokens), column, constraints);
        }
    }
}

/// [CONSTRAINT name] PRIMARY KEY | UNIQUE | FOREIGN KEY over columns of the table.
void TakeTableConstraint(TokenStream& tokens, Constraints& constraints) {
    std::string name = TakeConstraintName(tokens);
    if (tokens.TakeKeyword("FOREIGN")) {
        std::vector<std::string> columns;
        if (!tokens.TakeKeyword("KEY")) RaiseSql(SqlError::ConstraintSyntax);
        if (tokens.TakeKeyword("NO") && !tokens.TakeKeyword("INDEX")) RaiseSql(SqlError::ConstraintSyntax);
        if (!TakeNameList(tokens, columns) || !tokens.TakeKeyword("REFERENCES"))
            RaiseSql(SqlError::ConstraintSyntax);
        constraints.relationships.push_back(TakeReferences(tokens, columns));
        constraints.relationships.back().name = std::move(name);
        return;
    }
    jet::Index index = TakeKeyKind(tokens, std::move(name));
    if (!tokens.TakeSymbol("(")) RaiseSql(SqlError::ConstraintSyntax);
    do {
        index.parts.push_back(TakeIndexPart(tokens, SqlError::ConstraintSyntax));
    } while (tokens.TakeSymbol(","));
    if (!tokens.TakeSymbol(")")) RaiseSql(SqlError::ConstraintSyntax);
    constraints.indexes.push_back(std::move(index));
}

bool AtTableConstraint(const TokenStream& tokens) {
    if (tokens.IsKeyword("CONSTRAINT")) return true;
    const bool key = tokens.IsKeyword("PRIMARY") || tokens.IsKeyword("FOREIGN");
    return (key && tokens.IsKeyword("KEY", 1)) || (tokens.IsKeyword("UNIQUE") && tokens.IsSymbol("(", 1));
}

CreateTable ParseCreateTable(TokenStream& tokens) {
    CreateTable create;
    create.design.name = TakeName(tokens);
    if (create.design.name.empty() || !tokens.TakeSymbol("(")) RaiseJet(JetError::CreateTableSyntax);
    Constraints constraints;
    do {
        if (AtTableConstraint(tokens)) {
            TakeTableConstraint(tokens, constraints);
            continue;
        }
        jet::Column column = TakeColumn(tokens);
        TakeColumnOptions(tokens, column, constraints);
        create.design.columns.push_back(std::move(column));
    } while (tokens.TakeSymbol(","));
    if (!tokens.TakeSymbol(")")) RaiseJet(JetError::CreateTableSyntax);
    if (!tokens.AtEnd() && !tokens.IsSymbol(";")) RaiseJet(JetError::CreateTableSyntax);
    create.design.indexes = std::move(constraints.indexes);
    create.relationships = std::move(constraints.relationships);
    return create;
}

CreateIndex ParseCreateIndex(TokenStream& tokens, bool unique) {
    CreateIndex create;
    create.index.unique = unique;
    create.index.name = TakeName(tokens);
    if (create.index.name.empty() || !tokens.TakeKeyword("ON")) RaiseJet(JetError::CreateIndexSyntax);
    create.table = TakeName(tokens);
    if (create.table.empty() || !tokens.TakeSymbol("(")) RaiseJet(JetError::CreateIndexSyntax);
    do {
        if (AtItemEnd(tokens)) RaiseJet(JetError::CreateIndexSyntax);
        create.index.parts.push_back(TakeIndexPart(tokens, SqlError::ConstraintSyntax));
    } while (tokens.TakeSymbol(","));
    if (!tokens.TakeSymbol(")")) RaiseJet(JetError::CreateIndexSyntax);
    if (tokens.TakeKeyword("WITH")) {
        if (tokens.TakeKeyword("PRIMARY"))
            create.index.primaryKey = create.index.unique = create.index.required = true;
        else if (tokens.TakeKeyword("DISALLOW"))
            create.index.required = tokens.TakeKeyword("NULL");
        else if (tokens.TakeKeyword("IGNORE"))
            create.index.ignoreNulls = tokens.TakeKeyword("NULL");
        const jet::Index& index = create.index;
        if (!index.primaryKey && !index.required && !index.ignoreNulls) RaiseJet(JetError::CreateIndexSyntax);
    }
    if (!tokens.AtEnd() && !tokens.IsSymbol(";")) RaiseJet(JetError::CreateIndexSyntax);
    return create;
}

AddConstraint ParseAddConstraint(TokenStream& tokens, std::string table) {
    Constraints constraints;
    TakeTableConstraint(tokens, constraints);
    AddConstraint add;
    add.table = std::move(table);
    if (!constraints.indexes.empty())
        add.index = std::move(constraints.indexes.front());
    else
        add.relationship = std::move(constraints.relationships.front());
    return add;
}

}  // namespace

Statement ParseCreate(TokenStream& tokens) {
    if (tokens.TakeKeyword("TABLE")) return ParseCreateTable(tokens);
    const bool unique = tokens.TakeKeyword("UNIQUE");
    if (tokens.TakeKeyword("INDEX")) return ParseCreateIndex(tokens, unique);
    RaiseJet(JetError::CreateTableSyntax);
}

Statement ParseAlter(TokenStream& tokens) {
    if (!tokens.TakeKeyword("TABLE")) RaiseSql(SqlError::AlterTableSyntax);
    std::string table = TakeName(tokens);
    if (table.empty()) RaiseSql(SqlError::AlterTableSyntax);
    if (tokens.TakeKeyword("ADD")) {
        const bool column = tokens.TakeKeyword("COLUMN");
        if (!column && AtTableConstraint(tokens)) return ParseAddConstraint(tokens, std::move(table));
        AddColumn add;
        add.table = std::move(table);
        add.column = TakeColumn(tokens);
        Constraints constraints;
        TakeColumnOptions(tokens, add.column, constraints);
        add.indexes = std::move(constraints.indexes);
        add.relationships = std::move(constraints.relationships);
        if (!tokens.AtEnd() && !tokens.IsSymbol(";")) RaiseSql(SqlError::AlterTableSyntax);
        return add;
    }
    if (!tokens.TakeKeyword("DROP")) RaiseSql(SqlError::AlterTableSyntax);
    const bool constraint = tokens.TakeKeyword("CONSTRAINT");
    if (!constraint) tokens.TakeKeyword("COLUMN");
    std::string name = TakeName(tokens);
    if (name.empty()) RaiseSql(SqlError::AlterTableSyntax);
    if (constraint) return DropConstraint{std::move(table), std::move(name)};
    return DropColumn{std::move(table), std::move(name)};
}

Statement ParseDrop(TokenStream& tokens) {
    if (tokens.TakeKeyword("TABLE")) {
        std::string table = TakeName(tokens);
        if (table.empty()) RaiseSql(SqlError::DropSyntax);
        return DropTable{std::move(table)};
    }
    if (!tokens.TakeKeyword("INDEX")) RaiseSql(SqlError::DropSyntax);
    std::string index = TakeName(tokens);
    if (index.empty() || !tokens.TakeKeyword("ON")) RaiseSql(SqlError::DropSyntax);
    std::string table = TakeName(tokens);
    if (table.empty()) RaiseSql(SqlError::DropSyntax);
    return DropIndex{std::move(table), std::move(index)};
}

}  // namespace marrowkit::dao::sql
