#pragma once

#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/Shared/Log.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/Fake/FakeBundles.h"
#include "Platform/Fake/Qt/FakeHostApplication.h"
#include "Tests/Classes/PrefPane/PaneTestServices.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/WriterProcess.h"

#include <gmock/gmock.h>

/// What the history controller needs around it: the pane's bundle, an application and a center made to order; the files
/// and the writer are real.
class PaneWithHistory : public ::testing::Test
{
protected:
    using Alert = FakeHostApplication::Alert;

    PaneWithHistory()
    {
        s_log.clear();
        setLogSink([](const std::string &line) { s_log.push_back(line); });
    }
    ~PaneWithHistory() override { setLogSink(nullptr); }

    /// Makes the pane's bundle known, as the host does.
    void installBundle(const Path &path = Path(TAMSEL_PANE_RESOURCES).parent_path().parent_path())
    {
        PropertyList information;
        information.set("CFBundleIdentifier", "com.dovrane.Tamsel");
        bundles.add(path, information);
        bundles.remember(*bundles.open(path));
    }

    Path support() const { return *PXUtil::applicationSupportFolder(); }
    Path store() const { return support() / "history.db"; }

    static PXHistoryController *controller() { return PXHistoryController::sharedHistoryController(); }

    /// As the helper does after it has written.
    void announceSavings() { services.center.deliver(Notification{"pellixSavingsChanged", {}}); }

    static bool isLogged(const std::string &text)
    {
        return std::any_of(s_log.begin(), s_log.end(),
                           [&](const std::string &line) { return line.find(text) != std::string::npos; });
    }

    SettingsServices services;
    FakeBundles bundles;
    FakeHostApplication application;
    Override<Bundles> installedBundles{bundles};
    Override<HostApplication> installedApplication{application};

private:
    inline static std::vector<std::string> s_log;
};
