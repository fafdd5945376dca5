#include "Classes/PrefPane/TamselPrefView.h"

#include "Classes/PrefPane/EmptyListNote.h"
#include "Classes/PrefPane/FocusRing.h"
#include "Classes/PrefPane/FoldersArrayController.h"
#include "Classes/PrefPane/FoldersTableDelegate.h"
#include "Classes/PrefPane/PXDefaultsController.h"
#include "Classes/PrefPane/PXSizeToPrettySizeTransformer.h"
#include "Classes/PrefPane/ToolTips.h"
#include "Platform/Bundle.h"
#include "Resources/ui_TamselPref.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QShortcut>

static constexpr int kWidestRefusedName = 360;
static constexpr int kMostRefusalsInTip = 10;

TamselPrefView::TamselPrefView(const Bundle &bundle)
    : m_ui(std::make_unique<Ui::TamselPref>())
{
    m_ui->setupUi(this);
    m_ui->switchView->setKnob(m_ui->toggleActiveButton);
    m_ui->autorunNote->hide();
    setRefusals({});
    loadIcons(bundle);
    setUpFonts();
    setUpTable();
    setTotalSavings(0);

    connectBoxes();
}

TamselPrefView::~TamselPrefView() = default;

/// An assistive technology toggles a box without clicking it. A box that only follows what is stored tells nobody.
void TamselPrefView::connectBoxes()
{
    connect(m_ui->automaticUpdatesButton, &QAbstractButton::toggled, this, [this](bool isOn) {
        if (m_settings && isOn != m_settings->checkForUpdates())
            Q_EMIT automaticUpdatesChosen(isOn);
    });
    connect(m_ui->visibleButton, &QAbstractButton::toggled, this, [this](bool isOn) {
        if (m_settings && isOn != m_settings->visible())
            Q_EMIT visibleChosen(isOn);
    });
    connect(m_ui->autorunAtLoginButton, &QAbstractButton::toggled, this, [this](bool isOn) {
        if (isOn != m_isLoginItem)
            Q_EMIT autorunAtLoginChosen(isOn);
    });
}

/// All sizes are read now, so that painting never waits for the disk, and the icon stays when the bundle goes.
void TamselPrefView::loadIcons(const Bundle &bundle)
{
    const auto load = [&bundle](const char *name) {
        const std::optional<Path> file = bundle.resource(name, "png");
        return file ? QPixmap(QFile::decodeName(file->c_str())) : QPixmap();
    };
    m_largeIcon = load("TamselPref@2x");
    m_ui->iconButton->setIcons(load("TamselPref"), m_largeIcon);
}

