#pragma once

#include "Platform/ApplicationName.h"

#include <QDBusContext>
#include <QObject>
#include <QStringList>

#include <map>
#include <optional>

class QDBusMessage;
class SessionBus;

/// Bundle identifiers as names on the session bus. Main thread.
class BusApplicationName final : public QObject, public QDBusContext, public ApplicationName
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.dovrane.Application")

public:
    static constexpr const char *kPath = "/com/dovrane/Application";
    static constexpr const char *kInterface = "com.dovrane.Application";

    /// `bus` must outlive this.
    explicit BusApplicationName(SessionBus &bus);

    void claim(const std::string &identifier, std::function<void(Claim)> answered) override;
    void release(const std::string &identifier) override;
    void activateOwner(const std::string &identifier, const std::vector<std::string> &arguments,
                       std::function<void(bool)> done) override;
    void setActivationHandler(std::function<void(const std::vector<std::string> &)> activated) override;

public Q_SLOTS:
    /// Called over the bus.
    Q_SCRIPTABLE void Activate(const QStringList &arguments);

private Q_SLOTS:
    void gain(const QDBusMessage &message);
    void lose(const QDBusMessage &message);

private:
    struct Entry
    {
        std::function<void(Claim)> answered;
        int number = 0; ///< of the claim, so that an answer to a former one is told apart
        std::optional<Claim> told;
    };

    void setUp();
    void request(const std::string &identifier);
    void finishRequest(const std::string &identifier, int number, const QDBusMessage &reply);
    void tell(const std::string &identifier, Claim claim);

    SessionBus &m_bus;
    std::map<std::string, Entry> m_claims;
    int m_lastNumber = 0;
    std::function<void(const std::vector<std::string> &)> m_activated;
};
