#pragma once

#include "Platform/PreferencePane.h"

#include <QTimer>

class QLabel;

/// The host's own pane, "About this computer": what it knows of the system it runs on. Main thread.
class AboutPane final : public PreferencePane
{
public:
    /// What stands for the pane where others have their bundle's path.
    static constexpr const char *kIdentifier = "com.dovrane.Preferences.about";

    explicit AboutPane(Bundle bundle);

    QWidget *loadMainView() override;
    void didSelect() override;
    void didUnselect() override;

private:
    void refresh();

    QLabel *m_systemVersion = nullptr;
    QLabel *m_supportFolder = nullptr;
    QLabel *m_sessionBus = nullptr;
    QTimer m_timer; ///< runs while the pane is selected
};
