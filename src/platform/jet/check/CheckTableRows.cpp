#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "platform/jet/check/CheckTable.h"

namespace marrowkit::jet::check {

namespace {

/// Characters of a stored text as field sizes count them; nullopt for bytes that are no text.
std::optional<std::size_t> StoredCharacters(JetVersion version, ByteView text) {
    if (version == JetVersion::Jet3) return text.Size();
    if (text.Size() < 2 || text.U16(0) != 0xFEFF) {
        if (text.Size() % 2 != 0) return std::nullopt;
        return text.Size() / 2;
    }
    // Nearly always all of it is compressed.
    if (std::memchr(text.Data() + 2, 0, text.Size() - 2) == nullptr) return text.Size() - 2;
    std::size_t characters = 0;
    bool isCompressed = true;
    for (std::size_t at = 2; at < text.Size();) {
        if (text.U8(at) == 0) {
            isCompressed = !isCompressed;
            ++at;
            continue;
        }
        if (!isCompressed && at + 1 == text.Size()) return std::nullopt;
        at += isCompressed ? 1 : 2;
        ++characters;
    }
    return characters;
}

class RowsCheck {
public:
    RowsCheck(CheckContext& context, CheckedTable& table) : context_(&context), table_(&table) {
        const TableDefinition& definition = table.definition;
        for (const RealIndex& index : definition.realIndexes) {
            // An index without columns has been reported with the definition.
            builders_.push_back(index.columns.empty()
                                    ? nullptr
                                    : std::make_unique<KeyBuilder>(context.file, definition, index));
        }
        expectedEntries_.resize(definition.realIndexes.size());
        for (const std::string& name : table.requiredColumns) {
            const auto column = std::ranges::find(definition.columns, name, &ColumnDefinition::name);
            // Booleans are never Null.
            if (column->type != ColumnType::Boolean) requiredColumns_.push_back({&*column, 0, {}});
        }
        PlanValues();
    }

    void Run() {
        ClaimLongValues();
        const std::size_t problemsBefore = context_->report.Count();
        if (context_->observer != nullptr) context_->observer->BeginTable(table_->definition);
        const RowWalk walk(context_->file, table_->definition.page, table_->ownedPages);
        walk.Run([this](RowId id, ByteView bytes) { CheckRow(id, bytes); },
                 [this](const Damage& damage) { context_->report.Add(table_->name, damage); },
                 [this](const DataPage& page) { SeePage(page); });
        table_->rowsAreSound = context_->report.Count() == problemsBefore;
        // A page's free word is wrong without harm to its rows.
        for (auto& [page, what] : wrongFreeWords_) Say(page, std::move(what));
        CheckMovedRows();
        CheckLongValuePages();
        CheckCounters();
        ReportMissingValues();
        CheckTableIndexes(*context_, *table_, expectedEntries_);
    }

private:
    struct LongColumn {
        const ColumnDefinition* column;
        PageOwners::Owner owner;
        std::vector<PageNumber> pages;
    };

    struct RequiredColumn {
        const ColumnDefinition* column;
        std::size_t missing;  ///< rows without a value
        RowId firstRow;
    };

    /// What the stored values of a column must be like.
    struct ValueRule {
        enum class Kind { Width, Text, Bytes, LongValue };
        ValueRule(const ColumnDefinition& column_, Kind kind_, std::size_t limit_)
            : column(&column_), place(column_), kind(kind_), limit(limit_) {}

        const ColumnDefinition* column;
        ColumnPlace place;
        Kind kind;
        std::size_t limit;  ///< bytes, of a text characters
    };

