#include "Host/HostSession.h"

#include "Classes/Shared/Log.h"
#include "Host/PaneCatalog.h"
#include "Host/PreferencesApplication.h"
#include "Host/PreferencesWindow.h"
#include "Platform/HostApplication.h"
#include "Platform/LoginWindow.h"

#include <QEvent>
#include <QTimer>

#include <algorithm>
#include <chrono>

static const char *const kIdentifier = "com.dovrane.Preferences";
static const char *const kPaneArgument = "--pane";
static const char *const kRequestArgument = "--request";

/// How long the window waits for a bus that is slow to say whether another host runs. Without a bus that is known at
/// once.
static constexpr std::chrono::milliseconds kLongestDecision{300};

/// From then on the user may have begun something in this window, and keeps it.
static constexpr std::chrono::seconds kLatestAnswer{5};

/// How long the first pane waits for the window to be painted, which a window in the background may never be.
static constexpr std::chrono::milliseconds kLongestFirstFrame{300};

HostSession::HostSession(PreferencesApplication &application, HostOptions options)
    : m_options(std::move(options))
    , m_settings(HostSettings::defaultPath())
    , m_appearance(m_options.appearance)
{
    application.setPrepareToEnd([this] {
        // From here on the next start opens a window of its own.
        ApplicationName::current().setActivationHandler({});
        ApplicationName::current().release(kIdentifier);
        if (m_window)
            m_window->prepareToEnd();
    });
}

HostSession::~HostSession()
{
    HostApplication::current().setMainWindow(nullptr);
}

void HostSession::start()
{
    m_lateAnswers.setRemainingTime(kLatestAnswer);
    ApplicationName::current().claim(kIdentifier, [this](ApplicationName::Claim claim) { heed(claim); });
    QTimer::singleShot(kLongestDecision, this, [this] {
        if (!m_isHandingOver)
            open();
    });
}

void HostSession::heed(ApplicationName::Claim claim)
{
    if (claim != ApplicationName::Claim::OwnedByOther)
        open();
    else if (!m_isHandingOver && !m_lateAnswers.hasExpired())
        handOver();
}

void HostSession::handOver()
{
    m_isHandingOver = true;
    std::vector<std::string> arguments;
    if (!m_options.pane.empty())
        arguments = {kPaneArgument, m_options.pane};
    ApplicationName::current().activateOwner(kIdentifier, arguments, [this](bool hasAnswered) {
        if (hasAnswered)
            QCoreApplication::quit();
        else
            open(); // the other one ends or hangs
    });
}

void HostSession::open()
{
    if (m_window)
        return;
    ApplicationName::current().setActivationHandler(
        [this](const std::vector<std::string> &arguments) { answer(arguments); });
    m_window = std::make_unique<PreferencesWindow>(paneFolders(), m_settings);
    connect(m_window.get(), &PreferencesWindow::closeRequested, qApp, &QCoreApplication::quit);
    m_window->installEventFilter(this);
    HostApplication::current().setMainWindow(m_window.get());
    m_window->QWidget::show();
    QTimer::singleShot(kLongestFirstFrame, this, &HostSession::showFirstPane);
}

bool HostSession::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint && !m_hasShownFirstPane)
        QTimer::singleShot(0, this, &HostSession::showFirstPane);
    return QObject::eventFilter(watched, event);
}

void HostSession::showFirstPane()
{
    if (std::exchange(m_hasShownFirstPane, true))
        return;
    if (const Result<void> made = LoginWindow::current().makeList(); !made)
        logLine("Could not make the list of login items: " + made.failure().context);
    if (m_options.pane.empty())
        m_window->showLastPane();
    else
        m_window->showPane(m_options.pane);
}

/// What follows `option` in the arguments of another process; empty when that is missing.
static std::string valueOf(const char *option, const std::vector<std::string> &arguments)
{
    const auto found = std::ranges::find(arguments, option);
    return found == arguments.end() || found + 1 == arguments.end() ? std::string() : *(found + 1);
}

void HostSession::answer(const std::vector<std::string> &arguments)
{
    const std::string pane = valueOf(kPaneArgument, arguments);
    const std::string request = valueOf(kRequestArgument, arguments);
    if (!pane.empty() && !request.empty()) {
        // Asked by a script, not by somebody who wants to see the window.
        showFirstPane();
        m_window->handleRequest(pane, request);
        return;
    }
    if (!pane.empty()) {
        m_options.pane = pane;
        if (m_hasShownFirstPane)
            m_window->showPane(pane);
    }
    HostApplication::current().activate(true);
}
