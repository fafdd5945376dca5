#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

/// While this lives the process acts as a user who has no rights but an owner's, where it runs as root; anywhere else
/// it is one already.
class OrdinaryUser final
{
public:
    OrdinaryUser()
    {
        if (::geteuid() == 0)
            m_isOther = ::setresgid(kNobody, kNobody, 0) == 0 && ::setresuid(kNobody, kNobody, 0) == 0;
    }
    ~OrdinaryUser()
    {
        if (m_isOther) {
            EXPECT_EQ(::setresuid(0, 0, 0), 0);
            EXPECT_EQ(::setresgid(0, 0, 0), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

    static constexpr uid_t kNobody = 65534;

private:
    bool m_isOther = false;
};
