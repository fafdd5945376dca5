#include "Classes/PrefPane/DVBox.h"
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
// and how its memory grew. Usage: DropZoneBenchmark COUNT FOLDER. The folder is made, filled and left; where it is
// there already it is taken as it is.

namespace fs = std::filesystem;

static constexpr int kFilesOfAFolder = 1000;
static constexpr int kBeatMs = 1;
static constexpr double kFrameMs = 16;

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

static void tell(const char *what, std::vector<double> &gaps)
{
    std::ranges::sort(gaps);
    std::cout << what << ": " << gaps.back() << " ms at most, 99.9 % within " << gaps[gaps.size() * 999 / 1000]
              << " ms, " << gaps.end() - std::ranges::upper_bound(gaps, kFrameMs) << " of " << gaps.size() << " over "
              << kFrameMs << " ms\n";
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

int main(int argc, char **argv)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication application(argc, argv);
    if (argc != 3) {
        std::cerr << "Usage: DropZoneBenchmark COUNT FOLDER\n";
        return 2;
    }
    installEngineServices();
    installPaneServices();
    const Path folder = argv[2];
    if (!fs::exists(folder))
        fill(folder, std::stoi(argv[1]));

    UncompressView view;
    auto *const controller = new PXUncompressorController;
    view.follow(controller);
    view.resize(720, 420);
    view.show();
    QCoreApplication::processEvents();

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
    controller->uncompress({folder});
    while (controller->uncompressing())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::cout << "took " << whole.elapsed() << " ms\n";
    tell("away from the events", gaps);
    tell("of that, at work", work);
    std::cout << "memory " << before << " KiB before, " << most << " KiB at most, " << residentKib() << " KiB after\n";
    for (const auto &[reason, count] : controller->run()->takeProgress().counts)
        std::cout << "files of one reason: " << count << '\n';
    return 0;
}
