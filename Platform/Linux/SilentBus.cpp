#include "Platform/Linux/SilentBus.h"

#include "Platform/Linux/Descriptor.h"
#include "Platform/Services.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using std::chrono::milliseconds;

static constexpr milliseconds kLook{20};

/// A bus that could run has answered by then.
static constexpr milliseconds kUsualAnswer{100};

/// Far beyond what one that waits for a processor needs on a loaded machine.
static constexpr milliseconds kLongestAnswer{3000};

static std::optional<LeftBus> s_left;

/// The socket of the first address in the list, with a leading NUL where it is abstract; nothing for other kinds.
static std::optional<std::string> socketOf(const std::string &addresses)
{
    const std::string first = addresses.substr(0, addresses.find_first_of(",;"));
    for (const auto &[prefix, lead] : {std::pair("unix:path=", ""), std::pair("unix:abstract=", "0")}) {
        if (!first.starts_with(prefix))
            continue;
        std::string name(std::strlen(lead), '\0');
        for (std::size_t at = std::strlen(prefix); at < first.size(); ++at) {
            const bool isEscape = first[at] == '%' && at + 2 < first.size();
            name += isEscape ? char(std::strtoul(first.substr(at + 1, 2).c_str(), nullptr, 16)) : first[at];
            at += isEscape ? 2 : 0;
        }
        return name;
    }
    return std::nullopt;
}

/// Whether the process at the other end would go on if it were given a processor or its disk.
static bool isHeldUp(const Descriptor &socket)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return false;
    std::ifstream file("/proc/" + std::to_string(peer.pid) + "/stat");
    std::string line; // "PID (NAME) STATE ..."
    std::getline(file, line);
    const std::size_t state = line.rfind(") ");
    return state != std::string::npos && (line[state + 2] == 'R' || line[state + 2] == 'D');
}

/// Begins the greeting of the bus protocol; answers whether the other side takes it and then says nothing.
static bool isSilent(const std::string &name)
{
    sockaddr_un address = {};
    if (name.size() >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + name.size() + (name.starts_with('\0') ? 0 : 1));
    const Descriptor bus(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!bus)
        return false;
    if (::connect(bus.get(), reinterpret_cast<const sockaddr *>(&address), length) != 0)
        return errno == EAGAIN; // nobody takes those that wait already
    static constexpr char kGreeting[] = "\0AUTH\r\n";
    if (::send(bus.get(), kGreeting, sizeof kGreeting - 1, MSG_NOSIGNAL) < 0)
        return false;
    for (milliseconds waited{0}; waited < kLongestAnswer; waited += kLook) {
        pollfd waiting = {bus.get(), POLLIN, 0};
        if (::poll(&waiting, 1, int(kLook.count())) != 0)
            return false;
        if (waited >= kUsualAnswer && !isHeldUp(bus))
            break;
    }
    return true;
}

void leaveSilentBus()
{
    const char *const given = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    const char *const runtime = std::getenv("XDG_RUNTIME_DIR");
    std::string addresses = given ? given : "";
    if (addresses.empty() && runtime)
        addresses = std::string("unix:path=") + runtime + "/bus";
    const std::optional<std::string> name = socketOf(addresses);
    // An address that no library knows fails at once, where none at all would have one looked for.
    if (!name || !isSilent(*name))
        return;
    s_left = LeftBus{given ? std::optional<std::string>(given) : std::nullopt};
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

std::optional<LeftBus> takeLeftBus()
{
    return std::exchange(s_left, std::nullopt);
}
