#include "Platform/DistributedNotificationCenter.h"
#include "Platform/PropertyList.h"
#include "Platform/Workspace.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(SeveralHosts, startedAtOnce_endWithExactlyOneAndWholeFiles)
{
    const PrivateBus bus;
    std::vector<std::unique_ptr<HostProcess>> hosts;
    for (int i = 0; i < 4; ++i)
        hosts.push_back(std::make_unique<HostProcess>());
    for (const auto &host : hosts)
        host->start();
    const auto isRunning = [](const std::unique_ptr<HostProcess> &host) { return host->isRunning(); };
    EXPECT_TRUE(waitFor([&] { return std::ranges::count_if(hosts, isRunning) == 1; }, 60000));
    const auto winner = std::ranges::find_if(hosts, isRunning);
    ASSERT_NE(winner, hosts.end());
    EXPECT_TRUE((*winner)->waitForLog("running app is"));
    EXPECT_TRUE(waitFor([] { return Workspace::current().isRunning("com.dovrane.TamselHelper"); }, 60000));
    EXPECT_TRUE((*winner)->isRunning());

    const std::filesystem::path support = PrivateHome::current().home() / ".local/share/Tamsel";
    EXPECT_TRUE(PropertyList::read(support / "defaults.plist"));
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(support))
        names.push_back(entry.path().filename());
    EXPECT_THAT(names, Each(Not(HasSubstr("damaged"))));
    EXPECT_THAT(names, Each(Not(HasSubstr("set-aside"))));

    for (const auto &host : hosts)
        EXPECT_EQ(host->end(), 0);
    EXPECT_TRUE(waitFor(
        [] {
            DistributedNotificationCenter::current().post("pellixHelperShouldQuit");
            runFor(100);
            return !Workspace::current().isRunning("com.dovrane.TamselHelper");
        },
        60000));
}
