#include "Platform/Linux/CurrentMounts.h"

#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

static bool knows(const Path &point)
{
    return (*currentMounts())->isMountPoint(point);
}

TEST(CurrentMounts, nothingChanged_isTheSameTable)
{
    const auto first = currentMounts(), second = currentMounts();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(*first, *second);
    EXPECT_FALSE((*first)->mounts().empty());
}

TEST(CurrentMounts, mountedMovedAndUnmounted_areSeenAtOnce)
{
    ASSERT_TRUE(currentMounts()) << "of the mounts that everybody sees";
    PrivateMounts mounts;
    const Path point = PrivateHome::current().makeFolder("volume"), other = PrivateHome::current().makeFolder("other");
    if (!mounts.mountMemory(point))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    EXPECT_TRUE(knows(point)) << "of the mounts that only this process sees";
    ASSERT_TRUE(mounts.move(point, other));
    EXPECT_TRUE(knows(other) && !knows(point));
    ASSERT_TRUE(mounts.unmount(other));
    EXPECT_FALSE(knows(other));
}

TEST(CurrentMounts, changeThatAForkedProcessHasSeen_isSeenHereToo)
{
    PrivateMounts mounts;
    const Path point = PrivateHome::current().makeFolder("volume"), other = PrivateHome::current().makeFolder("other");
    if (!mounts.mountMemory(point))
        GTEST_SKIP() << "this machine does not let the test mount anything";
    ASSERT_TRUE(knows(point));
    ASSERT_TRUE(mounts.mountMemory(other));
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(knows(other) ? 0 : 1);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(knows(other));
}
