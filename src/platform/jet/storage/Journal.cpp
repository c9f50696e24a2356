#include "platform/jet/storage/Journal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <unordered_map>
#include <utility>

#include "platform/errors/RuntimeError.h"
#include "platform/jet/format/Bytes.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Hash.h"

// The file
//
// One header sector, then records. The header says whether a flush is under way ("writing") or not ("idle"),
// how many pages the database had, a random salt, and a few sample pages with their hashes. A record is
// either what a page held before ("before"), or hashes of the 512-byte sectors that are about to be written
// there
// ("intent"). Every record has a checksum that includes the salt, so records of an earlier flush that lie
// behind the last one are not taken for this one's.
//
// Order of things
//
// 1. header (writing) and records are written and synced, and the folder when the file is new;
// 2. the pages are written in place; more batches go through 1 and 2 again;
// 3. the database file is synced;
// 4. the header is written as idle, and synced.
//
// A crash before 1 is complete finds no page written in place: whatever records survived hold what the
// database holds anyway. A crash between 1 and 4 finds every page that may have been touched among the valid
// records, because its record was synced before; all other pages are as they were, and pages added at the end
// are cut off. A crash after 4 finds an idle journal. Records end at the first one whose checksum fails: it
// and all behind it were not synced, so their pages were not written.
//
// When a journal does not fit
//
// Someone else (the frontend, knowing nothing of journals) may have changed the database between the crash
// and now; putting old pages back into such a file would tear it apart. Disks write sectors whole, so after
// our crash every sector of a recorded page holds what it held before or what an intent says. One that holds
// anything else was written by another program. So was the file when its size lies outside of what the flush
// could have made it, or when a sample page that the flush never touched has changed. Page 0 is always a
// sample: Jet itself counts its commits there. In all these cases the journal is set aside.

namespace marrowkit::jet {

namespace {

constexpr std::size_t kSectorBytes = 512;
constexpr std::array<char, 8> kMagic{'M', 'K', 'J', 'O', 'U', 'R', 'N', '1'};
constexpr std::uint32_t kIdle = 1;
constexpr std::uint32_t kWriting = 2;
constexpr std::uint32_t kBefore = 0x45464542;  // "BEFE"
constexpr std::uint32_t kIntent = 0x454B414D;  // "MAKE"
constexpr std::size_t kRecordHeadBytes = 24;
constexpr std::size_t kMostSamples = 32;
/// Records are collected in memory up to this size before they are written.
constexpr std::size_t kPendingBytes = std::size_t{1} << 20;

std::uint64_t RecordChecksum(std::uint64_t salt, std::span<const std::uint8_t> head,
                             std::span<const std::uint8_t> payload) {
    return Hash64(Hash64(salt, head), payload);
}

std::vector<std::uint8_t> SectorHashes(std::span<const std::uint8_t> page) {
    std::vector<std::uint8_t> hashes(page.size() / kSectorBytes * 4);
    const MutableByteView view{hashes};
    for (std::size_t i = 0; i * kSectorBytes < page.size(); ++i) {
        view.PutU32(4 * i,
                    static_cast<std::uint32_t>(Hash64(i, page.subspan(i * kSectorBytes, kSectorBytes))));
    }
    return hashes;
}

std::uint64_t RandomNumber() {
    std::random_device device;
    return (std::uint64_t{device()} << 32 | device()) | 1;
}

}  // namespace

struct Journal::Header {
    std::uint32_t state = kIdle;
    std::uint32_t pageBytes = 0;
    std::uint32_t pages = 0;
    std::uint64_t salt = 0;
    std::uint64_t counter = 0;
    std::vector<std::pair<PageNumber, std::uint64_t>> samples;

    static constexpr std::size_t kStateAt = 8, kPageBytesAt = 12, kPagesAt = 16, kSampleCountAt = 20,
                                 kSaltAt = 24, kCounterAt = 32, kSamplesAt = 40,
                                 kChecksumAt = kSectorBytes - 8;
    static_assert(kSamplesAt + 12 * kMostSamples <= kChecksumAt);

