#include "Classes/Shared/AlertSheet.h"

#include "Platform/HostApplication.h"
#include "Platform/PlainMessageBox.h"

#include <QPointer>
#include <QPushButton>

#include <map>

QWidget *windowForSheets()
{
    QWidget *const key = HostApplication::current().keyWindow();
    return key ? key : HostApplication::current().mainWindow();
}

AlertSheet AlertSheet::alertWithMessageText(std::string message, std::string defaultButton, std::string alternateButton,
                                            std::string otherButton, std::string informativeText)
{
    AlertSheet alert;
    alert.m_message = std::move(message);
    alert.m_defaultButton = std::move(defaultButton);
    alert.m_alternateButton = std::move(alternateButton);
    alert.m_otherButton = std::move(otherButton);
    alert.m_informativeText = std::move(informativeText);
    return alert;
}

QDialog *AlertSheet::beginSheetModalForWindow(QWidget *window, DidEndBlock didEndBlock) const
{
    const QMessageBox::Icon icon = m_style == Style::Warning ? QMessageBox::Warning : QMessageBox::Information;
    const QPointer<QMessageBox> box = makePlainMessageBox(icon, m_message, m_informativeText).release();
    std::map<const QAbstractButton *, int> codes;
    const auto add = [&](const std::string &title, QMessageBox::ButtonRole role, int code) {
        QPushButton *const button = title.empty() ? nullptr : box->addButton(displayLines(title), role);
        if (button)
            codes[button] = code;
        return button;
    };
    QPushButton *const byDefault = add(m_defaultButton, QMessageBox::AcceptRole, kDefaultReturn);
    QPushButton *const alternate = add(m_alternateButton, QMessageBox::RejectRole, kAlternateReturn);
    add(m_otherButton, QMessageBox::DestructiveRole, kOtherReturn);
    box->setDefaultButton(byDefault);
    box->setEscapeButton(alternate ? alternate : byDefault);

    HostApplication::current().beginSheet(box, window, [box, codes, didEndBlock = std::move(didEndBlock)](int) {
        // The result of a box with buttons of its own says nothing; which button was clicked does.
        const auto clicked = box ? codes.find(box->clickedButton()) : codes.end();
        const int returnCode = clicked == codes.end() ? kAlternateReturn : clicked->second;
        if (box)
            box->deleteLater();
        if (didEndBlock)
            didEndBlock(returnCode);
    });
    return box;
}
