// What a user makes of the folder table is there after a restart of the real host.
#include "Tests/EndToEnd/HelperFixture.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/VirtualDisplay.h"

#include <algorithm>
#include <csignal>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr const char *kWindow = "^Tamsel";

/// In a window of the size that it has at first: in the table, and where the header of its second column begins.
constexpr QPoint kTable{380, 480};
constexpr QPoint kSecondHeader{201, 253};

/// The order of the names is not that of the paths.
class FolderTableMemory : public HelperFixture
{
protected:
    FolderTableMemory()
    {
        fs::create_directories(zebra);
        fs::create_directories(apple);
        startHost();
    }
    ~FolderTableMemory() override
    {
        const int helper = std::max(host->helperId(), firstHelper);
        host->kill();
        if (helper > 0)
            ::kill(helper, SIGKILL);
    }

    void startHost()
    {
        host = std::make_unique<HostProcess>();
        host->showOn(display.name());
        host->start();
        EXPECT_TRUE(waitFor([&] { return host->firstFrameOfPane().has_value(); }, 60000));
        EXPECT_TRUE(display.activate(kWindow));
    }
    void restartHost()
    {
        firstHelper = host->helperId();
        EXPECT_EQ(host->end(), 0);
        startHost();
    }

    /// Has the helper watch both.
    void watchBoth()
    {
        EXPECT_TRUE(waitFor(
            [&] {
                addFolders({zebra.native(), apple.native()});
                runFor(200);
                return folders().size() == 2;
            },
            60000));
    }
    /// Removes the folder in the first row and answers its name.
    std::string removeFirst()
    {
        EXPECT_TRUE(display.click(kWindow, kTable));
        EXPECT_TRUE(waitFor(
            [&] {
                display.press({QStringLiteral("Home"), QStringLiteral("Delete")});
                return waitFor([] { return folders().size() == 1; }, 5000);
            },
            60000));
        return folders() == std::vector{apple} ? "zebra" : "apple";
    }
    static std::vector<fs::path> folders()
    {
        std::vector<fs::path> folders;
        for (const WatchedFolder &record : records()) {
            if (record.isEnabled)
                folders.push_back(record.folder);
        }
        return folders;
    }

    const fs::path zebra = folder / "1/zebra";
    const fs::path apple = folder / "2/apple";
    VirtualDisplay display;
    std::unique_ptr<HostProcess> host;
    int firstHelper = 0;
};

} // namespace

TEST_F(FolderTableMemory, orderAndWidths_areThereAfterARestart)
{
    ASSERT_TRUE(display.click(kWindow, kSecondHeader - QPoint(100, 0))) << "the names descend now";
    ASSERT_TRUE(display.drag(kWindow, kSecondHeader, kSecondHeader + QPoint(120, 0)));
    restartHost();
    watchBoth();
    EXPECT_EQ(removeFirst(), "zebra") << "they still do";
    watchBoth();
    ASSERT_TRUE(display.click(kWindow, kSecondHeader + QPoint(60, 0))) << "where the paths were at first";
    EXPECT_EQ(removeFirst(), "apple") << "the names ascend, not the paths";
}
