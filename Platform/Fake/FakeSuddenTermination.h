#pragma once

#include "Platform/SuddenTermination.h"

#include <atomic>

/// Counts, and ends nothing. Any thread.
class FakeSuddenTermination final : public SuddenTermination
{
public:
    void disable() override
    {
        ++m_count;
        ++m_disableCalls;
    }
    void enable() override { --m_count; }
    bool isDisabled() const override { return m_count > 0; }

    /// How many are not matched yet; below zero after an `enable` too many.
    int count() const { return m_count; }

    /// How often it was disabled in all.
    int disableCalls() const { return m_disableCalls; }

private:
    std::atomic<int> m_count = 0;
    std::atomic<int> m_disableCalls = 0;
};
