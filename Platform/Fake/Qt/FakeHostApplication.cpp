#include "Platform/Fake/Qt/FakeHostApplication.h"

FakeHostApplication::FakeHostApplication()
    : m_sheets([](QDialog *) {})
{
}

void FakeHostApplication::beginSheet(QDialog *sheet, QWidget *window, std::function<void(int)> didEnd)
{
    m_sheets.begin(sheet, window, std::move(didEnd));
}

void FakeHostApplication::runModalAlert(const std::string &message, const std::string &informativeText,
                                        const std::string &button)
{
    m_modalAlerts.push_back({message, informativeText, button});
}

void FakeHostApplication::presentError(const std::string &description, const std::string &reason)
{
    m_errors.push_back({description, reason, {}});
}
