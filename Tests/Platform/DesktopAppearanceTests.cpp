#include "Platform/DesktopAppearance.h"

#include "Platform/Linux/Qt/PortalAppearance.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/WaitFor.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusVariant>

#include <gmock/gmock.h>

#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A portal that answers what the test says.
class Portal : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit Portal(const PrivateBus &bus)
        : m_connection(QDBusConnection::connectToBus(QString::fromStdString(bus.address()), QStringLiteral("portal")))
    {
        m_connection.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                    QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
        m_connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    ~Portal() override { QDBusConnection::disconnectFromBus(QStringLiteral("portal")); }

    QVariant value;

public Q_SLOTS:
    QDBusVariant Read(const QString &group, const QString &key)
    {
        if (group != QLatin1String("org.freedesktop.appearance") || key != QLatin1String("color-scheme"))
            sendErrorReply(QDBusError::InvalidArgs);
        return QDBusVariant(QVariant::fromValue(QDBusVariant(value)));
    }

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &newValue);

private:
    QDBusConnection m_connection;
};

namespace {

class PortalAppearanceTest : public ::testing::Test
{
protected:
    void observe()
    {
        appearance.observe([this](Appearance said) { answers.push_back(said); });
        EXPECT_THAT(answers, IsEmpty()) << "called from within observe";
    }

    bool waitForAnswers(std::size_t count)
    {
        return waitFor([&] { return answers.size() >= count; });
    }

    PrivateBus bus;
    SessionBus session;
    PortalAppearance appearance{session};
    std::vector<Appearance> answers;
};

} // namespace

TEST_F(PortalAppearanceTest, observe_eachNumber_isItsAppearance)
{
    Portal portal(bus);
    const std::pair<QVariant, Appearance> rows[] = {{0u, Appearance::Automatic},
                                                    {1u, Appearance::Dark},
                                                    {2u, Appearance::Light},
                                                    {3u, Appearance::Automatic},
                                                    {QStringLiteral("1"), Appearance::Automatic}};
    for (const auto &[value, wanted] : rows) {
        portal.value = value;
        answers.clear();
        observe();
        ASSERT_TRUE(waitForAnswers(1));
        EXPECT_EQ(answers.back(), wanted) << value.toString().toStdString();
    }
}

TEST_F(PortalAppearanceTest, observe_noPortal_isAutomatic)
{
    observe();
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_THAT(answers, ElementsAre(Appearance::Automatic));
}

TEST_F(PortalAppearanceTest, settingChanged_isReadAgainRatherThanBelieved)
{
    Portal portal(bus);
    portal.value = 2u;
    observe();
    ASSERT_TRUE(waitForAnswers(1));
    portal.value = 1u;
    Q_EMIT portal.SettingChanged(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                                 QDBusVariant(0u));
    ASSERT_TRUE(waitForAnswers(2));
    EXPECT_THAT(answers, ElementsAre(Appearance::Light, Appearance::Dark));
}

TEST_F(PortalAppearanceTest, settingChanged_ofAnotherSetting_isLeftAlone)
{
    Portal portal(bus);
    portal.value = 2u;
    observe();
    ASSERT_TRUE(waitForAnswers(1));
    Q_EMIT portal.SettingChanged(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("accent-color"),
                                 QDBusVariant(0u));
    portal.value = 1u;
    Q_EMIT portal.SettingChanged(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                                 QDBusVariant(0u));
    ASSERT_TRUE(waitForAnswers(2));
    EXPECT_THAT(answers, ElementsAre(Appearance::Light, Appearance::Dark));
}

TEST_F(PortalAppearanceTest, observe_withoutABus_isAutomatic)
{
    bus.kill();
    observe();
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_EQ(answers.front(), Appearance::Automatic);
}

#include "DesktopAppearanceTests.moc"
