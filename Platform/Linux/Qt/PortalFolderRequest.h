#pragma once

#include "Platform/FolderChooser.h"
#include "Platform/Linux/Qt/SessionBus.h"

#include <QObject>

#include <optional>
#include <string>
#include <vector>

/// One dialog of "org.freedesktop.portal.FileChooser", from the question whether there is such a thing to the answer of
/// the user. A portal that goes away with the dialog has cancelled it. Main thread.
class PortalFolderRequest final : public QObject
{
    Q_OBJECT

public:
    /// As `FolderChooser::choose`; `bus` must outlive this.
    PortalFolderRequest(SessionBus &bus, const FolderChooser::Question &question, QWidget *window,
                        FolderChooser::Answer answer);
    ~PortalFolderRequest() override;

private Q_SLOTS:
    void respond(const QDBusMessage &message);
    void loseOwner(const QDBusMessage &message);

private:
    void begin(const QDBusMessage &version);
    void observe();
    QVariantMap options() const;
    void finish(const std::optional<std::vector<std::string>> &urls);

    SessionBus &m_bus;
    FolderChooser::Question m_question;
    QString m_window; ///< as the portal is told of it
    FolderChooser::Answer m_answer;
    QString m_portal; ///< the bus's own name for it
    QString m_token;
    QString m_path; ///< of the request on the bus; empty before there is one
};