    void PlanValues() {
        using enum ValueRule::Kind;
        const bool isJet3 = context_->file.Header().version == JetVersion::Jet3;
        for (const ColumnDefinition& column : table_->definition.columns) {
            if (column.type == ColumnType::Boolean) continue;
            if (column.IsLongValue()) {
                rules_.emplace_back(column, LongValue, 0);
            } else if (const std::uint32_t width = FixedWidth(column.type); width != 0) {
                // The counter's values are looked at.
                const bool inFixedArea = column.IsFixed() && !column.IsAutoNumber();
                (inFixedArea ? fixedRules_ : rules_).emplace_back(column, Width, width);
            } else if (column.type == ColumnType::Text) {
                rules_.emplace_back(column, Text, column.lengthBytes / (isJet3 ? 1U : 2U));
            } else {
                rules_.emplace_back(column, Bytes, column.lengthBytes);
            }
        }
        const auto end = [](const ValueRule& rule) { return rule.column->fixedOffset + rule.limit; };
        const auto furthest = std::ranges::max_element(fixedRules_, {}, end);
        if (furthest != fixedRules_.end()) std::iter_swap(fixedRules_.begin(), furthest);
    }

    /// Where the value that reaches furthest is in the row's fixed area, all others of it are, too.
    bool HasWholeFixedArea(const RowView& row) const {
        return fixedRules_.empty() || !row.Bytes(fixedRules_.front().place).Empty();
    }

    void Say(PageNumber page, std::string what, Severity severity = Severity::Structure) {
        context_->report.Add(page, table_->name, std::move(what), severity);
    }

    /// One problem per column: a column that was made required late may be empty in every row.
    void ReportMissingValues() {
        for (const RequiredColumn& required : requiredColumns_) {
            if (required.missing == 0) continue;
            Say(required.firstRow.page,
                "column " + required.column->name + " requires a value, " + std::to_string(required.missing) +
                    (required.missing == 1 ? " row has" : " rows have") + " none; the first is " +
                    RowText(required.firstRow),
                Severity::Content);
        }
    }

    void ClaimLongValues() {
        for (const ColumnDefinition& column : table_->definition.columns) {
            if (!column.IsLongValue() || column.ownedMap.IsNull()) continue;
            const std::string what = "the long values of column " + column.name;
            LongColumn entry{&column, context_->owners.NewOwner(what + " of table " + table_->name), {}};
            const StoredMap owned = context_->ClaimMap(column.ownedMap, table_->name, "map of " + what);
            for (const PageNumber page : owned.members) {
                if (context_->Claim(page, entry.owner, table_->name)) entry.pages.push_back(page);
            }
            if (!column.freeMap.IsNull()) {
                const StoredMap free =
                    context_->ClaimMap(column.freeMap, table_->name, "map of room for " + what);
                if (!std::includes(owned.members.begin(), owned.members.end(), free.members.begin(),
                                   free.members.end())) {
                    Say(column.freeMap.page, "a page with room for " + what + " is not one of theirs");
                }
            }
            longColumns_.push_back(std::move(entry));
        }
    }

    void SeePage(const DataPage& page) {
        ++pagesSeen_;
        if (auto what = WrongFreeWord(page)) wrongFreeWords_.emplace_back(page.Number(), std::move(*what));
        for (unsigned slot = 0; slot < page.SlotCount(); ++slot) {
            const std::uint16_t flags = page.Flags(slot);
            if (flags == DataPage::kMovedFlag && page.Bytes(slot).Size() >= 4) {
                movedTo_.push_back(RowId::FromStored(page.Bytes(slot).U32(0)));
            } else if (flags == DataPage::kTargetFlag) {
                moveTargets_.push_back({page.Number(), static_cast<std::uint8_t>(slot)});
            }
        }
    }

    static std::optional<std::string> WrongFreeWord(const DataPage& page) {
        if (page.FreeBytes() == page.ExactFreeBytes()) return std::nullopt;
        return "page " + std::to_string(page.Number()) + " says " + std::to_string(page.FreeBytes()) +
               " free bytes, there are " + std::to_string(page.ExactFreeBytes());
    }

