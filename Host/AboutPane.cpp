#include "Host/AboutPane.h"

#include "Classes/Shared/DVArch.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/DistributedNotificationCenter.h"

#include <QCoreApplication>
#include <QFile>
#include <QFormLayout>
#include <QLabel>

#include <chrono>

static constexpr std::chrono::seconds kRefreshInterval{2};

static QString tr(const char *text)
{
    return QCoreApplication::translate("AboutPane", text);
}

static QLabel *addRow(QFormLayout *form, const QString &title, const char *objectName)
{
    auto *const value = new QLabel;
    value->setObjectName(QLatin1String(objectName));
    value->setTextFormat(Qt::PlainText);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    value->setFocusPolicy(Qt::StrongFocus);
    value->setWordWrap(true);
    value->setAccessibleName(title);
    form->addRow(title + QLatin1Char(':'), value);
    return value;
}

AboutPane::AboutPane(Bundle bundle)
    : PreferencePane(std::move(bundle))
{
    m_timer.setInterval(kRefreshInterval);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { refresh(); });
}

QWidget *AboutPane::loadMainView()
{
    auto *const view = new QWidget;
    auto *const form = new QFormLayout(view);
    form->setContentsMargins(24, 24, 24, 24);
    form->setVerticalSpacing(12);
    form->setLabelAlignment(Qt::AlignRight);
    m_systemVersion = addRow(form, tr("System version"), "systemVersion");
    m_supportFolder = addRow(form, tr("Application support"), "supportFolder");
    m_sessionBus = addRow(form, tr("Session bus"), "sessionBus");
    return view;
}

void AboutPane::didSelect()
{
    refresh();
    m_timer.start();
}

void AboutPane::didUnselect()
{
    m_timer.stop();
}

void AboutPane::refresh()
{
    m_systemVersion->setText(QString::fromStdString(DVArch::getOperatingSystemVersionString()));
    const std::optional<Path> folder = PXUtil::applicationSupportFolder();
    m_supportFolder->setText(folder ? QFile::decodeName(folder->c_str()) : tr("None: it cannot be made"));
    m_sessionBus->setText(DistributedNotificationCenter::current().isConnected() ? tr("Connected")
                                                                                 : tr("Not connected"));
}
