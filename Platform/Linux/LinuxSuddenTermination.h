#pragma once

#include "Platform/SuddenTermination.h"

#include <atomic>

/// The counter, and the half of holding back signals that needs no event loop: a handler that notes the signal and
/// writes to a pipe, so that a loop that watches the other end wakes up. (A mask with signalfd would be inherited by
/// the programs that we start.) There is one in a process, as there is one handler for each signal.
class LinuxSuddenTermination final : public SuddenTermination
{
public:
    static LinuxSuddenTermination &instance();

    void disable() override;
    void enable() override;
    bool isDisabled() const override;

    /// Catches the signals from now on; false when the system refuses. Main thread, before any other is started.
    bool catchSignals();

    /// Becomes readable whenever the answer of `takeEnd` may have become true; -1 until signals are caught.
    int wakeDescriptor() const;

    /// Whether a signal has come that is not held back, which is answered once. Empties the pipe. Main thread.
    bool takeEnd();

private:
    LinuxSuddenTermination() = default;

    std::atomic<int> m_count = 0;
};
