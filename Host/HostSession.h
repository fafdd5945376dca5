#pragma once

#include "Host/HostAppearance.h"
#include "Host/HostOptions.h"
#include "Host/HostSettings.h"
#include "Platform/ApplicationName.h"

#include <QDeadlineTimer>
#include <QObject>

#include <memory>
#include <string>
#include <vector>

class PreferencesApplication;
class PreferencesWindow;

/// One run of the host: hands over to a host that runs already, or opens the window and shows the pane that was asked
/// for. Main thread.
class HostSession final : public QObject
{
    Q_OBJECT

public:
    HostSession(PreferencesApplication &application, HostOptions options);
    ~HostSession() override;

    /// Answers at once; what comes of it comes from the event loop.
    void start();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void heed(ApplicationName::Claim claim);
    void handOver();
    void open();
    void showFirstPane();
    void answer(const std::vector<std::string> &arguments);

    HostOptions m_options;
    HostSettings m_settings;
    HostAppearance m_appearance;
    std::unique_ptr<PreferencesWindow> m_window;
    QDeadlineTimer m_lateAnswers; ///< until when another host that shows up late is the one that stays
    bool m_isHandingOver = false;
    bool m_hasShownFirstPane = false;
};
