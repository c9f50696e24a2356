#include "cli/DatabaseArgument.h"

#include "platform/files/FileTools.h"
#include "platform/files/HostPath.h"
#include "platform/files/Paths.h"
#include "platform/text/Text.h"
#include "shell/Library.h"

namespace marrowkit::cli {

// A plain name is one of the library, also when there is no such database: the message then names the place
// where it was looked for. Only a name that ends in ".mdb" may be a file of the current folder as well.
std::string DatabaseOf(const std::string& argument) {
    if (argument.empty() || !IsWindowsFileName(argument)) return WindowsPath(argument);
    const std::string inLibrary = DatabasePathOf(argument);
    if (!EqualNoCase(Right(argument, 4), ".mdb")) return inLibrary;
    return FileTools().FileExists(inLibrary, 0, "") ? inLibrary : WindowsPath(argument);
}

}  // namespace marrowkit::cli
