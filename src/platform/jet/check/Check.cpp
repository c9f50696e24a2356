#include "platform/jet/check/Check.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <new>
#include <thread>

#include "platform/jet/check/CheckCatalog.h"
#include "platform/jet/check/CheckOpenFile.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Journal.h"

namespace marrowkit::jet {

std::string Problem::ToText() const {
    std::string text;
    if (!table.empty()) text += "table " + table + ": ";
    text += what;
    // Most texts name their pages themselves.
    if (page != 0 && text.find("page " + std::to_string(page)) == std::string::npos) {
        text += " (page " + std::to_string(page) + ")";
    }
    return text;
}

namespace check {

namespace {

void CheckHeader(const CheckFile& file, CheckReport& report) {
    constexpr std::size_t kMaskStart = 0x18;
    constexpr std::array<std::uint8_t, 4> kMaskKey{0xC7, 0xDA, 0x39, 0x6B};
    constexpr std::array<std::uint8_t, 32> kConstant{0, 1, 0, 0, 1, 1, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0,
                                                     4, 0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const FilePage page = file.Read(0);
    std::array<std::uint8_t, kConstant.size()> masked{};
    const ByteView stored = page.bytes.Sub(kMaskStart, masked.size());
    std::copy(stored.All().begin(), stored.All().end(), masked.begin());
    ApplyRc4(kMaskKey, masked);
    if (masked != kConstant) report.Add(0, {}, "the constant part of the header has changed");

    const Geometry& geometry = file.PageGeometry();
    if (file.SizeBytes() % geometry.pageBytes != 0) {
        report.Add(0, {}, "the file ends in the middle of page " + std::to_string(file.PageCount()));
    }
    if (file.SizeBytes() > geometry.maxFileBytes)
        report.Add(0, {}, "the file is larger than the format allows");
}

/// Page 1: which pages are free, and a second map of the same kind that nobody uses.
void CheckGlobalMap(CheckContext& context) {
    constexpr std::uint32_t kOwnerOfPage1 = 1;
    context.Claim(kGlobalMapPage, context.owners.NewOwner("the global map"), {});
    const DataPage page(context.file.PageGeometry(), context.file.Read(kGlobalMapPage));
    if (page.FreeBytes() != page.ExactFreeBytes()) {
        context.report.Add(kGlobalMapPage, {},
                           "page 1 says " + std::to_string(page.FreeBytes()) + " free bytes, there are " +
                               std::to_string(page.ExactFreeBytes()));
    }
    if (page.SlotCount() != 2) context.report.Add(kGlobalMapPage, {}, "page 1 does not hold two maps");
    const StoredMap free = ReadMap(context.file, {kGlobalMapPage, 0}, kOwnerOfPage1);
    for (const PageNumber member : free.members) context.isFree[member] = true;
    if (!free.isReference && (free.startPage != 0 || free.bitCount < context.file.PageCount())) {
        context.report.Add(kGlobalMapPage, {}, "the global map does not cover the file");
    }
    const StoredMap second = ReadMap(context.file, {kGlobalMapPage, 1}, kOwnerOfPage1);
    if (!second.members.empty()) context.report.Add(kGlobalMapPage, {}, "the second global map is not empty");
    for (const StoredMap* map : {&free, &second}) {
        for (const PageNumber bitmap : map->bitmapPages) context.Claim(bitmap, context.bitmapOwner, {});
    }
    for (const PageNumber fixed : {PageNumber{0}, kGlobalMapPage}) {
        if (context.isFree[fixed]) {
            context.report.Add(fixed, {}, "page " + std::to_string(fixed) + " is marked free");
        }
    }
}

void CheckMapPages(CheckContext& context) {
    for (PageNumber number = 0; number < context.owners.PageCount(); ++number) {
        if (context.owners.Of(number) != context.mapOwner) continue;
        try {
            const DataPage page(context.file.PageGeometry(), context.file.Read(number));
            if (page.FreeBytes() != page.ExactFreeBytes()) {
                throw Damage(number, "page " + std::to_string(number) + " says " +
                                         std::to_string(page.FreeBytes()) + " free bytes, there are " +
                                         std::to_string(page.ExactFreeBytes()));
            }
        } catch (const Damage& damage) {
            context.report.Add({}, damage, "usage maps");
        }
    }
}

template <typename Step>
void Guard(CheckReport& report, const char* where, const Step& step) {
    try {
        step();
    } catch (const Damage& damage) {
        report.Add({}, damage, where);
    } catch (const OutOfBounds& outside) {
        report.Add(0, {}, std::string(where) + ": " + outside.what());
    } catch (const RuntimeError& error) {
        report.Add(0, {}, std::string(where) + ": " + error.description);
    } catch (const std::bad_alloc&) {
        report.Add(0, {}, std::string(where) + ": not enough memory");
    }
}

/// Whether half of a change is in the file because whoever made it was interrupted. Somebody who is just
/// making one gets a moment to finish.
bool IsChangeInterrupted(Storage& storage, const std::string& path) {
    constexpr int kLooks = 50;
    constexpr std::chrono::milliseconds kPause{10};
    Journal journal(storage, path);
    for (int look = 0; look < kLooks; ++look) {
        if (!journal.NeedsRecovery()) return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

}  // namespace

void CheckOpenFile(const CheckFile& file, CheckReport& report, RowObserver* observer) {
    if (file.PageCount() <= kCatalogPage) {
        report.Add(0, {}, JetErrorText(JetError::Corrupt, {file.Path()}));
        return;
    }
    CheckContext context(file, report);
    context.observer = observer;
    context.owners.Claim(0, context.owners.NewOwner("the header"));
    Guard(report, "header", [&] { CheckHeader(file, report); });
    Guard(report, "global map", [&] { CheckGlobalMap(context); });
    CheckedCatalog catalog;
    Guard(report, "catalog", [&] { catalog = CheckCatalog(context); });
    Guard(report, "usage maps", [&] { CheckMapPages(context); });
    Guard(report, "relationships", [&] { CheckRelationships(context, catalog); });
}

}  // namespace check

std::vector<Problem> Check(const std::string& path, std::size_t maxProblems, Storage* storage) {
    check::CheckReport report(maxProblems);
    Storage& host = storage ? *storage : HostStorage();
    std::unique_ptr<check::CheckFile> file;
    try {
        file = std::make_unique<check::CheckFile>(host, path);
    } catch (const RuntimeError& error) {
        // A file that is not there or not readable is the caller's error, one that is no database a finding.
        if (error.number != static_cast<int>(JetError::UnrecognizedFormat) &&
            error.number != static_cast<int>(JetError::Corrupt)) {
            throw;
        }
        report.Add(0, {}, error.description);
        return report.Problems();
    }
    if (!file->Header().password.empty()) {
        report.Add(0, {}, JetErrorText(JetError::WrongPassword));
        return report.Problems();
    }
    if (check::IsChangeInterrupted(host, path)) {
        report.Add(
            0, {},
            "a change was interrupted and has to be taken back before the file can be checked; opening "
            "the database once, for instance with \"marrowkit-cli tables\", does that");
        return report.Problems();
    }
    check::CheckOpenFile(*file, report);
    return report.Problems();
}

}  // namespace marrowkit::jet
