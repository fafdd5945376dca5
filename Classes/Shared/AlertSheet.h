#pragma once

#include <functional>
#include <string>

class QDialog;
class QWidget;

/// Where a sheet belongs: on the key window, or on the panel's where another program has the keys; nullptr when there
/// is none yet. Main thread.
QWidget *windowForSheets();

/// An alert with up to three buttons that is shown as a sheet and reports its end to a block. A value; what it shows
/// was taken over when the sheet began. Main thread.
class AlertSheet final
{
public:
    static constexpr int kDefaultReturn = 1;
    static constexpr int kAlternateReturn = 0;
    static constexpr int kOtherReturn = -1;

    enum class Style { Warning, Informational };

    using DidEndBlock = std::function<void(int returnCode)>;

    /// Plain texts, UTF-8; a carriage return in `informativeText` is shown as a line break. A button with an empty
    /// title is left out.
    static AlertSheet alertWithMessageText(std::string message, std::string defaultButton,
                                           std::string alternateButton = {}, std::string otherButton = {},
                                           std::string informativeText = {});

    /// What its picture says. Warning, unless set.
    void setStyle(Style style) { m_style = style; }

    /// Shows the alert on `window` and answers at once; a window shows one sheet at a time, in the order in which they
    /// were begun. `didEndBlock`, which may be empty, is run exactly once. Escape stands for the alternate button,
    /// where there is none for the default button; a sheet that goes with its window, or is rejected, answers
    /// `kAlternateReturn`. Answers the sheet, which is deleted some time after its end.
    QDialog *beginSheetModalForWindow(QWidget *window, DidEndBlock didEndBlock) const;

private:
    AlertSheet() = default;

    std::string m_message;
    std::string m_defaultButton;
    std::string m_alternateButton;
    std::string m_otherButton;
    std::string m_informativeText;
    Style m_style = Style::Warning;
};