    std::array<std::uint8_t, kSectorBytes> Serialize() const {
        std::array<std::uint8_t, kSectorBytes> bytes{};
        std::memcpy(bytes.data(), kMagic.data(), kMagic.size());
        const MutableByteView view{bytes};
        view.PutU32(kStateAt, state);
        view.PutU32(kPageBytesAt, pageBytes);
        view.PutU32(kPagesAt, pages);
        view.PutU32(kSampleCountAt, static_cast<std::uint32_t>(samples.size()));
        view.PutU64(kSaltAt, salt);
        view.PutU64(kCounterAt, counter);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            view.PutU32(kSamplesAt + 12 * i, samples[i].first);
            view.PutU64(kSamplesAt + 12 * i + 4, samples[i].second);
        }
        view.PutU64(kChecksumAt, Hash64(0, std::span(bytes).first(kChecksumAt)));
        return bytes;
    }

    static std::optional<Header> Parse(ByteView bytes) {
        if (std::memcmp(bytes.Data(), kMagic.data(), kMagic.size()) != 0) return std::nullopt;
        if (bytes.U64(kChecksumAt) != Hash64(0, bytes.All().first(kChecksumAt))) return std::nullopt;
        Header header;
        header.state = bytes.U32(kStateAt);
        header.pageBytes = bytes.U32(kPageBytesAt);
        header.pages = bytes.U32(kPagesAt);
        header.salt = bytes.U64(kSaltAt);
        header.counter = bytes.U64(kCounterAt);
        const std::size_t count = std::min<std::size_t>(bytes.U32(kSampleCountAt), kMostSamples);
        for (std::size_t i = 0; i < count; ++i) {
            header.samples.emplace_back(bytes.U32(kSamplesAt + 12 * i), bytes.U64(kSamplesAt + 12 * i + 4));
        }
        const bool pageBytesKnown = header.pageBytes == 2048 || header.pageBytes == 4096;
        if (header.state == kWriting && !pageBytesKnown) return std::nullopt;
        return header;
    }
};

Journal::Journal(Storage& storage, const std::string& databasePath)
    : storage_(&storage), path_(PathFor(databasePath)) {}

std::string Journal::PathFor(const std::string& databasePath) {
    constexpr std::string_view kEnding = ".mkjournal";
    constexpr std::size_t kLongestNameBytes = 255 - std::string_view(".unfit").size();
    constexpr std::size_t kKeptNameBytes = 200;
    const std::size_t slash = databasePath.find_last_of("/\\");
    const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
    if (databasePath.size() - name + kEnding.size() <= kLongestNameBytes) {
        return databasePath + std::string(kEnding);
    }
    // A name that leaves no room for the ending is cut, and told from others that begin alike by its hash.
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(databasePath.data());
    const std::uint64_t hash = Hash64(0, {bytes + name, databasePath.size() - name});
    return databasePath.substr(0, name + kKeptNameBytes) + "." + std::to_string(hash) + std::string(kEnding);
}

StorageFile& Journal::File() {
    if (file_) return *file_;
    try {
        file_ = storage_->Open(path_, OpenMode::ReadWrite);
    } catch (const RuntimeError& error) {
        if (error.number != static_cast<int>(JetError::FileNotFound)) throw;
        file_ = storage_->Open(path_, OpenMode::CreateNew);
        created_ = true;
    }
    return *file_;
}

std::optional<Journal::Header> Journal::ReadHeader(StorageFile& file) {
    std::array<std::uint8_t, kSectorBytes> bytes{};
    if (file.Read(0, bytes) != bytes.size()) return std::nullopt;
    return Header::Parse(ByteView(bytes));
}

// ---- Recording

void Journal::Begin(StorageFile& database, std::uint32_t pageBytes, PageNumber pages) {
    StorageFile& file = File();
    const std::optional<Header> old = ReadHeader(file);
    Header header;
    header.state = kWriting;
    header.pageBytes = pageBytes;
    header.pages = pages;
    header.salt = RandomNumber();
    header.counter = old && old->counter != 0 ? old->counter : RandomNumber();
    std::vector<std::uint8_t> page(pageBytes);
    const std::size_t samples = std::min<std::size_t>(kMostSamples, pages);
    for (std::size_t i = 0; i < samples; ++i) {
        const auto number = static_cast<PageNumber>(std::uint64_t{pages} * i / samples);
        if (database.Read(std::uint64_t{number} * pageBytes, page) != pageBytes)
            RaiseJet(JetError::DiskReadError);
        header.samples.emplace_back(number, Hash64(number, page));
    }
    file.Truncate(kSectorBytes);
    const auto bytes = header.Serialize();
    header_.assign(bytes.begin(), bytes.end());
    headerIsStale_ = false;
    file.Write(0, header_);
    salt_ = header.salt;
    counter_ = header.counter;
    pageBytes_ = pageBytes;
    originalPages_ = pages;
    recorded_.assign(pages, false);
    batch_.clear();
    pending_.clear();
    sealedEnd_ = kSectorBytes;
    pendingAt_ = kSectorBytes;
    everSealed_ = false;
    active_ = true;
}

