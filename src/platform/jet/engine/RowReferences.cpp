#include "platform/jet/engine/RowReferences.h"

#include <algorithm>

#include "platform/jet/engine/LocalDatabase.h"
#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

/// The partner's index of a relationship.
IndexStorage& PartnerIndex(TableLayout& partner, std::uint32_t number) {
    for (const LogicalIndex& logical : partner.definition.logicalIndexes) {
        if (logical.number == number) return partner.realIndexes[logical.realIndex];
    }
    RaiseCorrupt(partner.pager->Path(), "table " + partner.name + " has no index number " +
                                            std::to_string(number) + ", which a relationship names");
}

LocalTable& PartnerOf(LocalTable& table, RelationshipSide& side) {
    if (side.partner == nullptr) {
        side.partner = side.partnerTable == table.DefinitionPage()
                           ? &table
                           : &table.GetDatabase().TableAt(side.partnerTable);
    }
    return *side.partner;
}

/// The values of a relationship's columns as a key of the other side's index.
template <typename ValueAt>
bool BuildPartnerKey(const TableLayout& partner, const IndexStorage& index, std::size_t count,
                     ValueAt&& valueAt, std::vector<std::uint8_t>& key) {
    if (index.columns.size() != count) {
        RaiseCorrupt(partner.pager->Path(),
                     "table " + partner.name + ": the two sides of a relationship differ in columns");
    }
    bool anyValue = false;
    key.clear();
    for (std::size_t i = 0; i < count; ++i) {
        const Value& value = valueAt(i);
        anyValue = anyValue || !IsNull(value);
        // The columns of both sides are of one type, or the relationship would not have been made.
        AppendKeyColumn(partner.Version(), *index.definitions[i], index.order[i].ascending,
                        ConvertFor(partner.columns[index.columns[i]], value), key);
    }
    return anyValue;
}

}  // namespace

Dependents FindDependents(LocalTable& primary, RelationshipSide& side, std::span<const Value> key,
                          std::size_t limit) {
    Dependents found;
    found.table = &PartnerOf(primary, side);
    TableLayout& partner = found.table->Layout();
    const IndexStorage& index = PartnerIndex(partner, side.partnerNumber);
    found.columns = index.columns;
    std::vector<std::uint8_t> wanted;
    const auto valueAt = [&](std::size_t i) -> const Value& { return key[i]; };
    if (!BuildPartnerKey(partner, index, key.size(), valueAt, wanted)) return found;
    BTree::Cursor cursor(index.tree);
    cursor.SeekBefore(wanted);
    while (found.rows.size() < limit && cursor.Next() && std::ranges::equal(cursor.Key(), wanted)) {
        found.rows.push_back(cursor.Row());
    }
    return found;
}

void CheckReference(LocalTable& foreign, TableLayout& layout, RelationshipSide& side, RowDraft& draft,
                    std::optional<RowId> self) {
    const IndexStorage& own = layout.realIndexes[side.realIndex];
    LocalTable& primary = PartnerOf(foreign, side);
    const std::vector<std::uint8_t>& ownKey = draft.keys[side.realIndex].bytes;
    if (ownKey == side.lastKey && side.lastKeyStamp == primary.VanishedKeysStamp()) return;
    TableLayout& partner = primary.Layout();
    const IndexStorage& index = PartnerIndex(partner, side.partnerNumber);
    std::vector<std::uint8_t> wanted;
    const auto foreignAt = [&](std::size_t i) -> const Value& { return draft[own.columns[i]]; };
    if (!BuildPartnerKey(partner, index, own.columns.size(), foreignAt, wanted)) return;

    if (&primary == &foreign) {
        RowKey rowsKey;
        BuildRowKey(
            partner.Version(), index, [&](std::size_t column) -> const Value& { return draft[column]; },
            rowsKey);
        if (rowsKey.bytes == wanted) return;
        if (index.tree.ContainsKey(wanted, self)) return;
    } else if (index.tree.ContainsKey(wanted)) {
        side.lastKey = ownKey;
        side.lastKeyStamp = primary.VanishedKeysStamp();
        return;
    }
    RaiseJet(JetError::RelatedRecordRequired, {partner.name});
}

}  // namespace marrowkit::jet
