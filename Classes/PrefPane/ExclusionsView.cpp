#include "Classes/PrefPane/ExclusionsView.h"

#include "Classes/PrefPane/DVTableView.h"
#include "Classes/PrefPane/ExclusionListPanel.h"
#include "Classes/PrefPane/ExclusionPasteboard.h"
#include "Classes/PrefPane/NoteLabel.h"
#include "Classes/PrefPane/PXExclusionsController.h"

#include <QGridLayout>
#include <QLocale>

#include <utility>

static constexpr int kCountingDelayMs = 150;
static constexpr int kLongestName = 150; // points

ExclusionsView::ExclusionsView(QWidget *parent)
    : QWidget(parent)
{
    auto *const note = new NoteLabel(this);
    note->setText(
        tr("What is on these lists is left alone. Files that programs keep open and files that are compressed "
           "already, as far as Tamsel knows them, are left alone in any case."));
    m_paths.panel = new ExclusionListPanel(QStringLiteral("paths"),
                                           {tr("Folders and files"), tr("Excluded folders and files"),
                                            tr("Add folders or files"), tr("Remove the selected folders or files"),
                                            tr("Drop folders and files here, paste their paths, or press\u00A0+.")},
                                           this);
    m_extensions.panel = new ExclusionListPanel(
        QStringLiteral("extensions"),
        {tr("Extensions"), tr("Excluded extensions"), tr("Add an extension"), tr("Remove the selected extensions"),
         tr("Drop files here to add their extensions, paste some like \".jpg, *.PNG\", or press\u00A0+.")},
        this);
    auto *const grid = new QGridLayout(this);
    grid->setContentsMargins(0, 10, 0, 0);
    grid->setHorizontalSpacing(18);
    grid->setVerticalSpacing(8);
    grid->addWidget(note, 0, 0, 1, 2);
    grid->addWidget(m_paths.panel, 1, 0);
    grid->addWidget(m_extensions.panel, 1, 1);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);
    grid->setRowStretch(1, 1);
}

ExclusionsView::~ExclusionsView()
{
    // Its lists may speak once more when they go, and what listens must be there.
    delete m_controller;
}

void ExclusionsView::follow(PXExclusionsController *controller, WatchedFolders watchedFolders)
{
    m_controller = controller;
    controller->setParent(this);
    m_watchedFolders = std::move(watchedFolders);
    m_folders = m_watchedFolders();
    controller->setPathsTableView(m_paths.panel->tableView());
    controller->setExtensionsTableView(m_extensions.panel->tableView());
    controller->awakeFromNib();
    m_paths.arranged = controller->exclusionsPathsArrayController();
    m_extensions.arranged = controller->exclusionsExtensionsArrayController();
    m_paths.panel->follow(m_paths.arranged);
    m_extensions.panel->follow(m_extensions.arranged);
    connectPaths();
    connectExtensions();
    connectCounting(m_paths, true);
    connectCounting(m_extensions, false);
}

static QString otherFileKept(const QString &name)
{
    return ExclusionsView::tr("Another program had changed this list. Its version was kept as %1.").arg(name);
}

/// A long word cannot be wrapped and would widen the window.
static QString notStorable(const QString &text, const QWidget *panel)
{
    const QString name = text.mid(text.lastIndexOf(u'/') + 1).simplified();
    return ExclusionsView::tr("%1 was not added: the name is not in UTF-8, and the list holds no other.")
        .arg(panel->fontMetrics().elidedText(name, Qt::ElideMiddle, kLongestName));
}

void ExclusionsView::connectPaths()
{
    const ExclusionListPanel *const panel = m_paths.panel;
    connect(panel, &ExclusionListPanel::addWanted, m_controller, &PXExclusionsController::addPaths);
    connect(panel, &ExclusionListPanel::removeWanted, m_controller, &PXExclusionsController::removePaths);
    connect(panel, &ExclusionListPanel::pasted, m_controller, [this](const QMimeData *content) {
        if (!m_controller->addNewPaths(ExclusionPasteboard::pathsIn(*content)))
            m_paths.panel->tableView()->beep();
    });
    connect(m_controller, &PXExclusionsController::otherPathsFileKept, this,
            [this](const QString &name) { m_paths.panel->setNotice(otherFileKept(name)); });
    connect(m_controller, &PXExclusionsController::pathNotStorable, this,
            [this](const QString &path) { m_paths.panel->setNotice(notStorable(path, m_paths.panel)); });
}

void ExclusionsView::connectExtensions()
{
    const ExclusionListPanel *const panel = m_extensions.panel;
    connect(panel, &ExclusionListPanel::addWanted, m_controller, &PXExclusionsController::addExtensions);
    connect(panel, &ExclusionListPanel::removeWanted, m_controller, &PXExclusionsController::removeExtensions);
    connect(panel, &ExclusionListPanel::pasted, m_controller, [this](const QMimeData *content) {
        if (!m_controller->addNewExtensions(ExclusionPasteboard::extensionsIn(*content)))
            m_extensions.panel->tableView()->beep();
    });
    connect(m_controller, &PXExclusionsController::otherExtensionsFileKept, this,
            [this](const QString &name) { m_extensions.panel->setNotice(otherFileKept(name)); });
    connect(m_controller, &PXExclusionsController::extensionNotStorable, this, [this](const QString &extension) {
        m_extensions.panel->setNotice(notStorable(extension, m_extensions.panel));
    });
}

void ExclusionsView::connectCounting(Side &side, bool isOfPaths)
{
    side.delay.setSingleShot(true);
    side.delay.setInterval(kCountingDelayMs);
    const auto changed = [this, &side] { countSoon(side); };
    connect(side.arranged->selectionModel(), &QItemSelectionModel::selectionChanged, this, changed);
    connect(side.arranged, &QAbstractItemModel::modelReset, this, changed);
    connect(&side.delay, &QTimer::timeout, this, [this, &side, isOfPaths] { startCounting(side, isOfPaths); });
    connect(&side.counter, &ExclusionCounter::counted, this, [&side](quint64 files) {
        side.panel->setCount(
            files == 1 ? tr("Leaves out 1 file of the watched folders.")
                       : tr("Leaves out %1 files of the watched folders.").arg(QLocale().toString(qulonglong(files))));
    });
}

void ExclusionsView::watchedFoldersChanged()
{
    std::vector<std::string> folders = m_watchedFolders();
    if (folders == m_folders)
        return;
    m_folders = std::move(folders);
    countSoon(m_paths);
    countSoon(m_extensions);
}

void ExclusionsView::countSoon(Side &side)
{
    side.counter.stop();
    const bool isAny = !side.arranged->selectedObjects().empty() && !m_folders.empty();
    side.panel->setCount(isAny ? tr("Counting files…") : QString());
    if (isAny)
        side.delay.start();
    else
        side.delay.stop();
}

void ExclusionsView::startCounting(Side &side, bool isOfPaths)
{
    ExclusionCounter::Question question;
    question.folders = m_folders;
    for (const ExclusionEntry &entry : side.arranged->selectedObjects())
        (isOfPaths ? question.paths : question.extensions).push_back(entry->toStdString());
    side.counter.count(std::move(question));
}
