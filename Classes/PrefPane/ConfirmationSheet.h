#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

/// A question with a heading, an explanation and two buttons, to be shown as a sheet. The buttons do nothing by
/// themselves; Escape clicks the cancelling one, which is also the default.
class ConfirmationSheet final : public QDialog
{
    Q_OBJECT

public:
    ConfirmationSheet(const QString &heading, const QString &explanation, const QString &action, const QString &cancel);

    QPushButton *actionButton() const { return m_action; }
    QPushButton *cancelButton() const { return m_cancel; }

    void setTexts(const QString &heading, const QString &explanation);

    /// The picture beside the heading.
    void setPicture(const QPixmap &picture);

    void reject() override;

private:
    QLabel *m_picture = nullptr;
    QLabel *m_heading = nullptr;
    QLabel *m_explanation = nullptr;
    QPushButton *m_action = nullptr;
    QPushButton *m_cancel = nullptr;
};
