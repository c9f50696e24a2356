#include "platform/jet/compact/Compact.h"

#include "platform/jet/check/CheckFile.h"
#include "platform/jet/compact/CompactCopy.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/JetErrors.h"
#include "platform/jet/storage/Pager.h"

namespace marrowkit::jet {

void Compact(const std::string& source, const std::string& target, const OpenOptions& options) {
    Storage& storage = options.storage ? *options.storage : HostStorage();
    if (storage.Exists(target)) RaiseJet(JetError::DatabaseExists, {target});
    // The pager plays back the journal of an interrupted write, asks for the password and keeps others out
    // for as long as the copy takes; the pages themselves are read past its cache. Not read-only, unless the
    // file is: some hosts lock nobody out for one who cannot write.
    PagerOptions pagerOptions;
    pagerOptions.exclusive = true;
    const std::shared_ptr<Pager> pager = Pager::Open(storage, source, pagerOptions);
    if (pager->UnitDepth() > 0) RaiseJet(JetError::FileInUse, {source});
    if (!pager->IsReadOnly()) pager->Flush();
    const check::CheckFile file(storage, source);
    compact::CopyOpenFile(file, storage, target);
}

}  // namespace marrowkit::jet
