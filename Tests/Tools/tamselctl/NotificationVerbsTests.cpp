#include "Tests/Support/PrivateBus.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <QElapsedTimer>
#include <QVariantMap>

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(NotificationVerbs, whatIsPosted_isHeard)
{
    const PrivateBus bus;
    RunningTamselctl listener({"listen", "--count", "1", "--json"});
    ASSERT_TRUE(listener.waitForError("listening"));
    EXPECT_EQ(tamselctl({"post", "com.dovrane.pellix.folders", "foldersToAdd+=/a", "foldersToAdd+=/b c", "from=me=you"})
                  .exitCode,
              0);
    const Ended heard = listener.waitForEnd();
    EXPECT_EQ(heard.exitCode, 0);
    const auto objects = jsonLines(heard.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0][QStringLiteral("name")], QStringLiteral("com.dovrane.pellix.folders"));
    const QVariantMap userInfo = objects[0][QStringLiteral("userInfo")].toMap();
    EXPECT_EQ(userInfo[QStringLiteral("foldersToAdd")].toStringList(),
              QStringList({QStringLiteral("/a"), QStringLiteral("/b c")}));
    EXPECT_EQ(userInfo[QStringLiteral("from")], QStringLiteral("me=you"));
    EXPECT_EQ(userInfo.size(), 2);
}

TEST(NotificationVerbs, severalPosts_areHeardInTheirOrder)
{
    const PrivateBus bus;
    RunningTamselctl listener({"listen", "--count=3"});
    ASSERT_TRUE(listener.waitForError("listening"));
    for (const char *name : {"one", "two", "three"})
        EXPECT_EQ(tamselctl({"post", name, "k=", "a+="}).exitCode, 0);
    const Ended heard = listener.waitForEnd();
    EXPECT_EQ(heard.exitCode, 0);
    EXPECT_EQ(heard.out, "one a+= k=\ntwo a+= k=\nthree a+= k=\n");
}

TEST(NotificationVerbs, listenPastItsTime_failsWhenACountWasAskedFor)
{
    const PrivateBus bus;
    QElapsedTimer timer;
    timer.start();
    const Ended ended = tamselctl({"listen", "--count", "1", "--timeout", "1"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("heard 0 of 1 in time"));
    EXPECT_GE(timer.elapsed(), 1000);
}

TEST(NotificationVerbs, listenForATime_isDoneAfterIt)
{
    const PrivateBus bus;
    const Ended ended = tamselctl({"listen", "--timeout", "0"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_THAT(ended.out, IsEmpty());
}

TEST(NotificationVerbs, noBus_isAFailureOfBoth)
{
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"post", "a"}, std::vector<std::string>{"listen", "--timeout", "5"}}) {
        const Ended ended = tamselctl(words);
        EXPECT_EQ(ended.exitCode, 1);
        EXPECT_THAT(ended.err, HasSubstr("there is no session bus"));
        EXPECT_THAT(ended.out, IsEmpty());
    }
}
