#include "cli/Session.h"

#include <ostream>
#include <utility>

#include "platform/process/StopSignals.h"

namespace marrowkit::cli {

std::function<int(Session&)> Session::Changing(std::function<int(Session&)> work) {
    return [work = std::move(work)](Session& session) {
        const StopSignals signals;
        return work(session);
    };
}

std::unique_ptr<RowWriter> Session::Rows(const std::vector<std::string>& columns) {
    return MakeRowWriter(json ? RowFormat::Json : RowFormat::Csv, streams_.out, columns);
}

int Session::Fail(const std::string& text) {
    streams_.err << text << '\n';
    return kFailed;
}

}  // namespace marrowkit::cli
