#include "Platform/Linux/Qt/QtHostApplication.h"

#include "Platform/PlainMessageBox.h"

#include <QApplication>

#include <memory>

QtHostApplication::QtHostApplication()
    : m_sheets([](QDialog *sheet) { sheet->open(); })
{
}

QWidget *QtHostApplication::keyWindow() const
{
    QWidget *window = QApplication::activeWindow();
    while (window && window->windowModality() == Qt::WindowModal && window->parentWidget())
        window = window->parentWidget()->window();
    return window;
}

QWidget *QtHostApplication::mainWindow() const
{
    return m_mainWindow ? m_mainWindow.data() : keyWindow();
}

void QtHostApplication::setMainWindow(QWidget *window)
{
    m_mainWindow = window;
}

void QtHostApplication::activate(bool ignoringOtherApplications)
{
    QWidget *const window = mainWindow();
    if (!window || !window->isVisible())
        return;
    if (ignoringOtherApplications) {
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
        window->raise();
        window->activateWindow();
    } else if (QGuiApplication::applicationState() != Qt::ApplicationActive && !window->isMinimized()) {
        window->activateWindow();
    }
}

void QtHostApplication::terminate()
{
    QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

void QtHostApplication::beginSheet(QDialog *sheet, QWidget *window, std::function<void(int)> didEnd)
{
    m_sheets.begin(sheet, window, std::move(didEnd));
}

QDialog *QtHostApplication::attachedSheet(const QWidget *window) const
{
    return m_sheets.attached(window);
}

void QtHostApplication::runModalAlert(const std::string &message, const std::string &informativeText,
                                      const std::string &button)
{
    const std::unique_ptr<QMessageBox> alert = makePlainMessageBox(QMessageBox::Critical, message, informativeText);
    alert->addButton(QString::fromStdString(button), QMessageBox::AcceptRole);
    if (QWidget *const window = mainWindow())
        alert->setParent(window, Qt::Dialog);
    alert->exec();
}

void QtHostApplication::presentError(const std::string &description, const std::string &reason)
{
    const std::pair<std::string, std::string> error(description, reason);
    if (!m_presentedErrors.insert(error).second)
        return;
    QPointer<QMessageBox> alert = makePlainMessageBox(QMessageBox::Critical, description, reason).release();
    alert->addButton(QMessageBox::Ok);
    QWidget *const key = keyWindow();
    m_sheets.begin(alert, key ? key : mainWindow(), [this, alert, error](int) {
        m_presentedErrors.erase(error);
        if (alert)
            alert->deleteLater();
    });
}
