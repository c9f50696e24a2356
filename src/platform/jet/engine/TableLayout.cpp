#include "platform/jet/engine/TableLayout.h"

#include <algorithm>
#include <numeric>

#include "platform/jet/engine/DefinitionPages.h"
#include "platform/jet/format/Collation.h"
#include "platform/jet/format/IndexKey.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/format/Properties.h"

namespace marrowkit::jet {

namespace {

using namespace std::string_view_literals;

/// A default value that stands for an AutoNumber of another kind: "GenGUID()", "=GenUniqueID()".
bool IsGenerator(std::string_view expression, std::string_view generator) {
    std::string letters;
    for (const char c : expression) {
        if (c == '=' || c == ' ' || c == '(' || c == ')') continue;
        letters += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return letters == generator;
}

int SizeOf(JetVersion version, const ColumnDefinition& column) {
    switch (column.type) {
        case ColumnType::Text:
            return version == JetVersion::Jet3 ? column.lengthBytes : column.lengthBytes / 2;
        case ColumnType::Binary:
        case ColumnType::FixedBlock:
            return column.lengthBytes;
        default:
            return 0;
    }
}

Column DescribeColumn(JetVersion version, const ColumnDefinition& definition) {
    Column column;
    column.name = definition.name;
    column.type = definition.type;
    column.size = SizeOf(version, definition);
    column.precision = definition.precision;
    column.scale = definition.scale;
    column.autoNumber =
        definition.IsAutoNumber() || (definition.type == ColumnType::Guid &&
                                      (definition.flags & ColumnDefinition::kGuidAutoNumberFlag) != 0);
    column.compressed = definition.IsCompressed();
    return column;
}

void ApplyProperties(JetVersion version, const PropertyBlob& properties, Column& column) {
    column.required = properties.Bool(column.name, "Required").value_or(false);
    // A table that was designed through DAO has properties; there, a missing one means DAO's default.
    if (column.type == ColumnType::Text || column.type == ColumnType::Memo) {
        column.allowZeroLength = properties.Bool(column.name, "AllowZeroLength").value_or(false);
    }
    column.defaultValue = properties.Text(version, column.name, "DefaultValue").value_or("");
    column.validationRule = properties.Text(version, column.name, "ValidationRule").value_or("");
    column.validationText = properties.Text(version, column.name, "ValidationText").value_or("");
    if (column.type == ColumnType::Guid && IsGenerator(column.defaultValue, "genguid"sv)) {
        column.autoNumber = true;
    }
    if (column.type == ColumnType::Long && column.autoNumber &&
        IsGenerator(column.defaultValue, "genuniqueid"sv)) {
        column.randomAutoNumber = true;
    }
}

std::vector<std::size_t> DisplayOrder(const TableDefinition& definition) {
    std::vector<std::size_t> order(definition.columns.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        const ColumnDefinition& left = definition.columns[a];
        const ColumnDefinition& right = definition.columns[b];
        return std::pair(left.ordinal, left.number) < std::pair(right.ordinal, right.number);
    });
    return order;
}

void AddColumns(TableLayout& layout, const PropertyBlob* properties) {
    const JetVersion version = layout.Version();
    for (const std::size_t descriptor : DisplayOrder(layout.definition)) {
        const ColumnDefinition& definition = layout.definition.columns[descriptor];
        Column column = DescribeColumn(version, definition);
        if (properties != nullptr) ApplyProperties(version, *properties, column);

        ColumnStorage storage;
        storage.definition = &definition;
        storage.descriptor = descriptor;
        if (definition.IsLongValue()) {
            storage.longValues.emplace(*layout.pager, definition.ownedMap, definition.freeMap);
        }
        if (!column.defaultValue.empty() && !column.autoNumber) {
            storage.defaultValue = StoredDefault(version, column.defaultValue);
        }
        if (!column.validationRule.empty()) {
            storage.rule = StoredRule(version, column.validationRule, layout.columns.size());
        }
        layout.columns.push_back(std::move(column));
        layout.storage.push_back(std::move(storage));
    }
}

[[noreturn]] void RaiseDamagedIndex(const TableLayout& layout, const std::string& what) {
    RaiseCorrupt(layout.pager->Path(), "table " + layout.name + ": " + what);
}

Index DescribeIndex(const TableLayout& layout, const LogicalIndex& logical) {
    const RealIndex& real = layout.definition.realIndexes[logical.realIndex];
    Index index;
    index.name = logical.name;
    index.realIndex = logical.realIndex;
    index.primaryKey = logical.kind == LogicalIndex::Kind::PrimaryKey;
    index.foreign = logical.kind == LogicalIndex::Kind::Relationship;
    index.unique = real.IsUnique() || index.primaryKey;
    index.required = real.IsRequired() || index.primaryKey;
    index.ignoreNulls = real.IgnoresNulls();
    for (const IndexColumn& part : real.columns) {
        index.parts.push_back({layout.columns[*layout.PositionOf(part.columnNumber)].name, part.ascending});
    }
    return index;
}

RelationshipSide DescribeSide(const LogicalIndex& logical) {
    RelationshipSide side;
    side.realIndex = logical.realIndex;
    side.partnerTable = logical.partnerTable;
    side.partnerNumber = logical.partnerNumber;
    side.cascadesUpdates = logical.cascadeUpdates == 1;
    side.cascadesDeletes = logical.cascadeDeletes == 1;
    side.setsNull = logical.cascadeDeletes == 2;
    return side;
}

void AddLogicalIndexes(TableLayout& layout) {
    for (const LogicalIndex& logical : layout.definition.logicalIndexes) {
        if (logical.realIndex >= layout.realIndexes.size()) {
            RaiseDamagedIndex(layout, "index " + logical.name + " has no tree");
        }
        const bool isRelationship = logical.kind == LogicalIndex::Kind::Relationship;
        if (isRelationship && logical.side == LogicalIndex::Side::Primary) {
            layout.referencedBy.push_back(DescribeSide(logical));
            continue;  // hidden: it only lends the relationship an index that has a name of its own
        }
        if (isRelationship && logical.side == LogicalIndex::Side::Foreign) {
            layout.references.push_back(DescribeSide(logical));
        }
        if (logical.kind == LogicalIndex::Kind::PrimaryKey) {
            layout.realIndexes[logical.realIndex].unique = true;
            // The catalog's own keys are of this type without the flag, and hold no Null anyway.
            layout.realIndexes[logical.realIndex].refusesNulls = true;
        }
        layout.indexes.push_back(DescribeIndex(layout, logical));
    }
}

}  // namespace

TableLayout::TableLayout(Pager& pager_, TableDefinition loaded)
    : pager(&pager_),
      definition(std::move(loaded)),
      rows(pager_, definition.page, definition.ownedMap, definition.freeMap) {}

std::optional<std::size_t> TableLayout::FindColumn(std::string_view wanted) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (CompareText(Version(), columns[i].name, wanted) == 0) return i;
    }
    return std::nullopt;
}

