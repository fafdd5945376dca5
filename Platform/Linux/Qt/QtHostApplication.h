#pragma once

#include "Platform/HostApplication.h"
#include "Platform/SheetQueue.h"

#include <QPointer>
#include <QWidget>

#include <set>
#include <string>
#include <utility>

/// The application object of this process, whether it is our host or another's. Main thread.
class QtHostApplication final : public HostApplication
{
public:
    QtHostApplication();

    QWidget *keyWindow() const override;
    QWidget *mainWindow() const override;
    void setMainWindow(QWidget *window) override;
    void activate(bool ignoringOtherApplications) override;
    void terminate() override;
    void beginSheet(QDialog *sheet, QWidget *window, std::function<void(int)> didEnd) override;
    QDialog *attachedSheet(const QWidget *window) const override;
    void runModalAlert(const std::string &message, const std::string &informativeText,
                       const std::string &button) override;
    void presentError(const std::string &description, const std::string &reason) override;

private:
    QPointer<QWidget> m_mainWindow;
    std::set<std::pair<std::string, std::string>> m_presentedErrors; ///< description and reason, until they are read
    SheetQueue m_sheets;
};
