#pragma once

#include "Platform/Service.h"

#include <functional>
#include <string>

class QDialog;
class QWidget;

/// The application in which this process's panes are shown. Main thread.
class HostApplication : public Service<HostApplication>
{
public:
    /// The window that receives keys, a sheet's window standing for the sheet; nullptr when none does.
    virtual QWidget *keyWindow() const = 0;

    /// The window that shows panes, or the key window where the host has named none; nullptr when there is none yet.
    virtual QWidget *mainWindow() const = 0;

    /// Named by the host once its window is made.
    virtual void setMainWindow(QWidget *window) = 0;

    /// Brings the main window to the front; without `ignoringOtherApplications` only as far as the user's window
    /// manager gives it the focus unasked.
    virtual void activate(bool ignoringOtherApplications) = 0;

    /// Asks the application to end; answers at once, the end comes from the event loop.
    virtual void terminate() = 0;

    /// Shows `sheet` on `window`, which takes it as a child, and answers at once. A window shows one sheet at a time,
    /// in the order in which they were begun; without a window the sheet stands alone. `didEnd` is called exactly
    /// once with the sheet's result: when the sheet is done or closed, and with 0 from the event loop when its window
    /// is closed or either is deleted before. The sheet is hidden then, not deleted. It must not be begun already.
    virtual void beginSheet(QDialog *sheet, QWidget *window, std::function<void(int result)> didEnd) = 0;

    /// The sheet that `window` shows; nullptr when it shows none. `done` of the sheet ends it.
    virtual QDialog *attachedSheet(const QWidget *window) const = 0;

    /// Shows a message with one button and waits for it. For the one fault that cannot be lived with.
    virtual void runModalAlert(const std::string &message, const std::string &informativeText,
                               const std::string &button) = 0;

    /// Shows an error to the user without waiting. An equal one that is shown, or waits for its turn, stands for it.
    virtual void presentError(const std::string &description, const std::string &reason) = 0;
};
