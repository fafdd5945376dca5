#include "Classes/Shared/Log.h"
#include "Classes/Util/PXUtil.h"
#include "Helper/HelperApplication.h"
#include "Helper/HelperStart.h"
#include "Platform/Bundle.h"
#include "Platform/DistributedNotificationCenter.h"
#include "Platform/Services.h"
#include "Platform/ThisProcess.h"

#include <QCoreApplication>
#include <QTimer>

#include <memory>
#include <optional>

static void logMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    logLine(text.toStdString());
}

/// Nothing, and a line in the log, when the helper cannot work from where it lies.
static std::optional<HelperApplication::Place> findPlace(const Path &supportFolder)
{
    const Result<Bundle> bundle = Bundles::current().main();
    if (!bundle) {
        logLine("The helper's bundle cannot be read: " + bundle.failure().context);
        return std::nullopt;
    }
    const std::optional<Path> seed = bundle->resource("history", "db");
    const std::optional<Path> model = bundle->resource(HistoryModel::kResourceName, HistoryModel::kResourceType);
    if (!seed || !model) {
        logLine("The helper's bundle is not complete: " + bundle->path().native());
        return std::nullopt;
    }
    HelperApplication::Place place;
    place.settings = supportFolder / "defaults.plist";
    place.excludedPaths = PXUtil::pathToExclusionPathsFile().value_or(Path());
    place.excludedExtensions = PXUtil::pathToExclusionExtensionsFile().value_or(Path());
    place.history = {supportFolder / "history.db", *seed, *model};
    place.bundle = bundle->path();
    place.version = bundle->version();
    return place;
}

/// Becomes the program that is in the bundle now. Answers only when that failed.
static void restart(const Path &bundlePath)
{
    const Result<Bundle> bundle = Bundles::current().open(bundlePath);
    if (!bundle || bundle->executable().empty())
        return logLine("The new version cannot be started, its bundle names no executable");
    logLine("The new version cannot be started: " + ThisProcess::current().replaceBy(bundle->executable(), {}).context);
}

static int run(QCoreApplication &application, const Path &supportFolder, const HelperApplication::Place &place)
{
    std::unique_ptr<HelperApplication> helper;
    bool wantsRestart = false;
    HelperStart start(supportFolder / "helper.lock", HelperApplication::kIdentifier);
    QObject::connect(&start, &HelperStart::admitted, &application, [&] {
        logLine("Version " + place.version + " starts in " + supportFolder.native());
        helper = std::make_unique<HelperApplication>(place);
        QObject::connect(helper.get(), &HelperApplication::quitRequested, &application, &QCoreApplication::quit);
        QObject::connect(helper.get(), &HelperApplication::restartRequested, &application, [&] {
            wantsRestart = true;
            application.quit();
        });
        helper->start();
    });
    QObject::connect(&start, &HelperStart::handedOver, &application, [&] {
        logLine("Another helper runs");
        application.quit();
    });
    QObject::connect(&start, &HelperStart::failed, &application, [&](const std::string &reason) {
        logLine("Cannot tell whether another helper runs: " + reason);
        application.exit(1);
    });
    QTimer::singleShot(0, &start, &HelperStart::begin);
    const int status = application.exec();
    const bool isStopped = !helper || helper->stop();
    start.release();
    logLine("Ends");
    // A connection that is still being made to a bus that never answers would be waited for, too.
    const bool hasBus = DistributedNotificationCenter::current().isConnected();
    if (!wantsRestart && (!isStopped || !hasBus))
        ThisProcess::current().exitAtOnce(status);
    if (!wantsRestart)
        return status;
    restart(place.bundle);
    return 1;
}

int main(int argc, char **argv)
{
    qputenv("DBUS_FATAL_WARNINGS", "0"); // or a message that the library does not like ends the process
    installEngineServices();
    ThisProcess::current().ignoreBrokenPipes();
    holdBackSignals();
    QCoreApplication application(argc, argv);
    qInstallMessageHandler(logMessage);
    installPaneServices();

    const std::optional<Path> supportFolder = PXUtil::applicationSupportFolder();
    if (!supportFolder) {
        logLine("There is no folder for the user's files");
        return 1;
    }
    const auto place = findPlace(*supportFolder);
    return place ? run(application, *supportFolder, *place) : 1;
}
