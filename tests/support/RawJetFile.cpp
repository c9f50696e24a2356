#include "support/RawJetFile.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "support/TemporaryFolder.h"

namespace marrowkit::test {

using jet::BadStructure;
using jet::ByteView;
using jet::PageNumber;
using jet::RowId;

namespace {

constexpr std::uint16_t kOffsetMask = 0x1FFF;
constexpr std::uint16_t kMovedFlag = 0x4000;
constexpr std::uint16_t kTargetFlag = 0x8000;
constexpr std::uint16_t kDeletedFlags = 0xC000;

constexpr std::uint32_t kInlineValue = 0x80000000;
constexpr std::uint32_t kSingleRowValue = 0x40000000;
constexpr std::uint32_t kLengthMask = 0x3FFFFFFF;

void Require(bool condition, const std::string& what) {
    if (!condition) throw BadStructure(what);
}

void AppendBytes(ByteView from, std::vector<std::uint8_t>& to) {
    to.insert(to.end(), from.All().begin(), from.All().end());
}

}  // namespace

RawJetFile::RawJetFile(const std::filesystem::path& file) {
    const std::string content = ReadFile(file);
    bytes_.assign(content.begin(), content.end());
    header_ = jet::ParseDatabaseHeader(ByteView(bytes_), file.string());
    const std::span<std::uint8_t> all(bytes_);
    for (PageNumber page = 1; page < PageCount(); ++page) {
        jet::ApplyPageEncoding(header_.databaseKey, page,
                               all.subspan(std::size_t{page} * Geometry().pageBytes, Geometry().pageBytes));
    }
}

PageNumber RawJetFile::PageCount() const {
    return static_cast<PageNumber>(bytes_.size() / Geometry().pageBytes);
}

ByteView RawJetFile::Page(PageNumber page) const {
    return ByteView(bytes_).Sub(std::size_t{page} * Geometry().pageBytes, Geometry().pageBytes);
}

std::uint16_t RawJetFile::SlotCount(PageNumber page) const {
    return Page(page).U16(Geometry().dataHeaderBytes - 2);
}

std::uint16_t RawJetFile::Slot(RowId row) const {
    Require(row.slot < SlotCount(row.page), "a row pointer leads to a slot that is not there");
    return Page(row.page).U16(Geometry().dataHeaderBytes + 2U * row.slot);
}

ByteView RawJetFile::SlotBytes(RowId row) const {
    const std::uint32_t start = Slot(row) & kOffsetMask;
    std::uint32_t end = Geometry().pageBytes;
    if (row.slot != 0) {
        end = Slot({row.page, static_cast<std::uint8_t>(row.slot - 1)}) & kOffsetMask;
    }
    Require(start <= end, "slots are out of order");
    return Page(row.page).Sub(start, end - start);
}

std::vector<PageNumber> RawJetFile::MapMembers(RowId map) const {
    std::vector<PageNumber> members;
    if (map.IsNull()) return members;
    const ByteView row = SlotBytes(map);
    const auto take = [&](ByteView bitmap, PageNumber first) {
        for (std::uint32_t bit = 0; bit < bitmap.Size() * 8; ++bit) {
            if ((bitmap.U8(bit / 8) >> (bit % 8) & 1) != 0) members.push_back(first + bit);
        }
    };
    if (row.U8(0) == 0) {
        take(row.From(5), row.U32(1));
        return members;
    }
    Require(row.U8(0) == 1, "a usage map is neither inline nor a reference map");
    for (std::uint32_t entry = 0; 1 + 4 * (entry + 1) <= row.Size(); ++entry) {
        const PageNumber page = row.U32(1 + 4 * entry);
        if (page == 0) continue;
        Require(Page(page).U8(0) == 0x05, "a reference map refers to something else than a bitmap page");
        take(Page(page).From(4), entry * Geometry().PagesPerBitmap());
    }
    return members;
}

std::vector<std::uint8_t> RawJetFile::LogicalDefinition(PageNumber page) const {
    std::vector<std::uint8_t> logical;
    for (PageNumber at = page; at != 0; at = Page(at).U32(4)) {
        Require(Page(at).U8(0) == 0x02, "a table definition's page is of another type");
        Require(logical.size() < bytes_.size(), "the pages of a definition form a ring");
        AppendBytes(Page(at).From(at == page ? 0 : 8), logical);
    }
    const std::uint32_t length = ByteView(logical).U32(8);
    Require(length <= logical.size(), "a definition is longer than its pages");
    logical.resize(length);
    return logical;
}

jet::TableDefinition RawJetFile::Definition(PageNumber page) const {
    return jet::ParseTableDefinition(Geometry(), page, ByteView(LogicalDefinition(page)));
}

std::vector<RawJetFile::StoredRow> RawJetFile::Rows(const jet::TableDefinition& table) const {
    std::vector<StoredRow> rows;
    for (const PageNumber page : MapMembers(table.ownedMap)) {
        Require(Page(page).U8(0) == 0x01 && Page(page).U32(4) == table.page,
                "an owned page is no data page of the table");
        for (std::uint16_t slot = 0; slot < SlotCount(page); ++slot) {
            const RowId id{page, static_cast<std::uint8_t>(slot)};
            const std::uint16_t flags = Slot(id) & kDeletedFlags;
            if ((flags & kTargetFlag) != 0) continue;
            RowId at = id;
            for (int step = 0; (Slot(at) & kMovedFlag) != 0; ++step) {
                Require(step < 16, "a moved row never arrives");
                at = RowId::FromStored(SlotBytes(at).U32(0));
                Require((Slot(at) & kTargetFlag) != 0, "a moved row's new place is not marked as one");
            }
            rows.push_back({id, SlotBytes(at)});
        }
    }
    return rows;
}

jet::RowView RawJetFile::View(const jet::TableDefinition& table, const StoredRow& row) const {
    return {Geometry(), table, row.bytes};
}

std::vector<std::uint8_t> RawJetFile::LongValue(ByteView inRow) const {
    const std::uint32_t word = inRow.U32(0);
    const std::uint32_t length = word & kLengthMask;
    const RowId first = RowId::FromStored(inRow.U32(4));
    std::vector<std::uint8_t> value;
    if ((word & kInlineValue) != 0) {
        AppendBytes(inRow.Sub(12, length), value);
        return value;
    }
    if ((word & kSingleRowValue) != 0) {
        AppendBytes(SlotBytes(first), value);
    } else {
        for (RowId at = first; !at.IsNull(); at = RowId::FromStored(SlotBytes(at).U32(0))) {
            Require(value.size() <= length, "a chain of a long value is longer than the value");
            AppendBytes(SlotBytes(at).From(4), value);
        }
    }
    Require(value.size() == length, "a long value does not have its length");
    return value;
}

jet::Value RawJetFile::ValueOf(const jet::RowView& row, const jet::ColumnDefinition& column) const {
    if (!column.IsLongValue()) return row.Decode(column);
    if (row.IsNull(column)) return jet::Null{};
    const ByteView inRow = row.Bytes(column);
    const std::vector<std::uint8_t> value = inRow.Empty() ? std::vector<std::uint8_t>{} : LongValue(inRow);
    return jet::DecodeValue(Geometry(), column, ByteView(value));
}

// ---------------------------------------------------------------- indexes

struct RawJetFile::IndexWalk {
    PageNumber table = 0;
    std::vector<IndexEntry> entries;
    std::vector<PageNumber> pages;
    std::vector<PageNumber> leaves;
    std::vector<std::uint8_t> last;  ///< greatest entry so far
};

namespace {

struct PageEntry {
    std::vector<std::uint8_t> bytes;  ///< key and row pointer
    PageNumber child = 0;
};

/// The entries of one index page, prefix put back, child page taken off.
std::vector<PageEntry> EntriesOnPage(const jet::Geometry& geometry, ByteView page, bool node) {
    const bool jet4 = geometry.version == jet::JetVersion::Jet4;
    const std::size_t bitmapAt = jet4 ? 27 : 22;
    const std::size_t prefix = jet4 ? page.U16(24) : page.U8(20);
    const std::size_t start = geometry.indexEntriesStart;
    std::vector<PageEntry> entries;
    std::vector<std::uint8_t> first;
    std::size_t from = 0;
    for (std::size_t bit = 1; bit < (start - bitmapAt) * 8; ++bit) {
        if ((page.U8(bitmapAt + bit / 8) >> (bit % 8) & 1) == 0) continue;
        PageEntry entry;
        if (!entries.empty()) entry.bytes.assign(first.begin(), first.begin() + static_cast<long>(prefix));
        AppendBytes(page.Sub(start + from, bit - from), entry.bytes);
        if (entries.empty()) first = entry.bytes;
        Require(first.size() >= prefix, "an index page's prefix is longer than its first entry");
        Require(entry.bytes.size() >= (node ? 8U : 4U), "an index entry is too short");
        if (node) {
            entry.child = ByteView(entry.bytes).U32BigEndian(entry.bytes.size() - 4);
            entry.bytes.resize(entry.bytes.size() - 4);
        }
        entries.push_back(std::move(entry));
        from = bit;
    }
    Require(page.U16(2) == geometry.pageBytes - start - from, "an index page's free space is wrong");
    return entries;
}

}  // namespace

void RawJetFile::WalkIndex(PageNumber number, int level, IndexWalk& walk) const {
    const ByteView page = Page(number);
    const bool jet4 = Version() == jet::JetVersion::Jet4;
    const bool node = page.U8(0) == 0x03;
    Require(node || page.U8(0) == 0x04, "an index page is of another type");
    Require(page.U32(4) == walk.table, "an index page belongs to another table");
    const int ownLevel = page.U8(jet4 ? 26 : 21);
    Require((ownLevel != 0) == node && (level < 0 || ownLevel == level), "an index page's level is wrong");
    walk.pages.push_back(number);
    Require(walk.pages.size() <= PageCount(), "index pages form a ring");

    const std::vector<PageEntry> entries = EntriesOnPage(Geometry(), page, node);
    if (node) {
        for (const PageEntry& entry : entries) {
            WalkIndex(entry.child, ownLevel - 1, walk);
            Require(walk.last <= entry.bytes, "a node's entry is less than its child's greatest");
            // What follows has to be greater than the node's entry, not only than the child's.
            walk.last = entry.bytes;
        }
        WalkIndex(page.U32(jet4 ? 20 : 16), ownLevel - 1, walk);
        return;
    }
    const std::size_t previousAt = jet4 ? 12 : 8;
    Require(page.U32(previousAt) == (walk.leaves.empty() ? 0 : walk.leaves.back()),
            "a leaf's previous page is wrong");
    if (!walk.leaves.empty()) {
        Require(Page(walk.leaves.back()).U32(previousAt + 4) == number, "a leaf's next page is wrong");
    }
    walk.leaves.push_back(number);
    for (const PageEntry& entry : entries) {
        // Only a node's copy of the greatest entry before may be equal.
        Require(walk.last < entry.bytes, "index entries do not ascend");
        walk.last = entry.bytes;
        const std::size_t keyBytes = entry.bytes.size() - 4;
        const ByteView view(entry.bytes);
        walk.entries.push_back({{entry.bytes.begin(), entry.bytes.end() - 4},
                                {view.U24BigEndian(keyBytes), view.U8(keyBytes + 3)}});
    }
}

std::vector<RawJetFile::IndexEntry> RawJetFile::IndexEntries(PageNumber table,
                                                             const jet::RealIndex& index) const {
    IndexWalk walk;
    walk.table = table;
    WalkIndex(index.rootPage, -1, walk);
    Require(Page(walk.leaves.back()).U32(Version() == jet::JetVersion::Jet4 ? 16 : 12) == 0,
            "the last leaf has a next page");
    return std::move(walk.entries);
}

std::vector<PageNumber> RawJetFile::IndexPages(const jet::RealIndex& index) const {
    IndexWalk walk;
    walk.table = Page(index.rootPage).U32(4);
    WalkIndex(index.rootPage, -1, walk);
    std::sort(walk.pages.begin(), walk.pages.end());
    return std::move(walk.pages);
}

// ---------------------------------------------------------------- catalog

std::vector<RawJetFile::Object> RawJetFile::Objects() const {
    const jet::TableDefinition catalog = Definition(jet::kCatalogPage);
    const auto column = [&catalog](const char* name) -> const jet::ColumnDefinition& {
        for (const jet::ColumnDefinition& c : catalog.columns) {
            if (c.name == name) return c;
        }
        throw BadStructure(std::string("the catalog lacks the column ") + name);
    };
    std::vector<Object> objects;
    for (const StoredRow& stored : Rows(catalog)) {
        const jet::RowView row = View(catalog, stored);
        Object object;
        object.id = std::get<std::int32_t>(ValueOf(row, column("Id")));
        object.parentId = std::get<std::int32_t>(ValueOf(row, column("ParentId")));
        object.name = std::get<std::string>(ValueOf(row, column("Name")));
        object.type = std::get<std::int16_t>(ValueOf(row, column("Type")));
        object.flags = std::get<std::int32_t>(ValueOf(row, column("Flags")));
        AppendBytes(row.Bytes(column("Owner")), object.owner);
        const jet::Value properties = ValueOf(row, column("LvProp"));
        if (!jet::IsNull(properties)) object.properties = std::get<jet::Binary>(properties);
        objects.push_back(std::move(object));
    }
    return objects;
}

jet::TableDefinition RawJetFile::TableNamed(const std::string& name) const {
    for (const Object& object : Objects()) {
        if (object.IsTable() && object.name == name) return Definition(object.DefinitionPage());
    }
    throw BadStructure("there is no table " + name);
}

}  // namespace marrowkit::test
