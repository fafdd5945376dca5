#pragma once

#include "Platform/FileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/FileDrag.h"
#include "Tests/Support/HelperProcess.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Support/VirtualDisplay.h"
#include "Tests/Support/WaitFor.h"

#include <gmock/gmock.h>

#include <grp.h>
#include <map>
#include <sstream>
#include <unistd.h>

/// Real files are dragged from another program into the real panel on a display; the real helper listens.
class DropZoneFixture : public ::testing::Test
{
protected:
    // Places in a window of the size that it has at first.
    static constexpr QPoint kTab{250, 211};
    static constexpr QPoint kBox{380, 300};
    static constexpr QPoint kCancel{583, 387};
    static constexpr QPoint kCopy{555, 596};

    static constexpr int kTimeoutMs = 120000;

    DropZoneFixture()
    {
        std::filesystem::create_directories(folder);
        // Files of a group that is not among the process's are left alone, and root may have none.
        const gid_t group = ::getegid();
        if (::geteuid() == 0 && ::setgroups(1, &group) != 0)
            ADD_FAILURE() << "setgroups";
    }
    ~DropZoneFixture() override
    {
        host.kill();
        helper.kill();
    }

    Bytes make(const std::string &name, std::size_t size)
    {
        const Path path = folder / name;
        std::filesystem::create_directories(path.parent_path());
        originals[name] = CompressedSample::text(size);
        CompressedSample::make(path, originals[name]);
        return originals[name];
    }
    static std::string companionOf(const Path &path)
    {
        return contentOf(path.parent_path() / ("._" + path.filename().native()));
    }
    static bool has(const Path &path, const Bytes &content)
    {
        const Result<Bytes> found = FileSystem::current().readFile(path, content.size() + 1);
        return found && *found == content;
    }
    bool isExpanded(const std::string &name) const { return std::filesystem::file_size(folder / name) > 0; }
    bool isWholeExpanded(const std::string &name) const { return has(folder / name, originals.at(name)); }

    void showZone()
    {
        ASSERT_TRUE(helper.waitUntilFound());
        host.showOn(display.name());
        host.start();
        ASSERT_TRUE(waitFor([&] { return host.firstFrameOfPane().has_value(); }, kTimeoutMs));
        ASSERT_TRUE(display.activate("Tamsel"));
        ASSERT_TRUE(display.click("Tamsel", kTab));
    }
    void dragIn()
    {
        drag.emplace(display, std::vector<Path>{folder});
        ASSERT_TRUE(drag->moveTo("Tamsel", kBox));
        ASSERT_TRUE(drag->letGo());
    }
    bool isFinished() { return display.isShown("^Finished"); }
    void untilFinishedAndDismissed()
    {
        ASSERT_TRUE(waitFor([this] { return isFinished(); }, kTimeoutMs)) << "no sheet";
        ASSERT_TRUE(display.activate("^Finished"));
        ASSERT_TRUE(display.press({QStringLiteral("Return")}));
        ASSERT_TRUE(waitFor([this] { return !isFinished(); }, kTimeoutMs));
    }

    /// The list, as it is copied.
    std::string list()
    {
        std::string text;
        waitFor([&] { return display.click("Tamsel", kCopy) && !(text = display.clipboardText()).empty(); },
                kTimeoutMs);
        return text;
    }
    /// The reason that is listed for each file, by its name in the folder.
    std::map<std::string, std::string> reasonsIn(const std::string &list) const
    {
        std::map<std::string, std::string> reasons;
        std::istringstream lines(list);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t at = line.find(folder.native() + '/');
            if (at != std::string::npos)
                reasons[line.substr(at + folder.native().size() + 1)] = line.substr(0, line.find('\t'));
        }
        return reasons;
    }

    PrivateMounts mounts;
    VirtualDisplay display;
    PrivateBus bus;
    HelperProcess helper;
    HostProcess host;
    std::optional<FileDrag> drag;
    Path folder = PrivateHome::current().home() / "Dropped files";
    std::map<std::string, Bytes> originals;
};
