#pragma once

#include "Platform/Result.h"

#include <mutex>
#include <optional>

/// Makes the n-th call of a fake fail. Any thread.
class FailureSchedule final
{
public:
    /// The call with that number, counted from 0 from now on, fails with `code`; a negative number fails none.
    void failCall(int number, ErrorCode code)
    {
        const std::lock_guard lock(m_mutex);
        m_remaining = number;
        m_code = code;
        m_calls = 0;
    }

    /// How many calls were made since the last `failCall`.
    int calls() const
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

    /// To be asked once by every call of a fake: the failure that it is to answer, if any.
    std::optional<Failure> next()
    {
        const std::lock_guard lock(m_mutex);
        ++m_calls;
        if (m_remaining < 0 || m_remaining-- > 0)
            return std::nullopt;
        return Failure{m_code, 0, "made to fail"};
    }

private:
    mutable std::mutex m_mutex;
    int m_remaining = -1;
    int m_calls = 0;
    ErrorCode m_code = ErrorCode::Io;
};
