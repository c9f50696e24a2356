#include <algorithm>
#include <utility>

#include "platform/jet/check/CheckIndex.h"
#include "platform/jet/check/CheckTable.h"

namespace marrowkit::jet::check {

namespace {

class IndexCheck {
public:
    IndexCheck(CheckContext& context, CheckedTable& table, std::size_t number)
        : context_(&context),
          table_(&table),
          index_(&table.definition.realIndexes[number]),
          name_(IndexName(table.definition, number)) {}

    /// True when the tree is sound and holds exactly the entries it should.
    bool Run(const Fingerprint& expected) {
        const std::size_t problemsBefore = context_->report.Count();
        if (index_->columns.empty()) return false;
        const KeyBuilder builder(context_->file, table_->definition, *index_);
        hasKeys_ = builder.CanBuild();
        ClaimPages();
        WalkTree();
        CheckMap();
        // Comparing entries of a broken tree or of half the rows would only repeat that damage.
        if (context_->report.Count() == problemsBefore && table_->rowsAreSound && found_ != expected) {
            ExplainDifference();
        }
        return context_->report.Count() == problemsBefore;
    }

private:
    using Entry = std::pair<std::uint64_t, RowId>;  ///< hash of key and row, row

    void Say(PageNumber page, const std::string& what, Severity severity = Severity::Structure) {
        context_->report.Add(page, table_->name, "index " + name_ + ": " + what, severity);
    }

    void ClaimPages() {
        const StoredMap map = context_->ClaimMap(index_->pageMap, table_->name, "map of index " + name_);
        owner_ = context_->owners.NewOwner("index " + name_ + " of table " + table_->name);
        for (const PageNumber page : map.members) {
            if (context_->Claim(page, owner_, table_->name)) pages_.push_back(page);
        }
    }

    bool Enter(PageNumber page) {
        if (!context_->owners.IsInFile(page) || context_->owners.Of(page) != owner_) {
            Say(page, "page " + std::to_string(page) + " of the tree is not in the index's map");
            return false;
        }
        if (context_->treePages[page]) {
            Say(page, "page " + std::to_string(page) + " appears twice in the tree");
            return false;
        }
        context_->treePages[page] = true;
        return !context_->report.IsFull();
    }

    void WalkTree() {
        TreeWalk::Visitor visitor;
        visitor.enter = [this](PageNumber page) { return Enter(page); };
        visitor.entry = [this](PageNumber leaf, const IndexEntry& entry) { TakeEntry(leaf, entry); };
        visitor.problem = [this](const Damage& damage) { Say(damage.page, damage.description); };
        TreeWalk walk(context_->file, table_->definition.page, std::move(visitor));
        walk.Run(index_->rootPage);
    }

    void TakeEntry(PageNumber leaf, const IndexEntry& entry) {
        found_.Add(HashOf(entry));
        if (!index_->IsUnique()) return;
        if (found_.count > 1 && std::ranges::equal(entry.key, previousKey_) &&
            !IsAllNullKey(entry.key, *index_)) {
            Say(leaf, RowText(entry.row) + " has the key of another row", Severity::Content);
        }
        previousKey_.assign(entry.key.begin(), entry.key.end());
    }

    /// Where keys cannot be built, an entry stands for its row alone.
    std::uint64_t HashOf(const IndexEntry& entry) const {
        return HashBytes(hasKeys_ ? entry.key : std::span<const std::uint8_t>{}, entry.row.Stored());
    }

    void CheckMap() {
        for (const PageNumber page : pages_) {
            if (!context_->treePages[page]) {
                Say(page, "page " + std::to_string(page) + " is in the index's map and not in its tree");
            }
        }
    }

    /// The entries are not those of the rows: finds out which. Works on a part of the rows at a time, so that
    /// memory stays bounded.
    void ExplainDifference() {
        constexpr std::uint64_t kEntriesAtATime = 4'000'000;
        const std::size_t problemsBefore = context_->report.Count();
        const std::uint64_t parts = std::max(found_.count, table_->rows) / kEntriesAtATime + 1;
        for (std::uint64_t part = 0; part < parts && !context_->report.IsFull(); ++part) {
            const auto belongs = [&](std::uint64_t hash) { return hash % parts == part; };
            ReportDifference(EntriesInTree(belongs), EntriesOfRows(belongs));
        }
        if (context_->report.Count() == problemsBefore) Say(index_->rootPage, "does not match the rows");
    }

    template <typename Belongs>
    std::vector<Entry> EntriesInTree(const Belongs& belongs) const {
        std::vector<Entry> entries;
        LeafReader reader(context_->file, index_->rootPage);
        while (reader.Next()) {
            const IndexEntry entry = reader.Entry();
            if (belongs(HashOf(entry))) entries.emplace_back(HashOf(entry), entry.row);
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    template <typename Belongs>
    std::vector<Entry> EntriesOfRows(const Belongs& belongs) const {
        std::vector<Entry> entries;
        KeyBuilder builder(context_->file, table_->definition, *index_);
        const RowWalk walk(context_->file, table_->definition.page, table_->ownedPages);
        walk.Run(
            [&](RowId id, ByteView bytes) {
                builder.Build(RowView(context_->file.PageGeometry(), table_->definition, bytes));
                const std::uint64_t hash = HashBytes(builder.Key(), id.Stored());
                if (builder.IsIndexed() && belongs(hash)) entries.emplace_back(hash, id);
            },
            [](const Damage&) {});
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    void ReportDifference(const std::vector<Entry>& inTree, const std::vector<Entry>& ofRows) {
        std::vector<Entry> only;
        std::set_difference(inTree.begin(), inTree.end(), ofRows.begin(), ofRows.end(),
                            std::back_inserter(only));
        for (const Entry& entry : only) {
            Say(entry.second.page,
                "has an entry for " + RowText(entry.second) + " that is not the row's key");
        }
        only.clear();
        std::set_difference(ofRows.begin(), ofRows.end(), inTree.begin(), inTree.end(),
                            std::back_inserter(only));
        for (const Entry& entry : only) Say(entry.second.page, "lacks the entry of " + RowText(entry.second));
    }

    CheckContext* context_;
    CheckedTable* table_;
    const RealIndex* index_;
    std::string name_;
    bool hasKeys_ = true;
    PageOwners::Owner owner_ = PageOwners::kNobody;
    std::vector<PageNumber> pages_;
    Fingerprint found_;
    std::vector<std::uint8_t> previousKey_;
};

}  // namespace

void CheckTableIndexes(CheckContext& context, CheckedTable& table,
                       const std::vector<Fingerprint>& expectedEntries) {
    for (std::size_t i = 0; i < table.definition.realIndexes.size(); ++i) {
        bool isSound = false;
        try {
            isSound = IndexCheck(context, table, i).Run(expectedEntries[i]);
        } catch (const Damage& damage) {
            context.report.Add(table.name, damage, "index " + IndexName(table.definition, i));
        } catch (const OutOfBounds& outside) {
            context.report.Add(table.definition.page, table.name,
                               "index " + IndexName(table.definition, i) + ": " + outside.what());
        }
        table.indexIsSound.push_back(isSound);
    }
}

}  // namespace marrowkit::jet::check
