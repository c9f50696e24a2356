// What the progress window costs an import and how soon it hears Cancel: an import of 74,157 games with a ROM
// scan, once without any window and once in frmProgress; then the same import cancelled in each stage.
//
//   progress_benchmark [GAMES [FILES]]      default: 74157 3000
#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "Silence.h"
#include "creation/TemplateDatabase.h"
#include "global/modGlobal.h"
#include "import/ImportEngine.h"
#include "import/ImportSettings.h"
#include "import/frmProgress.h"
#include "platform/files/HostPath.h"

namespace marrowkit {
namespace {

namespace fs = std::filesystem;
using benchmark::NoProgress;
using benchmark::SilentInterface;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kRuns = 5;

struct Cost {
    double cpu = 0;
    double wall = 0;
    double events = 0;  ///< CPU time of the events that ran while the import was at work
};

double CpuMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Adds up what events cost that run inside of another one's handler, as all do while an import runs. This
/// share hardly depends on what else the machine has to do.
class Application : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override {
        constexpr int kInsideAnother = 2;
        const bool counts = ++depth_ == kInsideAnother;
        const double before = counts ? CpuMilliseconds() : 0;
        const bool handled = QApplication::notify(receiver, event);
        if (counts) Total() += CpuMilliseconds() - before;
        --depth_;
        return handled;
    }
    static double EventMilliseconds() { return Total(); }

private:
    static double& Total() {
        static double milliseconds = 0;
        return milliseconds;
    }
    int depth_ = 0;
};

template <typename Work>
Cost Measure(const Work& work) {
    const double cpu = CpuMilliseconds();
    const double events = Application::EventMilliseconds();
    const auto start = Clock::now();
    work();
    return {CpuMilliseconds() - cpu, Milliseconds(Clock::now() - start).count(),
            Application::EventMilliseconds() - events};
}

class Benchmark {
public:
    Benchmark(fs::path folder, int games, int files) : folder_(std::move(folder)) {
        fs::create_directories(folder_ / "Library");
        modGlobal::LibraryRoot = WindowsPath((folder_ / "Library").string()) + "\\";
        CreateTemplateDatabase(modGlobal::LibraryRoot + "Empty.mdb", jet::JetVersion::Jet4,
                               SchemaVersion{2, 5});
        MakeDatafile(games);
        MakeRoms(files);
    }

    void Costs() {
        Cost without{1e30, 1e30, 1e30};
        Cost with{1e30, 1e30, 1e30};
        const auto keepBest = [](Cost& best, const Cost& cost) {
            best.cpu = std::min(best.cpu, cost.cpu);
            best.wall = std::min(best.wall, cost.wall);
            best.events = std::min(best.events, cost.events);
        };
        for (int run = 0; run < kRuns; ++run) {
            Prepare();
            keepBest(without, Measure([&] {
                         NoProgress progress;
                         ImportTables tables;
                         RunImport(GlobalImportSettings(), tables, progress, ui_);
                     }));
            Prepare();
            keepBest(with, Measure([&] { frmProgress(nullptr, ui_, QStringLiteral("Nimbus.dat")).exec(); }));
        }
        std::printf("# best of %d alternating runs, milliseconds\n", kRuns);
        std::printf("%-22s %10s %10s\n", "", "CPU", "wall");
        std::printf("%-22s %10.1f %10.1f\n", "without a window", without.cpu, without.wall);
        std::printf("%-22s %10.1f %10.1f\n", "in frmProgress", with.cpu, with.wall);
        std::printf("%-22s %10.1f  (%.1f%% of the run)\n\n", "its events and paint", with.events,
                    with.events / with.cpu * 100);
    }

    /// The longest time for which no events ran, by stage.
    void Gaps() {
        Prepare();
        std::map<std::string, double> longest;
        std::vector<std::string> stages;
        frmProgress window(nullptr, ui_, QStringLiteral("Nimbus.dat"));
        auto* prompt = window.findChild<QLabel*>(QStringLiteral("lblPrompt"));
        auto last = Clock::now();
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            const std::string stage = prompt->text().toStdString();
            if (stages.empty() || stages.back() != stage) stages.push_back(stage);
            const auto now = Clock::now();
            // What ended just now was the stage before, when this is the first look at one.
            const std::string& ended =
                stages.size() > 1 && longest.count(stage) == 0 ? stages[stages.size() - 2] : stage;
            longest[ended] = std::max(longest[ended], Milliseconds(now - last).count());
            longest.try_emplace(stage, 0);
            last = now;
        });
        timer.start(0);
        window.exec();
        longest[stages.back()] = std::max(longest[stages.back()], Milliseconds(Clock::now() - last).count());
        std::printf("%-58s %s\n", "stage", "longest without events, ms");
        for (const std::string& stage : stages) std::printf("%-58s %10.1f\n", stage.c_str(), longest[stage]);
        std::printf("\n");
    }

    /// From the click to the window's end, by the stage in which Cancel was clicked.
    void Cancels() {
        std::printf("%-58s %s\n", "Cancel clicked in", "window gone after, ms (each after a delay)");
        for (const char* stage :
             {"Loading Datafile into memory", "Getting unique FileTypes", "Preparing File List",
              "Grabbing CRC-32", "CRC-32/Size Matches", "Obtaining DB info"}) {
            std::printf("%-58s", stage);
            for (const int delay : {0, 5, 20, 50, 100}) std::printf(" %7.1f", CancelIn(stage, delay));
            std::printf("\n");
        }
    }

