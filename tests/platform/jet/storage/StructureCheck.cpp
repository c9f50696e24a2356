#include "platform/jet/storage/StructureCheck.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "platform/jet/storage/UsageMap.h"

namespace marrowkit::jet::test {

namespace {

std::uint32_t BigEndian(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bytes[at]) << 24 | static_cast<std::uint32_t>(bytes[at + 1]) << 16 |
           static_cast<std::uint32_t>(bytes[at + 2]) << 8 | bytes[at + 3];
}

struct RawIndexPage {
    bool leaf = false;
    std::uint32_t level = 0;
    PageNumber previous = 0, next = 0, tail = 0;
    std::uint32_t prefix = 0;
    std::vector<std::vector<std::uint8_t>> entries;
};

class IndexWalk {
public:
    IndexWalk(Pager& pager, bool ownWriting) : pager_(pager), ownWriting_(ownWriting) {}

    void Walk(PageNumber root) {
        root_ = root;
        Visit(root, -1, {}, {});
        CheckChain(leaves_, "leaf");
        report.levels = 1;
        if (!raw_.empty()) report.levels = raw_.at(root).level + 1;
    }

    IndexReport report;

private:
    using Bytes = std::vector<std::uint8_t>;

    void Problem(PageNumber page, const std::string& what) {
        report.problems.push_back("page " + std::to_string(page) + ": " + what);
    }

    RawIndexPage Decode(PageNumber number) {
        const PageRef ref = pager_.Read(number);
        const ByteView bytes = ref.Bytes();
        const bool jet3 = pager_.PageGeometry().version == JetVersion::Jet3;
        const std::uint32_t start = jet3 ? 248 : 480;
        const std::uint32_t capacity = jet3 ? 1800 : 3616;
        RawIndexPage page;
        const std::uint8_t type = bytes.U8(0);
        if (type != 3 && type != 4) {
            Problem(number, "type " + std::to_string(type) + " in an index");
            return page;
        }
        if (bytes.U8(1) != 1) Problem(number, "second byte");
        page.leaf = type == 4;
        page.previous = bytes.U32(jet3 ? 8 : 12);
        page.next = bytes.U32(jet3 ? 12 : 16);
        page.tail = bytes.U32(jet3 ? 16 : 20);
        page.prefix = jet3 ? bytes.U8(20) : bytes.U16(24);
        page.level = bytes.U8(jet3 ? 21 : 26);
        const std::uint32_t used = capacity - bytes.U16(2);
        const std::uint32_t map = jet3 ? 22 : 27;
        std::uint32_t from = 0;
        Bytes shared;
        for (std::uint32_t k = 0; k < (start - map) * 8; ++k) {
            if ((bytes.U8(map + k / 8) >> (k % 8) & 1) == 0) continue;
            if (k == 0 || k > used) {
                Problem(number, "end mark at " + std::to_string(k) + " of " + std::to_string(used));
                continue;
            }
            Bytes entry = page.entries.empty() ? Bytes{} : shared;
            for (std::uint32_t i = from; i < k; ++i) entry.push_back(bytes.U8(start + i));
            if (page.entries.empty()) {
                if (page.prefix > entry.size()) {
                    Problem(number, "prefix longer than the first entry");
                } else {
                    shared.assign(entry.begin(), entry.begin() + page.prefix);
                }
            }
            page.entries.push_back(std::move(entry));
            from = k;
        }
        if (from != used)
            Problem(number, "free word says " + std::to_string(used) + " bytes are used, entries end at " +
                                std::to_string(from));
        if (ownWriting_) {
            for (std::uint32_t i = start + used; i < bytes.Size(); ++i) {
                if (bytes.U8(i) != 0) {
                    Problem(number, "bytes behind the entries are not zero");
                    break;
                }
            }
        }
        return page;
    }

