#include "Classes/PrefPane/traverse_using_objc_filter.h"

#include "Platform/Fake/FakeFileSystem.h"
#include "Tests/Support/EmptyFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <thread>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// A small tree, and a note of what the filter was asked.
class TraversalTest : public ::testing::Test
{
protected:
    TraversalTest()
    {
        m_files.addFile("/top/file");
        m_files.addFile("/top/folder/inside");
        m_files.addFile("/top/Some.app/Contents/inside");
        m_files.addFile("/elsewhere/file");
        m_files.addLink("/top/link", "/elsewhere");
        m_files.addVolume("/top/volume");
        m_files.addFile("/top/volume/file");
    }
    TraversalFilter answering(const std::function<std::uint32_t(const Path &)> &answer)
    {
        return [this, answer](const WalkEntry &entry) {
            m_asked.push_back(entry.path.native());
            return answer(entry.path);
        };
    }

    FakeFileSystem m_files;
    Override<FileSystem> m_override{m_files};
    std::vector<std::string> m_asked;
};

TEST_F(TraversalTest, everything_isAskedOnceAndFoldersFirst)
{
    traverse_using_objc_filter("/top", nullptr, answering([](const Path &) { return 0; }));
    EXPECT_THAT(m_asked, UnorderedElementsAre("/top", "/top/file", "/top/folder", "/top/folder/inside", "/top/Some.app",
                                              "/top/Some.app/Contents", "/top/Some.app/Contents/inside", "/top/link",
                                              "/top/volume", "/top/volume/file"));
    EXPECT_EQ(m_asked.front(), "/top");
    EXPECT_LT(std::find(m_asked.begin(), m_asked.end(), "/top/folder"),
              std::find(m_asked.begin(), m_asked.end(), "/top/folder/inside"));
}

TEST_F(TraversalTest, file_isAskedAlone)
{
    traverse_using_objc_filter("/top/file", nullptr, answering([](const Path &) { return 0; }));
    EXPECT_THAT(m_asked, ElementsAre("/top/file"));
}

TEST_F(TraversalTest, linkToAFolder_isNotEntered)
{
    traverse_using_objc_filter("/top/link", nullptr, answering([](const Path &) { return 0; }));
    EXPECT_THAT(m_asked, ElementsAre("/top/link"));
}

TEST_F(TraversalTest, missingPath_isPassedOver)
{
    traverse_using_objc_filter("/none", nullptr, answering([](const Path &) { return 0; }));
    EXPECT_THAT(m_asked, IsEmpty());
}

TEST_F(TraversalTest, unreadableFolder_isPassedOver)
{
    m_files.setUnreadable("/top/folder");
    traverse_using_objc_filter("/top", nullptr, answering([](const Path &) { return 0; }));
    EXPECT_EQ(m_asked.size(), 9u);
}

TEST_F(TraversalTest, folderNotToBeDescendedInto_isNotEntered)
{
    traverse_using_objc_filter("/top", nullptr,
                               answering([](const Path &path) { return path.filename() == "Some.app" ? 2 : 0; }));
    EXPECT_EQ(m_asked.size(), 8u);
}

TEST_F(TraversalTest, acceptedFolder_withoutCollecting_isEntered)
{
    traverse_using_objc_filter("/top/folder", nullptr, answering([](const Path &) { return 1; }));
    EXPECT_THAT(m_asked, ElementsAre("/top/folder", "/top/folder/inside"));
}

TEST_F(TraversalTest, withoutFilter_nothingIsCollected)
{
    CollectedPaths collected;
    EXPECT_EQ(traverse_using_objc_filter("/top", &collected, {}), &collected);
    EXPECT_THAT(collected.paths, IsEmpty());
    EXPECT_EQ(traverse_using_objc_filter("/top", nullptr, {}), nullptr);
}

TEST_F(TraversalTest, stop_endsTheWalk)
{
    std::stop_source stop;
    const auto filter = answering([&](const Path &) {
        stop.request_stop();
        return 0;
    });
    traverse_using_objc_filter("/top", nullptr, filter, stop.get_token());
    EXPECT_THAT(m_asked, ElementsAre("/top"));
}

TEST_F(TraversalTest, whatCannotBeRead_isToldAndPassedOver)
{
    std::vector<std::string> unreadable;
    const TraversalFailure note = [&](const Path &path, const Failure &failure) {
        unreadable.push_back(path.native());
        EXPECT_FALSE(failure.context.empty());
    };
    m_files.setUnreadable("/top/folder");
    traverse_using_objc_filter("/top", nullptr, answering([](const Path &) { return 0; }), {}, note);
    EXPECT_THAT(unreadable, ElementsAre("/top/folder"));
    EXPECT_THAT(m_asked, ::testing::Contains("/top/volume/file"));

    m_files.setUnreadable("/elsewhere");
    for (const char *const path : {"/none", "/elsewhere"})
        traverse_using_objc_filter(path, nullptr, {}, {}, note);
    EXPECT_THAT(unreadable, ElementsAre("/top/folder", "/none", "/elsewhere"));
}

TEST(TraversalOfFiles, whatIsAccepted_isCollectedAsItReallyIsAndNotEntered)
{
    const Path folder = makeEmptyFolder("traversal");
    std::filesystem::create_directories(folder / "real/folder/below");
    std::ofstream(folder / "real/file").close();
    std::filesystem::create_directory_symlink("real", folder / "link");
    CollectedPaths collected;
    std::vector<std::string> asked;
    const TraversalFilter filter = [&](const WalkEntry &entry) {
        asked.push_back(entry.path.filename());
        return entry.path.filename() == "." ? 0u : kPathAccepted;
    };
    traverse_using_objc_filter(folder / "link/.", &collected, filter);
    EXPECT_THAT(collected.paths,
                UnorderedElementsAre((folder / "real/folder").native(), (folder / "real/file").native()));
    EXPECT_THAT(asked, UnorderedElementsAre(".", "folder", "file")) << "an accepted folder is not entered";
}

TEST(TraversalOfFiles, severalWalks_collectIntoOneList)
{
    const Path folder = makeEmptyFolder("traversal");
    constexpr std::size_t kWalks = 4, kFiles = 200;
    for (std::size_t number = 0; number < kFiles; ++number)
        std::ofstream(folder / std::to_string(number)).close();
    CollectedPaths collected;
    {
        std::vector<std::jthread> walks;
        for (std::size_t walk = 0; walk < kWalks; ++walk)
            walks.emplace_back([&] {
                traverse_using_objc_filter(folder, &collected, [](const WalkEntry &entry) {
                    return entry.status.type == FileType::Regular ? kPathAccepted : 0u;
                });
            });
    }
    EXPECT_EQ(collected.paths.size(), kWalks * kFiles);
    EXPECT_EQ(std::set(collected.paths.begin(), collected.paths.end()).size(), kFiles);
}
