#include "Platform/Linux/Qt/MountWatch.h"

#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Support/WaitFor.h"

#include <gtest/gtest.h>

#include <memory>

TEST(MountWatch, mountAndUnmount_areEachToldOnce)
{
    PrivateMounts mounts;
    const std::filesystem::path first = PrivateHome::current().makeFolder("first");
    const std::filesystem::path second = PrivateHome::current().makeFolder("second");
    if (!mounts.mountMemory(first))
        GTEST_SKIP() << "this machine gives a test no mounts of its own";
    const MountWatch watch; // of the mounts that this process has by now
    int changes = 0;
    QObject::connect(&watch, &MountWatch::changed, [&] { ++changes; });
    runFor(300);
    EXPECT_EQ(changes, 0) << "what was mounted before is no change";
    ASSERT_TRUE(mounts.mountMemory(second));
    ASSERT_TRUE(waitFor([&] { return changes == 1; }));
    ASSERT_TRUE(mounts.unmount(second));
    ASSERT_TRUE(waitFor([&] { return changes == 2; }));
    runFor(300);
    EXPECT_EQ(changes, 2);
}