QPixmap TamselPrefView::icon(int side) const
{
    if (m_largeIcon.isNull())
        return {};
    QPixmap icon = m_largeIcon.scaled(2 * side, 2 * side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    icon.setDevicePixelRatio(2);
    return icon;
}

void TamselPrefView::setUpFonts()
{
    QFont title = font();
    title.setPixelSize(19);
    title.setBold(true);
    m_ui->titleLabel->setFont(title);
    QFont heading = font();
    heading.setPointSizeF(heading.pointSizeF() * 1.3);
    heading.setBold(true);
    m_ui->totalSavingsTextField->setFont(heading);
    for (QPushButton *button : findChildren<QPushButton *>())
        button->setMinimumSize(button->sizeHint() + QSize(20, 4));
}

void TamselPrefView::setUpTable()
{
    QTableView *const table = m_ui->foldersTableView;
    auto *const delegate = new FoldersTableDelegate(table);
    table->setItemDelegate(delegate);
    connect(delegate, &FoldersTableDelegate::iconsLoaded, table->viewport(), qOverload<>(&QWidget::update));
    table->verticalHeader()->setDefaultSectionSize(FoldersTableDelegate::kRowHeight);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setFixedHeight(26);
    table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    new FocusRing(table);
    table->installEventFilter(this);
    // Wherever the keys are, as long as the list can be seen: when it is empty, it invites to paste.
    auto *const paste = new QShortcut(QKeySequence::Paste, m_ui->historyTab);
    connect(paste, &QShortcut::activated, this, [this] {
        if (const QMimeData *const content = QApplication::clipboard()->mimeData())
            Q_EMIT pasted(*content);
    });
    new EmptyListNote(tr("No folders yet"), tr("Drop folders here, paste them, or press + to choose some."), table);
}

void TamselPrefView::follow(PXDefaultsController *settings)
{
    m_settings = settings;
    m_ui->automaticUpdatesButton->setChecked(settings->checkForUpdates());
    m_ui->visibleButton->setChecked(settings->visible());
    connect(settings, &PXDefaultsController::checkForUpdatesChanged, m_ui->automaticUpdatesButton,
            &QAbstractButton::setChecked);
    connect(settings, &PXDefaultsController::visibleChanged, m_ui->visibleButton, &QAbstractButton::setChecked);
    connect(settings, &PXDefaultsController::helperActiveChanged, this, &TamselPrefView::showState);
    connect(settings, &PXDefaultsController::helperActiveChanged, m_ui->foldersTableView->viewport(),
            qOverload<>(&QWidget::update));
    showState();
}

void TamselPrefView::followFolders(FoldersArrayController *folders)
{
    m_folders = folders;
    QTableView *const table = m_ui->foldersTableView;
    table->findChild<EmptyListNote *>()->follow(folders);
    QHeaderView *const header = table->horizontalHeader();
    header->setSectionResizeMode(FoldersArrayController::FolderColumn, QHeaderView::Interactive);
    header->setSectionResizeMode(FoldersArrayController::PathColumn, QHeaderView::Stretch);
    header->resizeSection(FoldersArrayController::FolderColumn, 180);
    header->resizeSection(FoldersArrayController::StatusColumn, 72);
    header->resizeSection(FoldersArrayController::SavingsColumn, 92);
    connect(folders, &QAbstractItemModel::rowsInserted, this, &TamselPrefView::showState);
    connect(folders, &QAbstractItemModel::rowsRemoved, this, &TamselPrefView::showState);
    connect(folders, &QAbstractItemModel::modelReset, this, &TamselPrefView::showState);
    // A folder goes and the sum of former ones comes: as many rows, another count.
    connect(folders, &QAbstractItemModel::dataChanged, this, &TamselPrefView::showState);
    connect(folders->selectionModel(), &QItemSelectionModel::selectionChanged, this, &TamselPrefView::showState);
    showState();
}

void TamselPrefView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if ((event->type() == QEvent::StyleChange || event->type() == QEvent::PaletteChange) && m_folders)
        loadThemeIcons();
    // Whoever comes back to the window may have moved a folder meanwhile.
    if (event->type() == QEvent::ActivationChange && isActiveWindow() && m_folders)
        m_folders->lookForFolders();
}

/// Only the window is told that the desktop has another theme of icons.
void TamselPrefView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    window()->installEventFilter(this);
}

void TamselPrefView::loadThemeIcons()
{
    static_cast<FoldersTableDelegate *>(m_ui->foldersTableView->itemDelegate())->loadIcons();
    m_ui->foldersTableView->findChild<EmptyListNote *>()->loadIcon();
}

bool TamselPrefView::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ThemeChange && watched == window())
        loadThemeIcons();
    if (watched != m_ui->foldersTableView || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto *const key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_Insert || key->modifiers() != Qt::NoModifier)
        return QWidget::eventFilter(watched, event);
    Q_EMIT addFolderWanted();
    return true;
}

void TamselPrefView::setTotalSavings(quint64 byteCount)
{
    m_ui->totalSavingsTextField->setText(PXSizeToPrettySizeTransformer().transformedValue(byteCount));
    m_ui->totalSavingsTextField->setToolTip(exactSize(byteCount));
}

