#include "Benchmarks/CompressedMaterial.h"
#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/PrefPane/UncompressView.h"
#include "Platform/Services.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

// How a panel fares whose user drops a great many small files: how long its main thread was ever away from its events,
// and how its memory grew. Or: how soon a run ends that is cancelled somewhere in a large file, the wait for the medium
// at its end among that. A folder that is not there is made, filled and left; one of small files is taken as it is.

namespace fs = std::filesystem;

static constexpr const char *kUsage = "Usage: DropZoneBenchmark COUNT FOLDER\n"
                                      "       DropZoneBenchmark cancel MEBIBYTES FOLDER\n";
static constexpr int kFilesOfAFolder = 1000;
static constexpr int kBeatMs = 1;
static constexpr double kFrameMs = 16;
static constexpr double kPromptMs = 200;
static constexpr int kCancels = 40;

static void fill(const Path &folder, int count)
{
    for (int index = 0; index < count; ++index) {
        const Path inner = folder / std::to_string(index / kFilesOfAFolder);
        if (index % kFilesOfAFolder == 0)
            fs::create_directories(inner);
        std::ofstream(inner / ("file number " + std::to_string(index))) << "small";
    }
}

/// How long this thread has had a processor, in milliseconds.
static double processorTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

static void tell(const char *what, std::vector<double> times, double limit)
{
    if (times.empty())
        return;
    std::ranges::sort(times);
    std::cout << what << ": " << times.back() << " ms at most, half within " << times[times.size() / 2]
              << " ms, 99.9 % within " << times[times.size() * 999 / 1000] << " ms, "
              << times.end() - std::ranges::upper_bound(times, limit) << " of " << times.size() << " over " << limit
              << " ms\n";
}

/// What the process holds in memory, in KiB.
static long residentKib()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:"))
            return std::stol(line.substr(6));
    }
    return 0;
}

static void waitWhile(const std::function<bool()> &condition)
{
    while (condition())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, kBeatMs);
}

static void dropMany(PXUncompressorController &controller, const Path &folder)
{
    std::vector<double> gaps;
    std::vector<double> work;
    double beforeBeat = processorTime();
    long most = 0;
    QElapsedTimer sinceBeat;
    QTimer beat;
    beat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&beat, &QTimer::timeout, [&] {
        gaps.push_back(double(sinceBeat.nsecsElapsed()) / 1e6);
        sinceBeat.start();
        work.push_back(processorTime() - beforeBeat);
        beforeBeat = processorTime();
    });
    QTimer memory;
    QObject::connect(&memory, &QTimer::timeout, [&] { most = std::max(most, residentKib()); });
    const long before = residentKib();
    sinceBeat.start();
    beat.start(kBeatMs);
    memory.start(200);
    QElapsedTimer whole;
    whole.start();
    controller.uncompress({folder});
    waitWhile([&] { return controller.uncompressing(); });
    std::cout << "took " << whole.elapsed() << " ms\n";
    tell("away from the events", gaps, kFrameMs);
    tell("of that, at work", work, kFrameMs);
    std::cout << "memory " << before << " KiB before, " << most << " KiB at most, " << residentKib() << " KiB after\n";
    for (const auto &[reason, count] : controller.run()->takeProgress().counts)
        std::cout << "files of one reason: " << count << '\n';
}

struct Drop
{
    double expansionMs = 0;   ///< from its beginning to the end of the run or to the cancel
    double cancelMs = 0;      ///< from there to the end of the run
    bool isCancelled = false; ///< false when the run had ended by then
};

/// Drops the file and cancels so long after its expansion has begun.
static Drop dropOnce(PXUncompressorController &controller, const Path &file, double cancelAfterMs)
{
    Drop drop;
    QElapsedTimer time;
    const auto elapsed = [&] { return double(time.nsecsElapsed()) / 1e6; };
    controller.uncompress({file});
    waitWhile([&] { return controller.run()->takeProgress().current.empty() && controller.uncompressing(); });
    time.start();
    waitWhile([&] { return controller.uncompressing() && elapsed() < cancelAfterMs; });
    drop.expansionMs = elapsed();
    drop.isCancelled = controller.uncompressing();
    time.start();
    controller.cancel();
    waitWhile([&] { return controller.uncompressing(); });
    drop.cancelMs = elapsed();
    QMessageBox *sheet = nullptr;
    waitWhile([&] { return !(sheet = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())); });
    sheet->done(0);
    return drop;
}

static void dropAndCancel(PXUncompressorController &controller, const Path &folder, std::size_t mebibytes)
{
    fs::create_directories(folder);
    const CompressedMaterial::Subject large(folder / "large", CompressedMaterial::collect(mebibytes << 20));
    double whole = 0;
    for (int time = 1; time <= 2; ++time) { // the second time from the cache, as those that follow
        large.restore();
        whole = dropOnce(controller, large.file(), 1e9).expansionMs;
    }
    std::cout << "the whole expansion took " << whole << " ms\n";
    std::vector<double> times;
    int expanded = 0;
    for (int number = 0; number < kCancels; ++number) {
        large.restore();
        const Drop drop = dropOnce(controller, large.file(), whole * number / kCancels);
        if (!drop.isCancelled)
            continue;
        times.push_back(drop.cancelMs);
        expanded += fs::file_size(large.file()) > 0;
    }
    tell("from cancelling to the end", times, kPromptMs);
    std::cout << expanded << " of them expanded the file all the same\n";
}

int main(int argc, char **argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication application(argc, argv);
    const bool isToCancel = argc == 4 && argv[1] == std::string("cancel");
    if (argc != 3 && !isToCancel) {
        std::cerr << kUsage;
        return 2;
    }
    installEngineServices();
    installPaneServices();
    const Path folder = argv[argc - 1];
    const int number = std::stoi(argv[argc - 2]);
    UncompressView view;
    auto *const controller = new PXUncompressorController;
    view.follow(controller);
    view.resize(720, 420);
    view.show();
    QApplication::setActiveWindow(&view);
    QCoreApplication::processEvents();
    if (isToCancel) {
        dropAndCancel(*controller, folder, std::size_t(number));
    } else {
        if (!fs::exists(folder))
            fill(folder, number);
        dropMany(*controller, folder);
    }
    return 0;
}