    /// `atMost`: what the parent says of the last entry here; empty for no bound.
    void Visit(PageNumber number, int level, const Bytes& atMost, const Bytes& greaterThan) {
        if (!seen_.insert(number).second) return Problem(number, "in the tree twice");
        report.pages.push_back(number);
        raw_[number] = Decode(number);
        const RawIndexPage page = raw_[number];
        if (page.leaf != (page.level == 0)) Problem(number, "level does not go with the type");
        if (level >= 0 && static_cast<int>(page.level) != level) Problem(number, "on the wrong level");
        if (page.prefix != 0) ++report.compressedLeaves;
        if (!page.leaf && page.prefix != 0) Problem(number, "a compressed node");
        if (page.leaf && page.tail != 0) Problem(number, "a leaf with a tail");
        if (!page.leaf && page.tail == 0) Problem(number, "a node without tail");
        if (number == root_ && (page.previous != 0 || page.next != 0))
            Problem(number, "the root has neighbours");
        if (page.entries.empty() && number != root_) Problem(number, "empty");
        const std::size_t trailer = page.leaf ? 0 : 4;
        Bytes last = greaterThan;
        bool first = greaterThan.empty();
        for (const Bytes& entry : page.entries) {
            if (entry.size() < 4 + trailer) {
                Problem(number, "an entry too short");
                return;
            }
            const Bytes body(entry.begin(), entry.end() - static_cast<std::ptrdiff_t>(trailer));
            if (!first && !(last < body)) Problem(number, "entries out of order");
            first = false;
            last = body;
            if (page.leaf) report.entries.push_back({entry});
        }
        if (!atMost.empty() && !page.entries.empty() && atMost < last)
            Problem(number, "greater than the parent's entry");
        if (page.leaf) {
            leaves_.push_back(number);
            return;
        }
        Bytes below = greaterThan;
        std::vector<PageNumber> children;
        for (const Bytes& entry : page.entries) {
            const Bytes body(entry.begin(), entry.end() - 4);
            children.push_back(BigEndian(entry, entry.size() - 4));
            Visit(children.back(), static_cast<int>(page.level) - 1, body, below);
            below = body;
        }
        children.push_back(page.tail);
        Visit(page.tail, static_cast<int>(page.level) - 1, atMost, below);
        if (page.level > 1) CheckChain(children, "node");
    }

    void CheckChain(const std::vector<PageNumber>& pages, const char* kind) {
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const RawIndexPage& page = raw_[pages[i]];
            const PageNumber previous = i == 0 ? 0 : pages[i - 1];
            const PageNumber next = i + 1 == pages.size() ? 0 : pages[i + 1];
            // Genuine files of three levels are not known, so only our own nodes are asked for this rule.
            if (!ownWriting_ && page.level > 0) continue;
            if (page.previous != previous || page.next != next) {
                Problem(pages[i], std::string(kind) + " with wrong neighbours " +
                                      std::to_string(page.previous) + "/" + std::to_string(page.next) +
                                      " instead of " + std::to_string(previous) + "/" + std::to_string(next));
            }
        }
    }

    Pager& pager_;
    bool ownWriting_;
    PageNumber root_ = 0;
    std::set<PageNumber> seen_;
    std::map<PageNumber, RawIndexPage> raw_;
    std::vector<PageNumber> leaves_;
};

}  // namespace

IndexReport CheckIndex(Pager& pager, PageNumber root, bool ownWriting) {
    IndexWalk walk(pager, ownWriting);
    walk.Walk(root);
    return std::move(walk.report);
}

std::vector<std::string> CheckDataPage(Pager& pager, PageNumber number, std::uint32_t owner) {
    std::vector<std::string> problems;
    const PageRef page = pager.Read(number);
    const ByteView bytes = page.Bytes();
    const std::string name = "page " + std::to_string(number) + ": ";
    const std::size_t header = pager.PageGeometry().version == JetVersion::Jet3 ? 10 : 14;
    if (bytes.U8(0) != 1 || bytes.U8(1) != 1) problems.push_back(name + "not a data page");
    if (bytes.U32(4) != owner) problems.push_back(name + "owner " + std::to_string(bytes.U32(4)));
    const std::size_t count = bytes.U16(header - 2);
    std::size_t end = bytes.Size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t start = bytes.U16(header + 2 * i) & 0x1FFF;
        if (start > end) problems.push_back(name + "slots out of order");
        end = start;
    }
    if (bytes.U16(2) != end - header - 2 * count) problems.push_back(name + "wrong free-space word");
    return problems;
}

namespace {

class DatabaseCheck {
public:
    explicit DatabaseCheck(const TestDatabase& database) : database_(database), pager_(*database.pager) {}

    std::vector<std::string> Run() {
        for (const PageNumber page : {PageNumber{0}, PageNumber{1}, PageNumber{2}}) Use(page, "fixed");
        CheckGlobalMap();
        CheckMapRows();
        CheckPages(database_.layout.owned, database_.layout.free, Layout::kTable, "rows");
        CheckPages(database_.layout.longOwned, database_.layout.longFree, 0x4C41564C, "long values");
        CheckMoved();
        CheckTree();
        for (PageNumber page = 0; page < pager_.PageCount(); ++page) {
            const bool used = used_.contains(page);
            if (used && pager_.IsFree(page))
                Problem("page " + std::to_string(page) + " of " + used_[page] + " is marked free");
            if (!used && !pager_.IsFree(page)) Problem("page " + std::to_string(page) + " is lost");
        }
        return std::move(problems_);
    }

private:
    void Problem(std::string what) { problems_.push_back(std::move(what)); }
    void Add(const std::vector<std::string>& problems) {
        problems_.insert(problems_.end(), problems.begin(), problems.end());
    }
    void Use(PageNumber page, const std::string& by) {
        if (!used_.emplace(page, by).second)
            Problem("page " + std::to_string(page) + " belongs to " + used_[page] + " and " + by);
    }

