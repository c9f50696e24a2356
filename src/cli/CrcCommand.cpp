#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "checksum/clsCRC.h"
#include "cli/Commands.h"
#include "platform/errors/RuntimeError.h"
#include "platform/files/FileSystem.h"
#include "platform/text/Numbers.h"

namespace marrowkit::cli {

namespace {

struct CrcOptions {
    bool crc16 = false;
    std::vector<std::string> files;
};

/// One row for each file that could be read; the others are named on standard error.
int RunCrc(Session& session, const CrcOptions& options) {
    clsCRC crc;
    crc.SetAlgorithm(options.crc16 ? 0 : 1);
    const auto rows = session.Rows({"File", "CRC"});
    int result = kDone;
    for (const std::string& file : options.files) {
        try {
            if (IsFolder(file)) {  // reads like an empty file
                result = session.Fail(file + ": This is a folder");
                continue;
            }
            const auto sum = crc.CalculateFile(file);
            rows->Write({file, sum ? jet::Value(Hex(*sum)) : jet::Value()});
        } catch (const RuntimeError& error) {
            result = session.Fail(file + ": " + error.description);
        }
    }
    rows->Finish();
    return result;
}

}  // namespace

void AddCrcCommand(CLI::App& app, Session& session) {
    const auto options = std::make_shared<CrcOptions>();
    CLI::App* command = app.add_subcommand("crc", "Checksums of files, as the ROM scan writes them");
    command->add_option("FILE", options->files, "Files to sum")->required();
    command->add_flag("--crc16", options->crc16, "CRC-16 (CCITT) instead of CRC-32");
    command->footer(
        "The checksum is hexadecimal without leading zeros. An empty file has none.\n"
        "\n"
        "Examples:\n"
        "  marrowkit-cli crc Nimbus.d64\n"
        "  marrowkit-cli crc --json roms/*.zip");
    command->callback([&session, options] {
        session.run = [options](Session& current) { return RunCrc(current, *options); };
    });
}

}  // namespace marrowkit::cli