/// A name may be long, and without a place to break it.
static QString sentenceOn(const FolderRefusal &refusal, const QFontMetrics &metrics)
{
    const QString folder =
        metrics.elidedText(QFile::decodeName(refusal.folder.c_str()), Qt::ElideMiddle, kWidestRefusedName);
    switch (refusal.reason) {
    case FolderRefusal::Reason::Missing:
        return TamselPrefView::tr("“%1” was not added: there is no such folder.").arg(folder);
    case FolderRefusal::Reason::WholeDisk:
        return TamselPrefView::tr("“%1” was not added: it is the whole disk. Choose a folder in it.").arg(folder);
    case FolderRefusal::Reason::System:
        return TamselPrefView::tr("“%1” was not added: it belongs to the system.").arg(folder);
    case FolderRefusal::Reason::OwnFiles:
        return TamselPrefView::tr("“%1” was not added: Tamsel keeps its own files there.").arg(folder);
    case FolderRefusal::Reason::Unreadable:
        return TamselPrefView::tr("“%1” was not added: you may not look into it.").arg(folder);
    case FolderRefusal::Reason::NotText:
        return TamselPrefView::tr("“%1” was not added or removed: its path is no text (UTF-8). Rename it first.")
            .arg(folder);
    }
    return {};
}

void TamselPrefView::setRefusals(const std::vector<FolderRefusal> &refusals)
{
    QStringList sentences;
    for (const FolderRefusal &refusal : refusals)
        sentences.append(sentenceOn(refusal, m_ui->refusalsLabel->fontMetrics()));
    QString line = sentences.value(0);
    if (sentences.size() > 1)
        line += QLatin1Char(' ') + (sentences.size() == 2 ? tr("And one more was not.")
                                                          : tr("And %1 more were not.").arg(sentences.size() - 1));
    m_ui->refusalsLabel->setText(line);
    m_ui->refusalsLabel->setToolTip(plainToolTip(sentences.mid(0, kMostRefusalsInTip).join(u'\n')));
    m_ui->refusalsLabel->setVisible(!sentences.isEmpty());
}

void TamselPrefView::setLoginItem(bool isPresent, bool hasList)
{
    m_isLoginItem = isPresent;
    m_ui->autorunAtLoginButton->setChecked(isPresent);
    m_ui->autorunAtLoginButton->setEnabled(hasList);
    m_ui->autorunNote->setVisible(!hasList);
}

void TamselPrefView::setHelperRunning(bool isRunning)
{
    m_isHelperRunning = isRunning;
    showState();
}

int TamselPrefView::folderCount() const
{
    int count = 0;
    for (int row = 0; m_folders && row < m_folders->rowCount(); ++row)
        count += m_folders->flags(m_folders->index(row, 0)).testFlag(Qt::ItemIsEnabled) ? 1 : 0;
    return count;
}

void TamselPrefView::showState()
{
    const int count = folderCount();
    m_ui->folderCountLabel->setText(count == 1 ? tr("1 folder") : tr("%1 folders").arg(count));
    m_ui->folderCountLabel->setVisible(count > 0);
    m_ui->removeFolderButton->setEnabled(m_folders && m_folders->selectionModel()->hasSelection());
    const bool isActive = m_settings && m_settings->helperActive();
    if (!isActive)
        m_ui->stateLabel->setText(tr("Switched off. The helper rests and ends when you leave this pane."));
    else if (!m_isHelperRunning)
        m_ui->stateLabel->setText(tr("Switched on, but the helper is not running. Opening this pane again starts it."));
    else if (count == 0)
        m_ui->stateLabel->setText(tr("The helper is running and waits for folders to watch."));
    else
        m_ui->stateLabel->setText(count == 1 ? tr("The helper is running and watches 1 folder.")
                                             : tr("The helper is running and watches %1 folders.").arg(count));
}
