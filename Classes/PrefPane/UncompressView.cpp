#include "Classes/PrefPane/UncompressView.h"

#include "Classes/PrefPane/DVBox.h"
#include "Classes/PrefPane/DragInfoImageView.h"
#include "Classes/PrefPane/ExpansionRun.h"
#include "Classes/PrefPane/NoteLabel.h"
#include "Classes/PrefPane/PXUncompressorController.h"
#include "Classes/PrefPane/UncompressList.h"
#include "Classes/PrefPane/UncompressSaving.h"
#include "Classes/PrefPane/UncompressWords.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QTreeView>

using namespace std::chrono_literals;

static constexpr auto kRefreshInterval = 100ms;
static constexpr int kBoxHeight = 128;
static constexpr int kLeastListHeight = 90;
static constexpr int kBarSteps = 1000;

UncompressView::UncompressView(QWidget *parent)
    : QWidget(parent)
    , m_saving(new UncompressSaving(this))
{
    makeBox();
    m_bar = new QProgressBar(this);
    m_bar->setAccessibleName(tr("Progress of uncompressing"));
    m_bar->setTextVisible(false);
    m_open = makeButton("uncompressOpen", tr("Open…"), tr("Choose files and folders to uncompress"));
    m_cancel = makeButton("uncompressCancel", tr("Cancel"), tr("Stop uncompressing; what is done stays"));
    m_state = new NoteLabel(this);
    m_state->setObjectName(QStringLiteral("uncompressState"));
    m_state->setWordWrap(false);
    m_state->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    auto *const row = new QHBoxLayout;
    row->addWidget(m_state, 1);
    row->addWidget(m_bar, 1);
    row->addWidget(m_cancel);
    row->addWidget(m_open);
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 10, 0, 0);
    column->setSpacing(8);
    column->addWidget(m_box);
    column->addLayout(row);
    column->addWidget(makeList(), 1);
    m_refresh.setInterval(kRefreshInterval);
    m_bar->hide();
    m_cancel->hide();
    m_copy->setEnabled(false);
    m_save->setEnabled(false);
}

UncompressView::~UncompressView()
{
    // Its run may speak once more when it goes, and what listens must be there.
    delete m_controller;
}

void UncompressView::makeBox()
{
    m_box = new DVBox(this);
    m_box->setObjectName(QStringLiteral("uncompressBox"));
    m_box->setAccessibleName(tr("Uncompress box"));
    m_box->setFixedHeight(kBoxHeight);
    m_box->setFrameStyle(int(QFrame::Box) | int(QFrame::Plain)); // the style's own panel is hardly seen when it is dark
    m_box->setForegroundRole(QPalette::PlaceholderText);
    m_icon = new QLabel(m_box);
    m_icon->setAlignment(Qt::AlignCenter);
    m_label = new QLabel(m_box);
    m_label->setObjectName(QStringLiteral("dragTextField"));
    m_label->setTextFormat(Qt::PlainText);
    m_label->setForegroundRole(QPalette::WindowText);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setWordWrap(true);
    m_label->setText(QStringLiteral("Drag files or folders here to uncompress them"));
    m_dragInfo = new DragInfoImageView(m_box);
    m_dragInfo->hide();
    auto *const resting = new QVBoxLayout;
    resting->addStretch();
    resting->addWidget(m_icon);
    resting->addSpacing(6);
    resting->addWidget(m_label);
    resting->addStretch();
    auto *const grid = new QGridLayout(m_box);
    grid->addLayout(resting, 0, 0);
    grid->addWidget(m_dragInfo, 0, 0, Qt::AlignCenter);
}

void UncompressView::setIcon(const QPixmap &icon)
{
    m_icon->setPixmap(icon);
}

QPushButton *UncompressView::makeButton(const char *name, const QString &text, const QString &tip)
{
    auto *const button = new QPushButton(text, this);
    button->setObjectName(QLatin1String(name));
    button->setAccessibleName(text);
    button->setToolTip(tip);
    button->setAutoDefault(false);
    return button;
}