std::optional<std::size_t> TableLayout::PositionOf(std::uint16_t columnNumber) const {
    for (std::size_t i = 0; i < storage.size(); ++i) {
        if (storage[i].definition->number == columnNumber) return i;
    }
    return std::nullopt;
}

IndexStorage OpenRealIndex(const TableLayout& layout, const RealIndex& real) {
    IndexStorage index{BTree(*layout.pager, layout.definition.page, real.rootPage, real.pageMap), {}, {}, {}};
    for (const IndexColumn& part : real.columns) {
        const auto position = layout.PositionOf(part.columnNumber);
        if (!position) {
            RaiseDamagedIndex(layout, "an index names column number " + std::to_string(part.columnNumber) +
                                          ", which is not there");
        }
        const ColumnDefinition* column = layout.storage[*position].definition;
        index.columns.push_back(*position);
        index.definitions.push_back(column);
        index.buildable = index.buildable && CanBuildKey(*column);
    }
    index.order = real.columns;
    index.unique = real.IsUnique();
    index.ignoresNulls = real.IgnoresNulls();
    index.refusesNulls = real.IsRequired();
    return index;
}

std::shared_ptr<TableLayout> LoadLayout(Pager& pager, const LayoutSource& source) {
    auto layout = std::make_shared<TableLayout>(pager, LoadDefinition(pager, source.definitionPage));
    layout->name = source.name;
    layout->isSystem = source.isSystem || layout->definition.tableType == TableDefinition::kSystemTable;
    std::optional<PropertyBlob> properties;
    if (!source.properties.empty()) {
        try {
            properties = ParseProperties(layout->Version(), ByteView(source.properties));
        } catch (const OutOfBounds&) {
            RaiseCorrupt(pager.Path(), "table " + source.name + ": its properties do not hold together");
        }
        const std::string rule = properties->Text(layout->Version(), "", "ValidationRule").value_or("");
        if (!rule.empty()) layout->rule = StoredRule(layout->Version(), rule, std::nullopt);
        layout->ruleMessage = properties->Text(layout->Version(), "", "ValidationText").value_or("");
    }
    AddColumns(*layout, properties ? &*properties : nullptr);
    for (const RealIndex& real : layout->definition.realIndexes) {
        layout->realIndexes.push_back(OpenRealIndex(*layout, real));
    }
    AddLogicalIndexes(*layout);
    return layout;
}

}  // namespace marrowkit::jet
