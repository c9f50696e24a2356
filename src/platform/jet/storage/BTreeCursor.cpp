#include <string>
#include <utility>

#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/BTree.h"
#include "platform/jet/storage/IndexPage.h"

namespace marrowkit::jet {

/// A cursor stands on an entry, or in the gap before an entry that need not exist (after a seek). `entry`
/// says where, in a way that survives every change of the tree; page and position repeat it for as long as
/// the page has not changed.
struct BTree::Cursor::State {
    explicit State(const BTree& tree_) : tree(&tree_) {}

    const BTree* tree;
    std::vector<std::uint8_t> entry;
    bool onEntry = false;    ///< else before the first entry >= `entry`
    bool afterLast = false;  ///< behind everything
    bool trailing = false;   ///< Next() ran off the end: stands behind `entry`

    PageRef page;
    std::uint32_t position = 0;
    std::uint64_t version = 0;
    std::uint64_t epoch = 0;
    std::vector<std::uint8_t> leafStart;  ///< the first entry of the last leaf with entries that was left

    Pager& GetPager() const { return *tree->pager_; }
    bool PlaceIsGood() const {
        return page && version == page.Version() && epoch == GetPager().LayoutEpoch();
    }
    void Pin(PageNumber number) {
        page = GetPager().Read(number);
        version = page.Version();
        epoch = GetPager().LayoutEpoch();
    }
    /// Goes on to a neighbouring leaf. The first entries of leaves ascend whatever damage has made of the
    /// others, so a walk ends even where leaves lead round in a circle.
    void GoTo(PageNumber number, bool forwards) {
        const IndexPage left(GetPager(), page);
        if (!left.IsEmpty()) left.Whole(0, leafStart);
        Pin(number);
        const IndexPage reached(GetPager(), page);
        if (reached.IsEmpty()) return;
        std::vector<std::uint8_t> start;
        reached.Whole(0, start);
        if (forwards && CompareBytes(start, entry) < 0) RaiseOutOfOrder();
        if (leafStart.empty()) return;
        const int order = CompareBytes(leafStart, start);
        if (forwards ? order >= 0 : order <= 0) RaiseOutOfOrder();
    }
    [[noreturn]] void RaiseOutOfOrder() const {
        RaiseCorrupt(GetPager().Path(),
                     "index page " + std::to_string(page.Number()) + ": not in order with its neighbours");
    }
    /// Pins the leaf and finds the first entry that is not smaller than `entry`. True when it is that very
    /// entry.
    bool FindPlace() {
        Pin(tree->FindLeaf(entry));
        const IndexPage index(GetPager(), page);
        position = index.LowerBound(entry);
        if (position >= index.UsedBytes()) return false;
        std::vector<std::uint8_t> whole;
        index.Whole(position, whole);
        const int order = CompareBytes(whole, entry);
        if (order < 0) RaiseOutOfOrder();
        return order == 0;
    }
    bool Stand() {
        IndexPage(GetPager(), page).Whole(position, entry);
        onEntry = true;
        afterLast = false;
        trailing = false;
        return true;
    }
};

BTree::Cursor::Cursor(const BTree& tree) : state_(std::make_unique<State>(tree)) {}
BTree::Cursor::~Cursor() = default;
BTree::Cursor::Cursor(Cursor&&) noexcept = default;
BTree::Cursor& BTree::Cursor::operator=(Cursor&&) noexcept = default;

void BTree::Cursor::SeekBefore(KeyView key) {
    state_->entry.assign(key.begin(), key.end());
    state_->onEntry = false;
    state_->afterLast = false;
    state_->trailing = false;
    state_->page = {};
    state_->leafStart.clear();
}

void BTree::Cursor::SeekAfterLast() {
    state_->afterLast = true;
    state_->onEntry = false;
    state_->page = {};
    state_->leafStart.clear();
}

bool BTree::Cursor::Next() {
    State& s = *state_;
    if (s.afterLast) return false;
    if (!s.onEntry || !s.PlaceIsGood()) {
        const bool found = s.FindPlace();
        if (found && s.onEntry) s.position = IndexPage(s.GetPager(), s.page).After(s.position);
    } else {
        s.position = IndexPage(s.GetPager(), s.page).After(s.position);
    }
    // Leaves are never empty in a sound index; the count keeps empty ones from leading round forever.
    for (PageNumber pages = 0; pages <= s.GetPager().PageCount(); ++pages) {
        const IndexPage index(s.GetPager(), s.page);
        if (s.position < index.UsedBytes()) return s.Stand();
        if (index.Next() == 0) break;
        s.GoTo(index.Next(), true);
        s.position = 0;
    }
    // An entry added behind the last one later is met by the next call, so the cursor remembers its entry.
    s.trailing = s.onEntry;
    s.page = {};
    return false;
}

bool BTree::Cursor::Previous() {
    State& s = *state_;
    if (s.afterLast) {
        s.Pin(s.tree->FindLastLeaf());
        s.position = IndexPage(s.GetPager(), s.page).UsedBytes();
    } else if (!s.onEntry || !s.PlaceIsGood()) {
        const bool found = s.FindPlace();
        if (found && s.trailing) return s.Stand();
    }
    for (PageNumber pages = 0; pages <= s.GetPager().PageCount(); ++pages) {
        const IndexPage index(s.GetPager(), s.page);
        if (s.position > 0) {
            s.position = index.Before(s.position);
            return s.Stand();
        }
        if (index.Previous() == 0) break;
        s.GoTo(index.Previous(), false);
        s.position = IndexPage(s.GetPager(), s.page).UsedBytes();
    }
    SeekBefore({});
    return false;
}

KeyView BTree::Cursor::Key() const {
    return KeyView(state_->entry).first(state_->entry.size() - kRowPointerBytes);
}

RowId BTree::Cursor::Row() const {
    const ByteView pointer = ByteView(state_->entry).From(state_->entry.size() - kRowPointerBytes);
    return {pointer.U24BigEndian(0), pointer.U8(3)};
}

}  // namespace marrowkit::jet
