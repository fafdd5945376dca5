#pragma once

#include <QApplication>

#include <chrono>
#include <functional>

/// The host's application object. However it is asked to quit, it first has its window prepare and lets what was
/// posted reach the bus, for a short time at most. Main thread.
class PreferencesApplication final : public QApplication
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kLongestEnd{1000};

    PreferencesApplication(int &argc, char **argv);

    /// Called once, when the end begins.
    void setPrepareToEnd(std::function<void()> prepare) { m_prepareToEnd = std::move(prepare); }

    bool event(QEvent *event) override;

private:
    void beginEnd();

    std::function<void()> m_prepareToEnd;
    bool m_isEnding = false;
};
