#include "platform/jet/engine/DefinitionPages.h"

#include <algorithm>
#include <string>

#include "platform/jet/format/JetErrors.h"

namespace marrowkit::jet {

namespace {

// Offset of the link to the continuation page; what is stored lies behind the page framing.
constexpr std::size_t kNextPageOffset = 4;
constexpr std::size_t kFramingBytes = 8;
constexpr std::size_t kLengthOffset = 8;
// 255 columns with 64-character names and 32 indexes need about 45 KB, so no honest chain is longer.
constexpr std::size_t kMaxChainPages = 64;

[[noreturn]] void RaiseDamagedChain(const Pager& pager, PageNumber first) {
    RaiseCorrupt(pager.Path(), "table definition on page " + std::to_string(first) +
                                   ": its chain of pages does not hold together");
}

void WritePage(const Geometry& geometry, const MutableByteView& page, std::span<const std::uint8_t> content,
               std::size_t contentOffset, PageNumber next) {
    page.Fill(0, page.Size(), 0);
    page.PutBytes(contentOffset, content);
    page.PutU8(0, static_cast<std::uint8_t>(PageType::TableDefinition));
    page.PutU8(1, 1);
    if (geometry.version == JetVersion::Jet3) {
        page.PutU8(2, 'V');
        page.PutU8(3, 'C');
    } else {
        const std::size_t unused = geometry.pageBytes - contentOffset - content.size();
        page.PutU16(2, static_cast<std::uint16_t>(unused > kFramingBytes ? unused - kFramingBytes : 0));
    }
    page.PutU32(kNextPageOffset, next);
}

}  // namespace

std::vector<PageNumber> DefinitionChain(Pager& pager, PageNumber first) {
    std::vector<PageNumber> chain;
    for (PageNumber number = first; number != 0;) {
        const PageRef page = pager.Read(number);
        if (page.Type() != PageType::TableDefinition || chain.size() == kMaxChainPages ||
            std::find(chain.begin(), chain.end(), number) != chain.end()) {
            RaiseDamagedChain(pager, first);
        }
        chain.push_back(number);
        number = page.Bytes().U32(kNextPageOffset);
    }
    if (chain.empty()) RaiseDamagedChain(pager, first);
    return chain;
}

TableDefinition LoadDefinition(Pager& pager, PageNumber first) {
    std::vector<std::uint8_t> logical;
    for (const PageNumber number : DefinitionChain(pager, first)) {
        const PageRef page = pager.Read(number);
        const auto bytes = page.Bytes().All().subspan(number == first ? 0 : kFramingBytes);
        logical.insert(logical.end(), bytes.begin(), bytes.end());
    }
    try {
        const std::size_t length = ByteView(logical).U32(kLengthOffset);
        if (length > logical.size()) RaiseDamagedChain(pager, first);
        return ParseTableDefinition(pager.PageGeometry(), first, ByteView(logical).Sub(0, length));
    } catch (const OutOfBounds&) {
        RaiseCorrupt(pager.Path(),
                     "table definition on page " + std::to_string(first) + " reaches beyond its end");
    }
}

void SaveDefinition(Pager& pager, const TableDefinition& definition) {
    const Geometry& geometry = pager.PageGeometry();
    const std::vector<std::uint8_t> logical = SerializeTableDefinition(geometry, definition);
    const std::size_t firstBytes = std::min<std::size_t>(logical.size(), geometry.pageBytes);
    const std::size_t restBytes = geometry.pageBytes - kFramingBytes;
    const std::size_t wanted = 1 + (logical.size() - firstBytes + restBytes - 1) / restBytes;
    if (wanted > kMaxChainPages) RaiseJet(JetError::TooManyFields);

    std::vector<PageNumber> chain{definition.page};
    if (pager.Read(definition.page).Type() == PageType::TableDefinition) {
        chain = DefinitionChain(pager, definition.page);
    }
    for (; chain.size() > wanted; chain.pop_back()) pager.Release(chain.back());
    while (chain.size() < wanted) chain.push_back(pager.Allocate().Number());

    std::span<const std::uint8_t> rest(logical);
    for (std::size_t i = 0; i < wanted; ++i) {
        const std::size_t offset = i == 0 ? 0 : kFramingBytes;
        const auto content = rest.first(std::min<std::size_t>(rest.size(), geometry.pageBytes - offset));
        rest = rest.subspan(content.size());
        const PageEdit page = pager.Edit(chain[i]);
        WritePage(geometry, page.Mutable(), content, offset, i + 1 < wanted ? chain[i + 1] : 0);
    }
}

void SaveCounters(Pager& pager, const TableDefinition& definition) {
    // All counters lie on the first page: 32 indexes' statistics end far in front of its end.
    const DefinitionOffsets offsets = DefinitionOffsetsOf(pager.PageGeometry().version);
    const PageEdit edit = pager.Edit(definition.page);
    const MutableByteView page = edit.Mutable();
    page.PutU32(offsets.rowCount, definition.rowCount);
    page.PutU32(offsets.lastAutoNumber, definition.lastAutoNumber);
    std::size_t at = offsets.statistics;
    for (const RealIndex& index : definition.realIndexes) {
        page.PutU32(at + 4, index.distinctStatistic);
        at += offsets.statisticsBytes;
    }
}

void PutRowCount(JetVersion version, const PageEdit& first, std::uint32_t count) {
    first.Mutable().PutU32(DefinitionOffsetsOf(version).rowCount, count);
}

void ReleaseDefinition(Pager& pager, PageNumber first) {
    for (const PageNumber page : DefinitionChain(pager, first)) pager.Release(page);
}

}  // namespace marrowkit::jet
