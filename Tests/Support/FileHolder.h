#pragma once

#include <functional>

#include <sys/types.h>

/// Another process that holds something, a file open for instance, until this object goes. Needs a process that has no
/// threads yet.
class FileHolder final
{
public:
    /// Starts it. `take` runs in the new process, may wait, and answers whether it got hold.
    explicit FileHolder(const std::function<bool()> &take);
    ~FileHolder() { release(); }
    FileHolder(const FileHolder &) = delete;
    FileHolder &operator=(const FileHolder &) = delete;

    /// Waits until `take` has run. Answers what it did, and false when the process ended before.
    bool isHolding();
    pid_t id() const { return m_process; }

    /// Ends the process and waits for its end.
    void release();

private:
    pid_t m_process = -1;
    int m_answer = -1;
    bool m_isHolding = false;
};