QWidget *UncompressView::makeList()
{
    m_list = new UncompressList(this);
    m_tree = new QTreeView;
    m_tree->setObjectName(QStringLiteral("uncompressList"));
    m_tree->setAccessibleName(tr("What became of the files"));
    m_tree->setModel(m_list);
    m_tree->setUniformRowHeights(true);
    m_tree->setMinimumHeight(kLeastListHeight);
    m_tree->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    m_tree->setAlternatingRowColors(true);
    m_tree->setTextElideMode(Qt::ElideMiddle);
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->header()->hide();
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionResizeMode(UncompressList::FileColumn, QHeaderView::Stretch);
    m_tree->header()->setSectionResizeMode(UncompressList::RemarkColumn, QHeaderView::Interactive);
    m_tree->header()->resizeSection(UncompressList::RemarkColumn, 200);
    auto *const whenEmpty = new NoteLabel;
    whenEmpty->setText(tr("What becomes of each file is listed here: uncompressed, left alone or failed, and why."));
    whenEmpty->setAlignment(Qt::AlignCenter);
    m_copy = makeButton("uncompressCopy", tr("Copy"), tr("Copy the selected lines, or all of them"));
    m_save = makeButton("uncompressSave", tr("Save as Text…"), tr("Save the list of all files"));
    auto *const buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_copy);
    buttons->addWidget(m_save);
    auto *const filled = new QWidget;
    auto *const column = new QVBoxLayout(filled);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_tree, 1);
    column->addLayout(buttons);
    m_place = new QStackedWidget(this);
    m_place->addWidget(whenEmpty);
    m_place->addWidget(filled);
    return m_place;
}

void UncompressView::follow(PXUncompressorController *controller)
{
    m_controller = controller;
    controller->setParent(this);
    controller->setUncompressBox(m_box);
    controller->setDragInfoImageView(m_dragInfo);
    controller->setUncompressIconImageView(m_icon);
    controller->setDragTextField(m_label);
    m_box->awakeFromNib();
    connectButtons();
}

void UncompressView::connectButtons()
{
    connect(m_open, &QAbstractButton::clicked, this, &UncompressView::choose);
    connect(m_cancel, &QAbstractButton::clicked, m_controller, &PXUncompressorController::cancel);
    connect(m_cancel, &QAbstractButton::clicked, this, &UncompressView::showProgress);
    connect(m_copy, &QAbstractButton::clicked, this, &UncompressView::copy);
    connect(m_save, &QAbstractButton::clicked, this, &UncompressView::save);
    connect(m_saving, &UncompressSaving::ended, this, &UncompressView::showSaved);
    // Not while another page is shown: then the keys are that one's.
    connect(new QShortcut(QKeySequence::Paste, this), &QShortcut::activated, this, &UncompressView::paste);
    auto *const copyKeys = new QShortcut(QKeySequence::Copy, m_tree);
    copyKeys->setContext(Qt::WidgetShortcut);
    connect(copyKeys, &QShortcut::activated, this, &UncompressView::copy);
    connect(m_controller, &PXUncompressorController::runBegan, this, &UncompressView::beginRun);
    connect(m_controller, &PXUncompressorController::uncompressingChanged, this, &UncompressView::showProgress);
    connect(&m_refresh, &QTimer::timeout, this, &UncompressView::showProgress);
}

void UncompressView::beginRun()
{
    m_list->clear();
    m_refresh.start();
    showProgress();
}

void UncompressView::showProgress()
{
    const bool isRunning = m_controller->uncompressing();
    m_open->setEnabled(!isRunning);
    m_bar->setVisible(isRunning);
    m_cancel->setVisible(isRunning);
    enableSaving();
    if (!m_controller->run())
        return;
    if (!isRunning)
        m_refresh.stop();
    const ExpansionProgress progress = m_controller->run()->takeProgress();
    const int groups = m_list->rowCount();
    m_list->add(progress);
    if (m_list->rowCount() != groups)
        m_tree->expandAll();
    m_copy->setEnabled(m_list->rowCount() > 0);
    m_place->setCurrentIndex(m_list->rowCount() > 0 ? 1 : 0);
    showState(progress);
}

void UncompressView::showState(const ExpansionProgress &progress)
{
    m_cancel->setEnabled(!progress.isCancelled);
    const bool isMeasured = progress.phase == ExpansionProgress::Phase::Expanding && progress.filesInAll > 0;
    m_bar->setRange(0, isMeasured ? kBarSteps : 0);
    if (isMeasured)
        m_bar->setValue(UncompressWords::permille(progress));
    m_state->setText(UncompressWords::state(progress));
}
