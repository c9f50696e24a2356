#include "forms/FatalError.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "forms/Messages.h"

namespace marrowkit {
namespace {

std::vector<HoldsDatabase*>& Holders() {
    static std::vector<HoldsDatabase*> holders;
    return holders;
}

}  // namespace

HoldsDatabase::HoldsDatabase() {
    Holders().push_back(this);
}

HoldsDatabase::~HoldsDatabase() {
    std::erase(Holders(), this);
}

void ReportFatalError(const RuntimeError& error) {
    for (HoldsDatabase* holder : Holders()) holder->CloseDatabase();
    ShowHourglass(false);
    ShowMessageBox(QApplication::activeWindow(),
                   "Run-time error '" + std::to_string(error.number) + "':\r\n\r\n" + error.description,
                   MessageIcon::Error, std::string(kApplicationTitle));
    std::exit(1);
}

}  // namespace marrowkit
