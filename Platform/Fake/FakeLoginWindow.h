#pragma once

#include "Platform/Fake/FailureSchedule.h"
#include "Platform/LoginWindow.h"

/// A list in memory that fails on demand. There is none at first. Main thread.
class FakeLoginWindow final : public LoginWindow
{
public:
    /// An entry of another program, before ours. Makes the list.
    void addOther(const std::string &source, const Path &program);

    /// The call with that number, counted from 0 from now on, fails with `code`; a negative number fails none.
    void failCall(int number, ErrorCode code) { m_schedule.failCall(number, code); }
    int calls() const { return m_schedule.calls(); }
    /// How often the list was stored.
    int stores() const { return m_stores; }

    Result<std::optional<std::vector<LoginItem>>> copyItems() const override;
    Result<void> storeItems(const std::vector<LoginItem> &items) override;
    Result<void> makeList() override;

private:
    mutable FailureSchedule m_schedule;
    std::optional<std::vector<LoginItem>> m_items;
    mutable std::vector<LoginItem> m_copied;
    int m_stores = 0;
    int m_lastSource = 0;
};
