#pragma once

#include "Classes/PrefPane/PXExclusionsController.h"
#include "Classes/Shared/Log.h"
#include "Platform/Bundle.h"
#include "Platform/Fake/FakeNotificationCenter.h"
#include "Platform/Fake/Qt/FakeHostApplication.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PrivateHome.h"

#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <QVBoxLayout>

#include <gmock/gmock.h>

/// Both lists in real tables in a window; files and bundles are real, bus and host made to order.
class ExclusionsFixture : public ::testing::Test
{
protected:
    ExclusionsFixture()
    {
        setLogSink([](const std::string &) {});
        for (const Path &left : {support, bundle})
            std::filesystem::remove_all(left);
        std::filesystem::create_directories(support);
        std::filesystem::create_directories(bundle / "Contents/Resources");
        PropertyList information;
        information.set("CFBundleIdentifier", "com.dovrane.Tamsel");
        Bundles::current().remember(Bundle(bundle, information));
    }
    ~ExclusionsFixture() override
    {
        controller.reset();
        setLogSink(nullptr);
    }

    /// Makes the controller, which reads the files, and shows its tables.
    void load()
    {
        controller = std::make_unique<PXExclusionsController>();
        paths = new DVTableView(&window);
        extensions = new DVTableView(&window);
        auto *const column = new QVBoxLayout(&window);
        column->addWidget(paths);
        column->addWidget(extensions);
        controller->setPathsTableView(paths);
        controller->setExtensionsTableView(extensions);
        controller->awakeFromNib();
        host.setKeyWindow(&window);
        window.resize(400, 500);
        window.show();
        QApplication::setActiveWindow(&window);
        QCoreApplication::processEvents();
    }

    static std::string listText(const std::vector<std::string> &strings)
    {
        std::string text = "<plist version=\"1.0\"><array>";
        for (const std::string &string : strings)
            text += "<string>" + string + "</string>";
        return text + "</array></plist>";
    }
    void storePaths(const std::vector<std::string> &strings) { writeFile(pathsFile, listText(strings)); }
    void storeExtensions(const std::vector<std::string> &strings) { writeFile(extensionsFile, listText(strings)); }
    std::vector<std::string> storedPaths() const { return ExclusionListFile(pathsFile).read().valueOr({"unreadable"}); }
    std::vector<std::string> storedExtensions() const
    {
        return ExclusionListFile(extensionsFile).read().valueOr({"unreadable"});
    }

    /// What the rows of a table show.
    static std::vector<std::string> rows(const DVTableView *table)
    {
        std::vector<std::string> texts;
        for (int row = 0; row < table->model()->rowCount(); ++row)
            texts.push_back(table->model()->index(row, 0).data().toString().toStdString());
        return texts;
    }
    static std::vector<std::string> textsOf(const ExclusionEntries &entries)
    {
        std::vector<std::string> texts;
        for (const ExclusionEntry &entry : entries)
            texts.push_back(entry->toStdString());
        return texts;
    }

    /// The field editor of the extensions, nullptr when none is open.
    QLineEdit *editor() const { return extensions->viewport()->findChild<QLineEdit *>(); }

    /// Types in place of what the field editor holds, and ends with the key.
    void type(const QString &text, Qt::Key end = Qt::Key_Return)
    {
        ASSERT_NE(editor(), nullptr);
        QTest::keyClicks(editor(), text);
        QTest::keyClick(editor(), end);
        settle();
    }

    /// A field editor commits and goes from the event loop.
    static void settle()
    {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// The alert that the window shows, ended; empty when there is none.
    std::string takeAlert()
    {
        auto *const box = qobject_cast<QMessageBox *>(host.attachedSheet(&window));
        if (!box)
            return {};
        const std::string text = box->text().toStdString() + "|" + box->informativeText().toStdString() + "|" +
                                 box->buttons().front()->text().toStdString();
        box->buttons().front()->click();
        return text;
    }

    std::vector<std::string> takePosts()
    {
        std::vector<std::string> names = center.postedNames();
        center.clearPosts();
        return names;
    }

    static constexpr const char *kPathsChanged = "com.dovrane.pellix.excludedPaths";
    static constexpr const char *kExtensionsChanged = "com.dovrane.pellix.excludedExtensions";

    Path support = PrivateHome::current().home() / ".local/share/Tamsel";
    Path pathsFile = support / "excludedPaths.plist";
    Path extensionsFile = support / "excludedExtensions.plist";
    Path bundle = PrivateHome::current().root() / "Tamsel.prefPane";
    FakeNotificationCenter center;
    Override<DistributedNotificationCenter> installedCenter{center};
    FakeHostApplication host;
    Override<HostApplication> installedHost{host};
    QWidget window;
    DVTableView *paths = nullptr;
    DVTableView *extensions = nullptr;
    std::unique_ptr<PXExclusionsController> controller;
};
