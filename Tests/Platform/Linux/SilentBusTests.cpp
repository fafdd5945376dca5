#include "Platform/Services.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"

#include <QDBusConnection>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// A socket on which nobody answers.
class SilentSocket final
{
public:
    explicit SilentSocket(const std::string &path)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path.c_str());
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_socket, 1), 0);
    }
    ~SilentSocket() { ::close(m_socket); }
    SilentSocket(const SilentSocket &) = delete;
    SilentSocket &operator=(const SilentSocket &) = delete;

private:
    int m_socket;
};

std::string addressAfter()
{
    leaveSilentBus();
    const char *const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    return address ? address : "none";
}

std::string path(const char *name)
{
    return PrivateHome::current().root() / name;
}

} // namespace

TEST(SilentBus, livingBus_isKept)
{
    const PrivateBus bus;
    EXPECT_EQ(addressAfter(), bus.address());
}

TEST(SilentBus, silentBus_isLeftAfterAShortTime)
{
    const SilentSocket socket(path("bus one"));
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + PrivateHome::current().root().native() + "/bus%20one").c_str(),
             1);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(addressAfter(), "disabled:");
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

TEST(SilentBus, busThatHangs_isLeftAtOnce)
{
    PrivateBus bus;
    bus.freeze();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(addressAfter(), "disabled:");
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
}

TEST(SilentBus, leftBus_isGivenBackAndTheToolkitStaysWithout)
{
    PrivateBus bus;
    bus.freeze();
    ASSERT_EQ(addressAfter(), "disabled:");
    returnToBus();
    EXPECT_EQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    EXPECT_FALSE(QDBusConnection::sessionBus().isConnected());
}

TEST(SilentBus, leftBusOfTheRuntimeFolder_isGivenBackWithoutAnAddress)
{
    const SilentSocket socket(path("run/bus"));
    ASSERT_EQ(addressAfter(), "disabled:");
    returnToBus();
    EXPECT_EQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), nullptr);
}

TEST(SilentBus, busThatIsThere_staysWhenReturning)
{
    const PrivateBus bus;
    ASSERT_EQ(addressAfter(), bus.address());
    returnToBus();
    EXPECT_EQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), bus.address());
}

TEST(SilentBus, silentBusInTheRuntimeFolder_isLeftToo)
{
    const SilentSocket socket(path("run/bus"));
    EXPECT_EQ(addressAfter(), "disabled:");
}

TEST(SilentBus, missingBusAndOtherAddresses_areKept)
{
    EXPECT_EQ(addressAfter(), "none");
    for (const std::string &address : {"unix:path=" + path("nobody"), std::string("tcp:host=localhost,port=1"),
                                       std::string("nonsense"), "unix:path=" + std::string(200, 'x')}) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        EXPECT_EQ(addressAfter(), address);
    }
}
