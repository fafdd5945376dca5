#include "Host/PreferencesWindow.h"

#include "Host/AboutPane.h"
#include "Host/HostSettings.h"
#include "Host/LetterIcon.h"
#include "Host/PaneGrid.h"
#include "Host/PanePage.h"

#include <QCloseEvent>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>

#include <algorithm>

static constexpr QSize kDefaultSize{760, 620};
static constexpr QSize kMinimumSize{420, 320};
static constexpr std::size_t kMostVisited = 50;

static QString text(const std::string &utf8)
{
    return QString::fromStdString(utf8);
}

static QIcon iconOf(const PaneListing &listing)
{
    if (listing.path == Path(AboutPane::kIdentifier))
        return QIcon::fromTheme(QStringLiteral("computer"), letterIcon(text(listing.name)));
    const QIcon icon(QFile::decodeName(QByteArray::fromStdString(listing.icon.native())));
    return icon.availableSizes().isEmpty() ? letterIcon(text(listing.name)) : icon;
}

static PaneOrFault load(const Path &path)
{
    if (path == Path(AboutPane::kIdentifier))
        return std::make_unique<AboutPane>(Bundles::current().main().valueOr({}));
    return loadPane(path);
}

PreferencesWindow::PreferencesWindow(std::vector<Path> folders, HostSettings &settings, QWidget *parent)
    : QWidget(parent)
    , m_folders(std::move(folders))
    , m_settings(settings)
    , m_tables(settings)
    , m_grid(new PaneGrid)
    , m_stack(new QStackedWidget)
{
    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    auto *const line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    column->addWidget(line);
    auto *const overview = new QScrollArea;
    overview->setWidgetResizable(true);
    overview->setFrameShape(QFrame::NoFrame);
    overview->setFocusPolicy(Qt::NoFocus);
    overview->setWidget(m_grid);
    m_stack->addWidget(overview);
    column->addWidget(m_stack, 1);
    connect(m_grid, &PaneGrid::activated, this, [this](int index) { show(m_entries[std::size_t(index)]); });
    addShortcuts();
    refresh();
    updateHeader();

    setMinimumSize(kMinimumSize);
    resize(kDefaultSize);
    const Bytes geometry = m_settings.windowGeometry();
    restoreGeometry(QByteArray(reinterpret_cast<const char *>(geometry.data()), qsizetype(geometry.size())));
}

PreferencesWindow::~PreferencesWindow() = default;

void PreferencesWindow::showPane(const std::string &argument)
{
    show(entryMeant(argument));
}

void PreferencesWindow::handleRequest(const std::string &argument, const std::string &request)
{
    Entry &entry = entryMeant(argument);
    PanePage &page = entry.page && entry.page->isLoaded() ? *entry.page : show(entry);
    page.handleRequest(request);
}

void PreferencesWindow::showLastPane()
{
    const std::string last = m_settings.lastPane();
    const auto found = std::ranges::find_if(
        m_entries, [&last](const Entry &entry) { return !last.empty() && entry.listing.path.native() == last; });
    if (found != m_entries.end())
        show(*found);
    else if (Path(last).is_absolute() && Bundles::current().open(last))
        showPane(last);
}

void PreferencesWindow::showAll()
{
    if (!m_current)
        return;
    const Path left = m_currentPath;
    leaveCurrent();
    refresh();
    m_stack->setCurrentIndex(0);
    const auto found =
        std::ranges::find_if(m_entries, [&left](const Entry &entry) { return entry.listing.path == left; });
    m_grid->focusItem(int(found - m_entries.begin()));
    updateHeader();
    remember({});
}

void PreferencesWindow::goBack()
{
    if (m_visited.empty())
        return;
    const Path target = m_visited.back();
    const std::size_t depth = m_visited.size() - 1;
    if (target.empty())
        showAll();
    else
        show(m_entries[entryFor(describePane(target))]);
    m_visited.resize(depth);
    updateHeader();
}

void PreferencesWindow::prepareToEnd()
{
    remember(m_currentPath.native());
    leaveCurrent();
    hide();
}

void PreferencesWindow::closeEvent(QCloseEvent *event)
{
    // The pane is left while its window still stands.
    event->ignore();
    requestClose();
}

void PreferencesWindow::requestClose()
{
    for (const Entry &entry : m_entries) {
        if (entry.page && !entry.page->mayClose([this] { requestClose(); }))
            return;
    }
    Q_EMIT closeRequested();
}