void Journal::AddRecord(std::uint32_t kind, PageNumber page, std::span<const std::uint8_t> payload) {
    std::array<std::uint8_t, kRecordHeadBytes> head{};
    const MutableByteView view{head};
    view.PutU32(0, kind);
    view.PutU32(4, page);
    view.PutU32(8, static_cast<std::uint32_t>(payload.size()));
    view.PutU64(16, RecordChecksum(salt_, std::span(head).first(16), payload));
    pending_.insert(pending_.end(), head.begin(), head.end());
    pending_.insert(pending_.end(), payload.begin(), payload.end());
    if (pending_.size() >= kPendingBytes) WritePending();
}

void Journal::WritePending() {
    if (pending_.empty()) return;
    File().Write(pendingAt_, pending_);
    pendingAt_ += pending_.size();
    pending_.clear();
}

void Journal::AddBefore(PageNumber page, std::span<const std::uint8_t> bytes) {
    try {
        AddRecord(kBefore, page, bytes);
    } catch (...) {
        ForgetBatch();
        throw;
    }
    recorded_[page] = true;
    batch_.push_back(page);
}

void Journal::AddIntent(PageNumber page, std::span<const std::uint8_t> bytes) {
    try {
        AddRecord(kIntent, page, SectorHashes(bytes));
    } catch (...) {
        ForgetBatch();
        throw;
    }
}

void Journal::Seal() {
    try {
        if (headerIsStale_) File().Write(0, header_);
        WritePending();
        File().Sync();
        headerIsStale_ = false;
        if (created_) {
            storage_->SyncFolderOf(path_);
            created_ = false;
        }
    } catch (...) {
        ForgetBatch();
        throw;
    }
    sealedEnd_ = pendingAt_;
    batch_.clear();
    everSealed_ = true;
}

void Journal::ForgetBatch() {
    for (const PageNumber page : batch_) recorded_[page] = false;
    batch_.clear();
    pending_.clear();
    pendingAt_ = sealedEnd_;
    if (everSealed_) return;
    // Nothing was written in place yet, so the next batch starts over with a header of its own. Others need
    // not find this one; if they do, it changes nothing.
    active_ = false;
    try {
        Header header;
        header.counter = counter_;
        File().Write(0, header.Serialize());
    } catch (const RuntimeError&) {
        return;
    }
}

void Journal::Finish() {
    Header header;
    header.counter = counter_ + 1;
    headerIsStale_ = true;
    File().Write(0, header.Serialize());
    File().Sync();
    counter_ = header.counter;
    active_ = false;
    headerIsStale_ = false;
    recorded_.clear();
}

// ---- Recovering

namespace {

struct PageRecord {
    std::uint64_t beforeAt = 0;  ///< where in the journal the old bytes lie; 0: the page was added
    std::vector<std::vector<std::uint8_t>> intents;
};

using RecordMap = std::unordered_map<PageNumber, PageRecord>;

/// All records up to the first that is not whole.
RecordMap ReadRecords(StorageFile& journal, std::uint64_t salt, std::uint32_t pageBytes) {
    RecordMap records;
    std::array<std::uint8_t, kRecordHeadBytes> head{};
    std::vector<std::uint8_t> payload;
    for (std::uint64_t at = kSectorBytes; journal.Read(at, head) == head.size();) {
        const ByteView view(head);
        const std::uint32_t kind = view.U32(0);
        const std::size_t expected = kind == kBefore ? pageBytes : pageBytes / kSectorBytes * 4;
        if ((kind != kBefore && kind != kIntent) || view.U32(8) != expected) break;
        payload.resize(expected);
        if (journal.Read(at + head.size(), payload) != payload.size()) break;
        if (view.U64(16) != RecordChecksum(salt, std::span(head).first(16), payload)) break;
        PageRecord& record = records[view.U32(4)];
        if (kind == kIntent) {
            record.intents.push_back(payload);
        } else if (record.beforeAt == 0) {
            record.beforeAt = at + head.size();
        }
        at += head.size() + payload.size();
    }
    return records;
}

/// Whether every sector of the page holds what it held before or what we meant to write.
bool IsOurs(std::span<const std::uint8_t> now, std::span<const std::uint8_t> before,
            const PageRecord& record) {
    const std::vector<std::uint8_t> hashes = SectorHashes(now);
    for (std::size_t i = 0; i * kSectorBytes < now.size(); ++i) {
        if (std::memcmp(now.data() + i * kSectorBytes, before.data() + i * kSectorBytes, kSectorBytes) == 0) {
            continue;
        }
        const bool intended =
            std::any_of(record.intents.begin(), record.intents.end(), [&](const auto& intent) {
                return std::memcmp(intent.data() + 4 * i, hashes.data() + 4 * i, 4) == 0;
            });
        if (!intended) return false;
    }
    return true;
}

}  // namespace