    void CheckRow(RowId id, ByteView bytes) {
        ++table_->rows;
        const TableDefinition& definition = table_->definition;
        const RowView row(context_->file.PageGeometry(), definition, bytes);
        const bool isJet3 = context_->file.Header().version == JetVersion::Jet3;
        const unsigned columns = isJet3 ? bytes.U8(0) : bytes.U16(0);
        // Jet 3 counts columns in one byte.
        if (columns > definition.maxColumns) {
            Say(id.page, RowText(id) + " has " + std::to_string(columns) + " columns");
        }
        if (!HasWholeFixedArea(row)) {
            for (const ValueRule& rule : fixedRules_) CheckValue(id, row, rule);
        }
        for (const ValueRule& rule : rules_) CheckValue(id, row, rule);
        for (RequiredColumn& required : requiredColumns_) {
            if (row.IsNull(*required.column) && required.missing++ == 0) required.firstRow = id;
        }
        for (std::size_t i = 0; i < builders_.size(); ++i) CheckKey(id, row, i);
        if (context_->observer != nullptr) context_->observer->SeeRow(id, bytes);
    }

    void CheckValue(RowId id, const RowView& row, const ValueRule& rule) {
        const ColumnDefinition& column = *rule.column;
        const ByteView value = row.Bytes(rule.place);
        if (value.Empty() && row.IsNull(rule.place)) return;
        switch (rule.kind) {
            case ValueRule::Kind::LongValue:
                if (!IsWholeInline(value)) CheckLongValue(id, value, column);
                break;
            case ValueRule::Kind::Width:
                if (value.Size() != rule.limit) SayWrongBytes(id, column, value);
                break;
            case ValueRule::Kind::Bytes:
                if (value.Size() > rule.limit) SayWrongBytes(id, column, value);
                break;
            case ValueRule::Kind::Text:
                CheckText(id, value, rule);
                break;
        }
        if (column.IsAutoNumber() && value.Size() == 4) {
            greatestAutoNumber_ = std::max(greatestAutoNumber_.value_or(value.I32(0)), value.I32(0));
        }
    }

    void SayOfColumn(RowId id, const ColumnDefinition& column, const std::string& what) {
        Say(id.page, RowText(id) + ", column " + column.name + ": " + what);
    }

    void SayWrongBytes(RowId id, const ColumnDefinition& column, ByteView value) {
        SayOfColumn(id, column, "has " + std::to_string(value.Size()) + " bytes");
    }

    void CheckText(RowId id, ByteView value, const ValueRule& rule) {
        const auto characters = StoredCharacters(context_->file.Header().version, value);
        if (!characters) {
            SayOfColumn(id, *rule.column, "holds half a character");
        } else if (*characters > rule.limit) {
            SayOfColumn(id, *rule.column,
                        "has " + std::to_string(*characters) + " characters, " + std::to_string(rule.limit) +
                            " are allowed");
        }
    }

    /// A value in its row, as long as it says: nothing else to look at.
    static bool IsWholeInline(ByteView value) {
        if (value.Size() < LongValueHeader::kBytes) return false;
        const LongValueHeader header(value);
        return header.IsInline() && value.Size() - LongValueHeader::kBytes == header.Length();
    }

    void CheckLongValue(RowId id, ByteView value, const ColumnDefinition& column) {
        const auto found = std::find_if(longColumns_.begin(), longColumns_.end(),
                                        [&](const LongColumn& entry) { return entry.column == &column; });
        try {
            WalkLongValue(context_->file, value, [&](const LongValuePiece& piece) {
                if (piece.page == nullptr) return;
                if (found == longColumns_.end() || context_->owners.Of(piece.row.page) != found->owner) {
                    throw Damage(piece.row.page, "the long value in " + RowText(piece.row) +
                                                     " is not on a page of this column");
                }
                if (!context_->marks.Mark(piece.row)) {
                    throw Damage(piece.row.page,
                                 "the long value in " + RowText(piece.row) + " is used twice");
                }
            });
        } catch (const Damage& damage) {
            // The row's other columns are checked all the same.
            SayOfColumn(id, column, damage.description);
        } catch (const OutOfBounds& outside) {
            SayOfColumn(id, column, outside.what());
        }
    }

    void CheckKey(RowId id, const RowView& row, std::size_t index) {
        if (!builders_[index]) return;
        KeyBuilder& builder = *builders_[index];
        builder.Build(row);
        if (table_->definition.realIndexes[index].IsRequired() && builder.AnyNull()) {
            Say(id.page,
                RowText(id) + ": index " + IndexName(table_->definition, index) + " does not allow Null",
                Severity::Content);
        }
        if (builder.IsIndexed()) expectedEntries_[index].Add(HashBytes(builder.Key(), id.Stored()));
    }

