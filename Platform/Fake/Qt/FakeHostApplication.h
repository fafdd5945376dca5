#pragma once

#include "Platform/HostApplication.h"
#include "Platform/SheetQueue.h"

#include <QPointer>
#include <QWidget>

#include <string>
#include <vector>

/// An application whose windows are made to order and which only notes what it is asked for. Sheets take their turns
/// but are not shown; a test ends them as a user would, by their buttons or with `done`. Main thread.
class FakeHostApplication final : public HostApplication
{
public:
    struct Alert
    {
        std::string message;
        std::string informativeText;
        std::string button; ///< empty for an error that is only presented

        friend bool operator==(const Alert &, const Alert &) = default;
    };

    FakeHostApplication();

    void setKeyWindow(QWidget *window) { m_keyWindow = window; }

    const std::vector<bool> &activations() const { return m_activations; } ///< whether it ignored others, each time
    int terminations() const { return m_terminations; }
    const std::vector<Alert> &modalAlerts() const { return m_modalAlerts; }
    const std::vector<Alert> &errors() const { return m_errors; }

    QWidget *keyWindow() const override { return m_keyWindow; }
    QWidget *mainWindow() const override { return m_mainWindow ? m_mainWindow.data() : keyWindow(); }
    void setMainWindow(QWidget *window) override { m_mainWindow = window; }
    void activate(bool ignoringOtherApplications) override { m_activations.push_back(ignoringOtherApplications); }
    void terminate() override { ++m_terminations; }
    void beginSheet(QDialog *sheet, QWidget *window, std::function<void(int)> didEnd) override;
    QDialog *attachedSheet(const QWidget *window) const override { return m_sheets.attached(window); }
    void runModalAlert(const std::string &message, const std::string &informativeText,
                       const std::string &button) override;
    void presentError(const std::string &description, const std::string &reason) override;

private:
    QPointer<QWidget> m_keyWindow;
    QPointer<QWidget> m_mainWindow;
    std::vector<bool> m_activations;
    int m_terminations = 0;
    std::vector<Alert> m_modalAlerts;
    std::vector<Alert> m_errors;
    SheetQueue m_sheets;
};
