#include "Tests/Classes/PrefPane/PaneFixture.h"

#include "Classes/Shared/Log.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <QAccessible>
#include <QImage>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <fstream>

namespace fs = std::filesystem;

static std::vector<std::string> s_log;

Journal::Journal()
    : m_file(PrivateHome::current().makeFolder("journal") / "lines")
{
}

void Journal::note(const std::string &line)
{
    std::ofstream(m_file, std::ios::app) << line << '\n';
}

void Journal::clear()
{
    fs::remove(m_file);
}

std::vector<std::string> Journal::lines() const
{
    std::vector<std::string> lines;
    std::ifstream stream(m_file);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

void NotingCenter::post(const std::string &name, const UserInfo &userInfo)
{
    m_journal.note("post " + name);
    if (posting)
        posting(name);
    m_center.post(name, userInfo);
}

DistributedNotificationCenter::ObserverId NotingCenter::addObserver(const std::string &name, Handler handler)
{
    m_journal.note("observe " + name);
    return m_center.addObserver(name, std::move(handler));
}

Result<std::shared_ptr<RunningApplication>> NotingWorkspace::launchApplication(const Path &bundle)
{
    m_journal.note("launch " + bundle.filename().native());
    return m_workspace.launchApplication(bundle);
}

void NotingWorkspace::watchRunning(const std::string &identifier, std::function<void(bool)> changed)
{
    m_workspace.watchRunning(identifier, std::move(changed));
}

PaneFixture::PaneFixture()
{
    setLogSink([](const std::string &line) { s_log.push_back(line); });
    fs::create_directories(supportFolder().parent_path());
    makePane(PrivateHome::current().makeFolder("panes") / "Tamsel.prefPane");
    window.resize(700, 640);
    new QVBoxLayout(&window);
}

PaneFixture::~PaneFixture()
{
    setLogSink(nullptr);
}

fs::path PaneFixture::supportFolder()
{
    return PrivateHome::current().home() / ".local/share/Tamsel";
}

std::vector<std::string> &PaneFixture::log()
{
    return s_log;
}

static void writeTool(const fs::path &path, const std::string &name, const fs::path &journal)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path) << "#!/bin/sh\nline=" << name << "\nfor each; do line=\"$line [$each]\"; done\n"
                        << "echo \"$line\" >> " << journal.native() << '\n';
    fs::permissions(path, fs::perms(0755));
}

static void writeInformation(const fs::path &bundle, const char *identifier, const char *executable)
{
    PropertyList information;
    information.set("CFBundleIdentifier", identifier);
    information.set("CFBundleVersion", "1.2.3");
    information.set("CFBundleExecutable", executable);
    fs::create_directories(bundle / "Contents/MacOS");
    ASSERT_TRUE(information.write(bundle / "Contents/Info.plist"));
}

void PaneFixture::makeBundle(const fs::path &path)
{
    const fs::path resources = path / "Contents/Resources";
    const fs::path helper = resources / "TamselHelper.app";
    writeInformation(path, "com.dovrane.Tamsel", "Tamsel");
    writeInformation(helper, "com.dovrane.TamselHelper", "TamselHelper");
    writeTool(helper / "Contents/MacOS/TamselHelper", "TamselHelper", journal.file());
    writeTool(helper / "Contents/Frameworks/Sparkle.framework/Resources/relaunch", "relaunch", journal.file());
    writeTool(resources / "TamselRenamer", "TamselRenamer", journal.file());
    writeTool(resources / "TamselRemover", "TamselRemover", journal.file());
    QImage bubble(20, 20, QImage::Format_ARGB32);
    bubble.fill(Qt::red);
    for (const char *name : {"History.model.plist", "history.db"})
        fs::copy_file(fs::path(TAMSEL_PANE_RESOURCES) / name, resources / name);
    bubble.save(QString::fromStdString(resources / "bubble.png"));
}

void PaneFixture::makePane(const fs::path &path)
{
    m_bundlePath = path;
    makeBundle(path);
    const Result<Bundle> bundle = Bundles::current().open(path);
    ASSERT_TRUE(bundle);
    Bundles::current().remember(*bundle);
    m_pane = std::make_unique<TamselPref>(*bundle);
}

void PaneFixture::loadView()
{
    window.layout()->addWidget(pane().loadMainView());
    host.setMainWindow(&window);
}

void PaneFixture::load()
{
    loadView();
    host.setKeyWindow(&window);
    pane().mainViewDidLoad();
}

std::string PaneFixture::alertText() const
{
    const auto *const box = qobject_cast<QMessageBox *>(host.attachedSheet(&window));
    if (!box)
        return {};
    std::string text = box->text().toStdString() + "|" + box->informativeText().toStdString();
    for (const QAbstractButton *button : box->buttons())
        text += "|" + button->text().toStdString();
    return text;
}

void PaneFixture::endAlert()
{
    auto *const box = qobject_cast<QMessageBox *>(host.attachedSheet(&window));
    ASSERT_NE(box, nullptr);
    box->buttons().front()->click();
}

void PaneFixture::toggleByAccessibleAction(QWidget &widget)
{
    QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(&widget);
    ASSERT_TRUE(interface && interface->actionInterface());
    interface->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
}

bool PaneFixture::hasLine(const std::string &line) const
{
    const std::vector<std::string> lines = journal.lines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

bool PaneFixture::waitForLine(const std::string &line)
{
    return waitFor([this, &line] { return hasLine(line); });
}