bool Journal::NeedsRecovery() {
    return Peek(true).writing;
}

Journal::Recovery Journal::Recover(StorageFile& database) {
    if (!storage_->Exists(path_)) return Recovery::NothingToDo;
    StorageFile& file = File();
    const std::optional<Header> header = ReadHeader(file);
    if (!header || header->state != kWriting) return Recovery::NothingToDo;

    const RecordMap records = ReadRecords(file, header->salt, header->pageBytes);
    const std::uint32_t pageBytes = header->pageBytes;
    PageNumber mostPages = header->pages;
    for (const auto& [page, record] : records) mostPages = std::max(mostPages, page + 1);

    const std::uint64_t size = database.Size();
    bool fits =
        size >= std::uint64_t{header->pages} * pageBytes && size <= std::uint64_t{mostPages} * pageBytes;
    std::vector<std::uint8_t> now(pageBytes);
    std::vector<std::uint8_t> before(pageBytes);
    for (const auto& [number, hash] : header->samples) {
        const auto found = records.find(number);
        if (!fits || (found != records.end() && found->second.beforeAt != 0)) continue;
        fits =
            database.Read(std::uint64_t{number} * pageBytes, now) == pageBytes && Hash64(number, now) == hash;
    }
    for (const auto& [page, record] : records) {
        if (!fits || record.beforeAt == 0) continue;
        fits = file.Read(record.beforeAt, before) == pageBytes &&
               database.Read(std::uint64_t{page} * pageBytes, now) == pageBytes &&
               IsOurs(now, before, record);
    }
    if (!fits) {
        file_.reset();
        storage_->Rename(path_, path_ + ".unfit");
        storage_->SyncFolderOf(path_);
        return Recovery::DidNotFit;
    }
    for (const auto& [page, record] : records) {
        if (record.beforeAt == 0) continue;
        if (file.Read(record.beforeAt, before) != pageBytes) RaiseJet(JetError::DiskReadError);
        database.Write(std::uint64_t{page} * pageBytes, before);
    }
    if (size != std::uint64_t{header->pages} * pageBytes)
        database.Truncate(std::uint64_t{header->pages} * pageBytes);
    database.Sync();
    counter_ = header->counter;
    Finish();
    return Recovery::RolledBack;
}

void Journal::RollBack(StorageFile& database) {
    if (Recover(database) == Recovery::DidNotFit) RaiseJet(JetError::DiskError);
    active_ = false;
}

// ---- Seen by others

Journal::State Journal::StateOf(StorageFile& file) {
    const std::optional<Header> header = ReadHeader(file);
    return header ? State{header->state == kWriting, header->counter} : State{};
}

Journal::State Journal::Peek(bool reopen) {
    if (reopen && !active_) file_.reset();
    if (file_) return StateOf(*file_);
    if (!storage_->Exists(path_)) return {};
    try {
        file_ = storage_->Open(path_, OpenMode::ReadWrite);
    } catch (const RuntimeError&) {
        // Where nothing can be written, looking is still allowed.
        return StateOf(*storage_->Open(path_, OpenMode::ReadOnly));
    }
    return StateOf(*file_);
}

void Journal::Remove() noexcept {
    try {
        file_.reset();
        storage_->Remove(path_);
    } catch (const RuntimeError&) {
        // An idle journal that stays behind is harmless.
        return;
    }
}

}  // namespace marrowkit::jet
