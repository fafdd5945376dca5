#include "Classes/PrefPane/ConfirmationSheet.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

ConfirmationSheet::ConfirmationSheet(const QString &heading, const QString &explanation, const QString &action,
                                     const QString &cancel)
    : m_picture(new QLabel(this))
    , m_heading(new QLabel(this))
    , m_explanation(new QLabel(this))
    , m_action(new QPushButton(action, this))
    , m_cancel(new QPushButton(cancel, this))
{
    QFont bold = m_heading->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    m_heading->setFont(bold);
    m_explanation->setWordWrap(true);
    m_explanation->setMinimumWidth(320);
    for (QLabel *label : {m_heading, m_explanation})
        label->setTextFormat(Qt::PlainText);
    setTexts(heading, explanation);

    m_action->setAccessibleName(action);
    m_cancel->setAccessibleName(cancel);
    m_action->setAutoDefault(false);
    m_cancel->setDefault(true);
    auto *const buttons = new QHBoxLayout;
    buttons->setSpacing(10);
    buttons->addStretch();
    buttons->addWidget(m_action);
    buttons->addWidget(m_cancel);

    auto *const grid = new QGridLayout(this);
    grid->setContentsMargins(24, 22, 24, 18);
    grid->setHorizontalSpacing(18);
    grid->setVerticalSpacing(8);
    grid->addWidget(m_picture, 0, 0, 2, 1, Qt::AlignTop);
    grid->addWidget(m_heading, 0, 1);
    grid->addWidget(m_explanation, 1, 1, Qt::AlignTop);
    grid->setRowMinimumHeight(2, 10);
    grid->addLayout(buttons, 3, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    layout()->setSizeConstraint(QLayout::SetFixedSize);
}

void ConfirmationSheet::setTexts(const QString &heading, const QString &explanation)
{
    setWindowTitle(heading);
    setAccessibleDescription(explanation);
    m_heading->setText(heading);
    m_explanation->setText(explanation);
}

void ConfirmationSheet::setPicture(const QPixmap &picture)
{
    m_picture->setPixmap(picture);
}

void ConfirmationSheet::reject()
{
    m_cancel->click();
}
