#include "Host/PanePage.h"

#include "Classes/Shared/Log.h"

#include <QFrame>
#include <QLabel>
#include <QScrollArea>
#include <QStackedLayout>
#include <QStyle>
#include <QVBoxLayout>

#include <exception>
#include <vector>

/// Keeps what a plug-in made reachable until the process ends.
static void keepForever(PreferencePane *pane)
{
    static auto *const s_panes = new std::vector<PreferencePane *>;
    s_panes->push_back(pane);
}

PanePage::PanePage(QString name, Loader loader, QWidget *parent)
    : QWidget(parent)
    , m_name(std::move(name))
    , m_loader(std::move(loader))
    , m_layout(new QStackedLayout(this))
{
    setAccessibleName(m_name);
}

PanePage::~PanePage() = default;

void PanePage::select()
{
    m_isWanted = true;
    if (m_isSelected || m_isBroken || (!m_pane && !load()))
        return;
    if (!m_isWanted || m_isSelected)
        return; // an alert of the pane's start had an event loop of its own, in which the page was left
    m_layout->setCurrentWidget(m_view);
    m_isSelected = true;
    if (!attempt([this] { m_pane->didSelect(); }))
        m_isSelected = false;
}

void PanePage::unselect()
{
    m_isWanted = false;
    if (!m_isSelected)
        return;
    m_isSelected = false;
    attempt([this] { m_pane->didUnselect(); });
}

void PanePage::handleRequest(const std::string &request)
{
    if (m_pane && !m_isBroken)
        attempt([&] { m_pane->handleRequest(request); });
}

bool PanePage::mayClose(std::function<void()> close)
{
    bool mayClose = true;
    if (m_pane && !m_isBroken)
        attempt([&] { mayClose = m_pane->mayClose(std::move(close)); });
    return mayClose;
}

bool PanePage::load()
{
    PaneOrFault loaded = m_loader();
    if (const auto *const fault = std::get_if<PaneFault>(&loaded)) {
        showFault(*fault);
        return false;
    }
    m_pane = std::get<std::unique_ptr<PreferencePane>>(loaded).release();
    keepForever(m_pane);
    m_isBroken = true;
    QWidget *view = nullptr;
    if (!attempt([&] { view = m_pane->loadMainView(); }))
        return false;
    if (!view) {
        showFault({tr("Its program made no view."), {}});
        return false;
    }
    auto *const scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(view);
    m_view = scroll;
    m_layout->setCurrentIndex(m_layout->addWidget(m_view));
    m_isBroken = !attempt([this] { m_pane->mainViewDidLoad(); });
    if (!m_isBroken)
        Q_EMIT viewLoaded(view);
    return !m_isBroken;
}

/// Runs a call of the pane's; answers whether it came back without throwing, and shows what it threw.
bool PanePage::attempt(const std::function<void()> &call)
{
    QString thrown;
    try {
        call();
        return true;
    } catch (const std::exception &exception) {
        thrown = QString::fromUtf8(exception.what());
    } catch (...) {
        thrown = tr("unknown exception");
    }
    showFault({tr("Its program reported an error."), thrown});
    return false;
}

void PanePage::showFault(const PaneFault &fault)
{
    logLine("Could not show the pane \"" + m_name.toStdString() + "\": " + fault.reason.toStdString() + " " +
            fault.detail.toStdString());
    delete m_fault;
    m_fault = new QWidget;
    auto *const column = new QVBoxLayout(m_fault);
    const auto add = [column](const QString &text, const char *objectName) {
        auto *const label = new QLabel(text);
        label->setObjectName(QLatin1String(objectName));
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        label->setAlignment(Qt::AlignHCenter);
        label->setWordWrap(true);
        column->addWidget(label);
        return label;
    };
    auto *const icon = new QLabel;
    icon->setAlignment(Qt::AlignHCenter);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(QSize(48, 48), devicePixelRatio()));
    column->addStretch(1);
    column->addWidget(icon);
    QLabel *const title = add(tr("“%1” cannot be shown.").arg(m_name), "faultTitle");
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    add(fault.reason, "faultReason");
    if (!fault.detail.isEmpty())
        add(fault.detail, "faultDetail")->setForegroundRole(QPalette::PlaceholderText);
    column->addStretch(2);
    m_layout->setCurrentIndex(m_layout->addWidget(m_fault));
}