private:
    void MakeDatafile(int games) {
        std::ofstream file(folder_ / "Nimbus.dat", std::ios::binary);
        file << "[CREDITS]\r\nAuthor=A\r\n[DAT]\r\nversion=2.00\r\n[GAMES]\r\n";
        for (int i = 0; i < games; ++i) {
            const std::string name = "Astral Harbour " + std::to_string(i) + " (19" +
                                     std::to_string(80 + i % 20) + ")(Publisher " + std::to_string(i % 900) +
                                     ")(PAL)[cr Crew " + std::to_string(i % 300) + "][t +2]";
            file << '\xAC' << name << '\xAC' << name << '\xAC' << name << '\xAC' << name << '\xAC' << name
                 << ".n8t\xAC" << std::hex << static_cast<std::uint32_t>(i) * 2654435761U << std::dec
                 << '\xAC' << i % 65536 << "\xAC\xAC\xAC\r\n";
        }
    }

    void MakeRoms(int files) {
        const std::string content(16384, 'x');
        for (int i = 0; i < files; ++i) {
            const fs::path folder = folder_ / "Roms" / std::to_string(i / 200);
            fs::create_directories(folder);
            std::ofstream(folder / (std::to_string(i) + ".n8t"), std::ios::binary) << i << content;
        }
    }

    void Prepare() {
        fs::remove_all(folder_ / "Library/Nimbus");
        ImportSettings& settings = GlobalImportSettings();
        settings = {};
        settings.DatafilePath = WindowsPath((folder_ / "Nimbus.dat").string());
        settings.NameColumn = 3;
        settings.FileColumn = 5;
        settings.SkipDuplicates = true;
        settings.TosecNames = true;
        settings.ScanForRoms = true;
        settings.MatchExtensionsOnly = true;
        settings.RomPath = WindowsPath((folder_ / "Roms").string());
        settings.RomPathSlash = settings.RomPath + "\\";
        settings.DatabaseName = "Nimbus";
        settings.NewFolderPath = modGlobal::LibraryRoot + "Nimbus";
        settings.NewFolderPathSlash = settings.NewFolderPath + "\\";
    }

    double CancelIn(const std::string& stage, int delayMilliseconds) {
        Prepare();
        frmProgress window(nullptr, ui_, QStringLiteral("Nimbus.dat"));
        auto* prompt = window.findChild<QLabel*>(QStringLiteral("lblPrompt"));
        auto* cancel = window.findChild<QPushButton*>(QStringLiteral("cmdCancel"));
        Clock::time_point clicked;
        std::thread person;  // who clicks while the import is at work
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            if (person.joinable() || !prompt->text().startsWith(QString::fromStdString(stage))) return;
            person = std::thread([&, delayMilliseconds] {
                std::this_thread::sleep_for(std::chrono::milliseconds(delayMilliseconds));
                clicked = Clock::now();
                QMetaObject::invokeMethod(cancel, "click", Qt::QueuedConnection);
            });
        });
        timer.start(0);
        window.exec();
        const auto gone = Clock::now();
        if (person.joinable()) person.join();
        if (!GlobalImportSettings().ImportCancelled) return -1;  // the import was over before
        return Milliseconds(gone - clicked).count();
    }

    fs::path folder_;
    SilentInterface ui_;
};

}  // namespace
}  // namespace marrowkit

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const marrowkit::Application application(argc, argv);
    std::string folder = (std::filesystem::temp_directory_path() / "marrowkit-progress-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return 1;
    const int games = argc > 1 ? std::atoi(argv[1]) : 74157;
    const int files = argc > 2 ? std::atoi(argv[2]) : 3000;
    std::printf("# %d games, %d files\n", games, files);
    marrowkit::Benchmark benchmark(folder, games, files);
    benchmark.Costs();
    benchmark.Gaps();
    benchmark.Cancels();
    std::filesystem::remove_all(folder);
    return 0;
}