    /// Every slot that holds the data of a moved row must be reached from the row's own slot, once.
    void CheckMovedRows() {
        if (pagesSeen_ != table_->ownedPages.size()) return;
        std::vector<RowId>& pointers = movedTo_;
        std::sort(pointers.begin(), pointers.end());
        for (std::size_t i = 1; i < pointers.size(); ++i) {
            if (pointers[i] == pointers[i - 1]) {
                Say(pointers[i].page, "two rows have moved to " + RowText(pointers[i]));
            }
        }
        for (const RowId target : moveTargets_) {
            if (!std::binary_search(pointers.begin(), pointers.end(), target)) {
                Say(target.page, RowText(target) + " holds a moved row that nothing refers to");
            }
        }
    }

    void CheckLongValuePages() {
        for (const LongColumn& entry : longColumns_) {
            for (const PageNumber number : entry.pages) CheckLongValuePage(entry, number);
        }
    }

    void CheckLongValuePage(const LongColumn& entry, PageNumber number) {
        const std::string& name = entry.column->name;
        try {
            const DataPage page(context_->file.PageGeometry(), context_->file.Read(number));
            if (auto what = WrongFreeWord(page)) Say(number, std::move(*what));
            if (page.Owner() != kLongValueOwner) {
                Say(number, "page " + std::to_string(number) + " should hold long values of column " + name);
                return;
            }
            for (unsigned slot = 0; slot < page.SlotCount(); ++slot) {
                const RowId row{number, static_cast<std::uint8_t>(slot)};
                if (!page.IsDeleted(slot) && !context_->marks.IsMarked(row) && table_->rowsAreSound) {
                    Say(number,
                        "column " + name + ": the long value in " + RowText(row) + " belongs to no row");
                }
            }
        } catch (const Damage& damage) {
            context_->report.Add(table_->name, damage, "long values of column " + name);
        }
    }

    void CheckCounters() {
        const TableDefinition& definition = table_->definition;
        if (!table_->rowsAreSound) return;
        // Jet itself leaves wrong counts in system tables.
        if (!table_->isSystem && definition.rowCount != table_->rows) {
            Say(definition.page,
                "the definition counts " + std::to_string(definition.rowCount) + " rows, there are " +
                    std::to_string(table_->rows),
                Severity::Content);
        }
        const auto counter = static_cast<std::int32_t>(definition.lastAutoNumber);
        // Behind the greatest number there is, counting goes on at the least: then it is below the rows.
        const bool mayHaveRunOver =
            counter <= 0 || greatestAutoNumber_ == std::numeric_limits<std::int32_t>::max();
        if (greatestAutoNumber_ && !mayHaveRunOver && *greatestAutoNumber_ > counter) {
            Say(definition.page,
                "the AutoNumber counter stands at " + std::to_string(counter) + ", a row has " +
                    std::to_string(*greatestAutoNumber_),
                Severity::Content);
        }
    }

    CheckContext* context_;
    CheckedTable* table_;
    std::vector<LongColumn> longColumns_;
    std::vector<RequiredColumn> requiredColumns_;
    std::vector<ValueRule> fixedRules_;  ///< the one that reaches furthest in front
    std::vector<ValueRule> rules_;       ///< all others
    std::vector<std::unique_ptr<KeyBuilder>> builders_;
    std::vector<Fingerprint> expectedEntries_;
    std::optional<std::int32_t> greatestAutoNumber_;
    std::size_t pagesSeen_ = 0;
    std::vector<std::pair<PageNumber, std::string>> wrongFreeWords_;
    std::vector<RowId> movedTo_;      ///< where moved rows' own slots say that they are
    std::vector<RowId> moveTargets_;  ///< slots that hold moved rows
};

}  // namespace

void CheckTableRows(CheckContext& context, CheckedTable& table) {
    RowsCheck(context, table).Run();
}

}  // namespace marrowkit::jet::check
