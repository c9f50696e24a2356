#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/jet/engine/Schema.h"
#include "platform/jet/expression/Node.h"

namespace marrowkit::dao::sql {

using expression::NodePtr;

struct Select;

/// One place of a FROM clause: a table, a subquery or a join of two places.
struct Source {
    enum class Kind { Table, Subquery, InnerJoin, LeftJoin, RightJoin };
    Kind kind = Kind::Table;
    std::string table;
    std::string alias;  ///< the table's name when none was given
    std::unique_ptr<Select> subquery;
    std::unique_ptr<Source> left;
    std::unique_ptr<Source> right;
    NodePtr on;  ///< joins

    bool IsJoin() const { return kind >= Kind::InnerJoin; }
};

/// One item of a SELECT list.
struct SelectItem {
    NodePtr value;  ///< null: all columns
    std::string alias;
    std::string starTable;  ///< Games.*; empty for all tables
};

struct OrderItem {
    NodePtr value;
    bool descending = false;
};

struct Select {
    bool distinct = false;
    bool distinctRow = false;
    std::optional<std::int32_t> top;
    bool topPercent = false;
    std::vector<SelectItem> items;
    std::string into;  ///< SELECT ... INTO: the table to make
    std::vector<std::unique_ptr<Source>> from;
    NodePtr where;
    std::vector<NodePtr> groupBy;
    NodePtr having;
    std::vector<OrderItem> orderBy;
    /// UNION: the selects behind the first; ORDER BY stands with the first.
    std::vector<std::unique_ptr<Select>> unions;
    bool unionAll = false;  ///< of one behind the first: ALL stands in front of it
    /// The statement, which the expressions' places refer to.
    std::shared_ptr<const std::string> text;
};

struct Insert {
    std::string table;
    std::vector<std::string> columns;  ///< empty: all, in the table's order
    std::vector<NodePtr> values;
    std::unique_ptr<Select> select;  ///< instead of values
};

struct Update {
    struct Assignment {
        std::string table;  ///< qualifier, empty for none
        std::string column;
        NodePtr value;
    };
    std::string table;
    std::string alias;
    std::vector<Assignment> assignments;
    NodePtr where;
};

struct Delete {
    std::string table;
    std::string alias;
    NodePtr where;
};

struct CreateTable {
    jet::TableDesign design;
    std::vector<jet::Relationship> relationships;
};

struct AddColumn {
    std::string table;
    jet::Column column;
    std::vector<jet::Index> indexes;
    std::vector<jet::Relationship> relationships;
};

struct AddConstraint {
    std::string table;
    std::optional<jet::Index> index;
    std::optional<jet::Relationship> relationship;
};

struct DropColumn {
    std::string table;
    std::string column;
};

struct DropConstraint {
    std::string table;
    std::string name;
};

struct CreateIndex {
    std::string table;
    jet::Index index;
};

struct DropIndex {
    std::string table;
    std::string index;
};

struct DropTable {
    std::string table;
};

using Statement = std::variant<Select, Insert, Update, Delete, CreateTable, AddColumn, AddConstraint,
                               DropColumn, DropConstraint, CreateIndex, DropIndex, DropTable>;

}  // namespace marrowkit::dao::sql
