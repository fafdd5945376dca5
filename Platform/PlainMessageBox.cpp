#include "Platform/PlainMessageBox.h"

#include <QLabel>

QString displayLines(const std::string &text)
{
    return QString::fromStdString(text).replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

std::unique_ptr<QMessageBox> makePlainMessageBox(QMessageBox::Icon icon, const std::string &message,
                                                 const std::string &informativeText)
{
    auto box = std::make_unique<QMessageBox>();
    box->setIcon(icon);
    box->setWindowTitle(displayLines(message).section(QLatin1Char('\n'), 0, 0));
    box->setText(displayLines(message));
    box->setInformativeText(displayLines(informativeText));
    // The box's own setting leaves the informative text alone.
    for (QLabel *const label : box->findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    return box;
}
