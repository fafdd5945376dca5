#pragma once

#include <QMessageBox>

#include <memory>
#include <string>

/// `text` as a dialog shows it: a carriage return is a line break.
QString displayLines(const std::string &text);

/// A message box without buttons that shows both texts (UTF-8) as they stand, whatever mark-up a path in them looks
/// like.
std::unique_ptr<QMessageBox> makePlainMessageBox(QMessageBox::Icon icon, const std::string &message,
                                                 const std::string &informativeText);
