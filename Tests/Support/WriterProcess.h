#pragma once

#include "Platform/Types.h"

#include <QProcess>

#include <string>

/// Another process that has the history store open as the helper does; it ends with this.
class WriterProcess final
{
public:
    /// Starts it; `asNobody` as a user to whom nothing belongs (for root only).
    explicit WriterProcess(const Path &store, bool asNobody = false);
    ~WriterProcess();

    /// What it said of opening the store: "open", or "failed CODE REASON".
    const std::string &opening() const { return m_opening; }

    /// Sends one command and answers its reply.
    std::string run(const std::string &command);

    /// Ends it as a crash would.
    void kill();

    /// Closes the store and ends it.
    void quit();

private:
    std::string line();

    QProcess m_process;
    std::string m_opening;
};
