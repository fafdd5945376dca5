#include "Classes/PrefPane/ExclusionsView.h"

#include "Classes/PrefPane/ExclusionListPanel.h"
#include "Classes/PrefPane/ExclusionPasteboard.h"
#include "Classes/PrefPane/NoteLabel.h"
#include "Classes/PrefPane/PXExclusionsController.h"

#include <QGridLayout>
#include <QLocale>

#include <utility>

static constexpr int kCountingDelayMs = 150;

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
    controller->setPathsTableView(m_paths.panel->tableView());
    controller->setExtensionsTableView(m_extensions.panel->tableView());
    controller->awakeFromNib();
    m_paths.panel->follow(controller->exclusionsPathsArrayController());
    m_extensions.panel->follow(controller->exclusionsExtensionsArrayController());
    connectPaths();
    connectExtensions();
    connectCounting(m_paths, true);
    connectCounting(m_extensions, false);
}

static QString otherFileKept(const QString &name)
{
    return ExclusionsView::tr("Another program had changed this list. Its version was kept as %1.").arg(name);
}

void ExclusionsView::connectPaths()
{
    const ExclusionListPanel *const panel = m_paths.panel;
    connect(panel, &ExclusionListPanel::addWanted, m_controller, &PXExclusionsController::addPaths);
    connect(panel, &ExclusionListPanel::removeWanted, m_controller, &PXExclusionsController::removePaths);
    connect(panel, &ExclusionListPanel::pasted, m_controller,
            [this](const QMimeData *content) { m_controller->addNewPaths(ExclusionPasteboard::pathsIn(*content)); });
    connect(m_controller, &PXExclusionsController::otherPathsFileKept, this,
            [this](const QString &name) { m_paths.panel->setNotice(otherFileKept(name)); });
}

void ExclusionsView::connectExtensions()
{
    const ExclusionListPanel *const panel = m_extensions.panel;
    connect(panel, &ExclusionListPanel::addWanted, m_controller, &PXExclusionsController::addExtensions);
    connect(panel, &ExclusionListPanel::removeWanted, m_controller, &PXExclusionsController::removeExtensions);
    connect(panel, &ExclusionListPanel::pasted, m_controller, [this](const QMimeData *content) {
        m_controller->addNewExtensions(ExclusionPasteboard::extensionsIn(*content));
    });
    connect(m_controller, &PXExclusionsController::otherExtensionsFileKept, this,
            [this](const QString &name) { m_extensions.panel->setNotice(otherFileKept(name)); });
}

void ExclusionsView::connectCounting(Side &side, bool isOfPaths)
{
    ExclusionsArrayController *const arranged = isOfPaths ? m_controller->exclusionsPathsArrayController()
                                                          : m_controller->exclusionsExtensionsArrayController();
    side.delay.setSingleShot(true);
    side.delay.setInterval(kCountingDelayMs);
    const auto changed = [this, &side, arranged] {
        side.counter.stop();
        const bool isAny = !arranged->selectedObjects().empty() && !m_watchedFolders().empty();
        side.panel->setCount(isAny ? tr("Counting files…") : QString());
        if (isAny)
            side.delay.start();
        else
            side.delay.stop();
    };
    connect(arranged->selectionModel(), &QItemSelectionModel::selectionChanged, this, changed);
    connect(arranged, &QAbstractItemModel::modelReset, this, changed);
    connect(&side.delay, &QTimer::timeout, this, [this, &side, isOfPaths] { startCounting(side, isOfPaths); });
    connect(&side.counter, &ExclusionCounter::counted, this, [&side](quint64 files) {
        side.panel->setCount(
            files == 1 ? tr("Leaves out 1 file of the watched folders.")
                       : tr("Leaves out %1 files of the watched folders.").arg(QLocale().toString(qulonglong(files))));
    });
}

void ExclusionsView::startCounting(Side &side, bool isOfPaths)
{
    ExclusionCounter::Question question;
    question.folders = m_watchedFolders();
    const ExclusionsArrayController *const arranged = isOfPaths ? m_controller->exclusionsPathsArrayController()
                                                                : m_controller->exclusionsExtensionsArrayController();
    for (const ExclusionEntry &entry : arranged->selectedObjects())
        (isOfPaths ? question.paths : question.extensions).push_back(entry->toStdString());
    side.counter.count(std::move(question));
}