    void CheckGlobalMap() {
        Add(CheckDataPage(pager_, 1, 1));
        const PageRef page = pager_.Read(1);
        const ByteView bytes = page.Bytes();
        const bool jet3 = pager_.PageGeometry().version == JetVersion::Jet3;
        const std::size_t header = jet3 ? 10 : 14;
        const std::size_t start = bytes.U16(header);
        const std::size_t length = bytes.Size() - start;
        if (bytes.U8(start) == 0) {
            const std::size_t expected =
                5 + std::max<std::size_t>(jet3 ? 128 : 64, 4 * ((pager_.PageCount() + std::size_t{31}) / 32));
            if (length < expected) Problem("the global map is too short");
            // It does not shrink, so after a rollback of growth alone may it be longer.
            for (std::size_t k = pager_.PageCount(); k < (length - 5) * 8; ++k) {
                if ((bytes.U8(start + 5 + k / 8) >> (k % 8) & 1) == 0) {
                    Problem("a page behind the end is not marked free: " + std::to_string(k));
                }
            }
        } else {
            for (std::size_t i = 0; i < (length - 1) / 4; ++i) {
                if (const PageNumber bits = bytes.U32(start + 1 + 4 * i)) Use(bits, "the global map");
            }
        }
    }

    void CheckMapRows() {
        std::set<PageNumber> pages;
        for (const RowId map : {database_.layout.owned, database_.layout.free, database_.layout.indexMap,
                                database_.layout.longOwned, database_.layout.longFree}) {
            pages.insert(map.page);
            for (const PageNumber bits : UsageMap(pager_, map).BitmapPages()) Use(bits, "a usage map");
        }
        for (const PageNumber page : pages) {
            Use(page, "usage map rows");
            Add(CheckDataPage(pager_, page, 0));
        }
    }

    void CheckPages(RowId ownedMap, RowId freeMap, std::uint32_t owner, const char* what) {
        const std::vector<PageNumber> owned = UsageMap(pager_, ownedMap).Members();
        for (const PageNumber page : owned) {
            Use(page, what);
            Add(CheckDataPage(pager_, page, owner));
            if (CountLive(page) == 0)
                Problem("page " + std::to_string(page) + " of " + what + " has no live row");
        }
        for (const PageNumber page : UsageMap(pager_, freeMap).Members()) {
            if (!std::binary_search(owned.begin(), owned.end(), page))
                Problem("free-space page " + std::to_string(page) + " is not owned");
        }
    }

    template <typename Visit>
    void ForEachSlot(PageNumber number, const Visit& visit) {
        const PageRef page = pager_.Read(number);
        const std::size_t header = pager_.PageGeometry().version == JetVersion::Jet3 ? 10 : 14;
        const std::size_t count = page.Bytes().U16(header - 2);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint16_t slot = page.Bytes().U16(header + 2 * i);
            visit(static_cast<std::uint8_t>(i), static_cast<std::uint16_t>(slot & 0xC000),
                  page.Bytes().From(slot & 0x1FFF));
        }
    }

    std::size_t CountLive(PageNumber page) {
        std::size_t live = 0;
        ForEachSlot(page,
                    [&](std::uint8_t, std::uint16_t flags, ByteView) { live += flags != 0xC000 ? 1 : 0; });
        return live;
    }

    void CheckMoved() {
        std::set<std::pair<PageNumber, std::uint8_t>> targets, pointed;
        for (const PageNumber page : UsageMap(pager_, database_.layout.owned).Members()) {
            ForEachSlot(page, [&](std::uint8_t slot, std::uint16_t flags, ByteView bytes) {
                if (flags == 0x8000) targets.emplace(page, slot);
                if (flags == 0x4000) {
                    const RowId to = RowId::FromStored(bytes.U32(0));
                    if (!pointed.emplace(to.page, to.slot).second) Problem("two rows moved to one place");
                }
            });
        }
        if (targets != pointed) Problem("moved rows and their places do not match");
    }

    void CheckTree() {
        const IndexReport report = CheckIndex(pager_, database_.layout.root, true);
        Add(report.problems);
        std::vector<PageNumber> pages = report.pages;
        std::sort(pages.begin(), pages.end());
        if (pages != UsageMap(pager_, database_.layout.indexMap).Members())
            Problem("the index map is not the set of its pages");
        for (const PageNumber page : pages) Use(page, "the index");
    }

    const TestDatabase& database_;
    Pager& pager_;
    std::vector<std::string> problems_;
    std::map<PageNumber, std::string> used_;
};

}  // namespace

std::vector<std::string> CheckDatabase(const TestDatabase& database) {
    return DatabaseCheck(database).Run();
}

}  // namespace marrowkit::jet::test