QWidget *PreferencesWindow::makeHeader()
{
    auto *const header = new QWidget;
    auto *const row = new QHBoxLayout(header);
    row->setContentsMargins(8, 6, 8, 6);
    m_back = new QToolButton;
    m_back->setArrowType(Qt::LeftArrow);
    m_back->setAccessibleName(tr("Back"));
    m_back->setToolTip(tr("Back"));
    m_showAll = new QToolButton;
    m_showAll->setText(tr("Show All"));
    m_showAll->setAccessibleName(tr("Show All"));
    for (QToolButton *const button : {m_back, m_showAll}) {
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
        row->addWidget(button);
    }
    m_title = new QLabel;
    m_title->setTextFormat(Qt::PlainText);
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    row->addSpacing(8);
    row->addWidget(m_title, 1);
    connect(m_back, &QToolButton::clicked, this, &PreferencesWindow::goBack);
    connect(m_showAll, &QToolButton::clicked, this, &PreferencesWindow::showAll);
    return header;
}

void PreferencesWindow::addShortcuts()
{
    const auto add = [this](const QKeySequence &keys, void (PreferencesWindow::*slot)()) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, slot);
    };
    add(QKeySequence(Qt::CTRL | Qt::Key_W), &PreferencesWindow::requestClose);
    add(QKeySequence(Qt::CTRL | Qt::Key_Q), &PreferencesWindow::requestClose);
    add(QKeySequence(Qt::ALT | Qt::Key_Left), &PreferencesWindow::goBack);
    add(QKeySequence(Qt::CTRL | Qt::Key_L), &PreferencesWindow::showAll);
}

/// Looks for panes again. What has a page keeps it, also when its bundle is gone by now.
void PreferencesWindow::refresh()
{
    std::vector<Entry> before = std::move(m_entries);
    m_entries.clear();
    m_entries.push_back(
        {{AboutPane::kIdentifier, AboutPane::kIdentifier, tr("About this computer").toStdString(), {}}});
    for (PaneListing &listing : findPanes(m_folders))
        m_entries.push_back({std::move(listing)});
    for (Entry &old : before) {
        if (old.page)
            m_entries[entryFor(old.listing)].page = old.page;
    }
    fillGrid();
}

void PreferencesWindow::fillGrid()
{
    std::vector<PaneGrid::Item> items;
    for (const Entry &entry : m_entries)
        items.push_back({text(entry.listing.name), iconOf(entry.listing), {}});
    m_grid->setItems(items);
}

/// The place of that pane in the list, to which it is added where it is new. One that is listed elsewhere under the
/// same identifier gives way, unless it has been opened already.
std::size_t PreferencesWindow::entryFor(const PaneListing &listing)
{
    auto found =
        std::ranges::find_if(m_entries, [&](const Entry &entry) { return entry.listing.path == listing.path; });
    if (found == m_entries.end() && !listing.identifier.empty()) {
        found = std::ranges::find_if(m_entries, [&](const Entry &entry) {
            return entry.listing.identifier == listing.identifier && !entry.page;
        });
        if (found != m_entries.end())
            found->listing = listing;
    }
    if (found == m_entries.end())
        found = m_entries.insert(found, {listing});
    return std::size_t(found - m_entries.begin());
}

/// The pane that a command line means; where there is none, an entry whose page will say so.
PreferencesWindow::Entry &PreferencesWindow::entryMeant(const std::string &argument)
{
    std::vector<PaneListing> listings;
    for (const Entry &entry : m_entries)
        listings.push_back(entry.listing);
    const PaneListing unknown{argument, {}, argument, {}};
    return m_entries[entryFor(findPane(argument, listings).value_or(unknown))];
}

/// The list, and `entry` with it, may be another one when the pane has been selected.
PanePage &PreferencesWindow::show(Entry &entry)
{
    if (entry.page && entry.page == m_current)
        return *entry.page;
    leaveCurrent();
    const Path path = entry.listing.path;
    if (!entry.page) {
        entry.page = new PanePage(text(entry.listing.name), [path] { return load(path); });
        connect(entry.page, &PanePage::viewLoaded, this,
                [this, name = entry.listing.identifier](QWidget *view) { m_tables.restore(name, *view); });
        m_stack->addWidget(entry.page);
    }
    PanePage &page = *entry.page;
    m_current = &page;
    m_currentPath = path;
    m_stack->setCurrentWidget(m_current);
    updateHeader();
    remember(path.native());
    page.select();
    return page;
}

void PreferencesWindow::leaveCurrent()
{
    m_visited.push_back(m_currentPath);
    if (m_visited.size() > kMostVisited)
        m_visited.erase(m_visited.begin());
    if (m_current)
        m_current->unselect();
    m_current = nullptr;
    m_currentPath.clear();
}

void PreferencesWindow::updateHeader()
{
    const QString name = m_current ? m_current->name() : tr("Preferences");
    m_title->setText(name);
    setWindowTitle(name);
    m_back->setEnabled(!m_visited.empty());
    m_showAll->setEnabled(m_current != nullptr);
}

void PreferencesWindow::remember(const std::string &pane)
{
    const QByteArray geometry = saveGeometry();
    m_tables.collect();
    m_settings.setLastPane(pane);
    m_settings.setWindowGeometry(Bytes(geometry.begin(), geometry.end()));
    m_settings.save();
}
