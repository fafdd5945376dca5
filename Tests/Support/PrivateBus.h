#pragma once

#include <string>
#include <sys/types.h>

/// A session bus of the test's own, named by the environment as long as this lives. To be made before anything of the
/// test talks on a bus. It starts no services, so that no desktop of the machine answers, its dialogs included.
class PrivateBus final
{
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    const std::string &address() const { return m_address; }

    /// Kills the bus, as a crash would.
    void kill();

    /// Keeps it from answering: connections are taken, and nothing comes back until it is thawed.
    void freeze();
    void thaw();

    /// Starts it again at the same address.
    void start();

private:
    std::string m_address;
    pid_t m_process = -1;
};
