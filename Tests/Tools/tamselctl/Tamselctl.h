#pragma once

#include <QProcess>
#include <QVariantMap>

#include <memory>
#include <string>
#include <vector>

/// How a tamselctl has ended, and what it said.
struct Ended
{
    int exitCode = -1; ///< -1 when it crashed or did not end in time
    std::string out;
    std::string err;
};

/// Runs tamselctl with these words, which are bytes, in the test's own surroundings and waits for its end.
Ended tamselctl(const std::vector<std::string> &words, const std::string &standardOutput = {});

/// The same, without waiting.
class RunningTamselctl final
{
public:
    /// `standardOutput`: a file that gets it; empty to keep it.
    explicit RunningTamselctl(const std::vector<std::string> &words, const std::string &standardOutput = {});

    /// Waits until standard error says `text`. Answers whether it did.
    bool waitForError(const std::string &text);

    /// The same for standard output.
    bool waitForOutput(const std::string &text);

    /// What was read from standard output while waiting for it.
    const std::string &out() const { return m_out; }

    /// Sends the signal to the process, which must have been seen to run.
    void send(int signal) const;

    Ended waitForEnd();

private:
    bool waitForText(const std::string &text, const std::string &in);

    QProcess m_process;
    std::string m_out;
    std::string m_err;
};

/// The JSON objects in `out`, one a line, as maps; fails the test when a line is none.
std::vector<QVariantMap> jsonLines(const std::string &out);
