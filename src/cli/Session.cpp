#include "cli/Session.h"

#include <ostream>

namespace marrowkit::cli {

std::unique_ptr<RowWriter> Session::Rows(std::vector<std::string> columns) {
    return MakeRowWriter(json ? RowFormat::Json : RowFormat::Csv, streams_.out, std::move(columns));
}

int Session::Fail(const std::string& text) {
    streams_.err << text << '\n';
    return kFailed;
}

}  // namespace marrowkit::cli
