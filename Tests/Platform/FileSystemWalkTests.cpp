#include "Tests/Platform/FileSystemWorlds.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

template <class World>
class WalkContract : public FileSystemContract<World>
{
protected:
    /// Everything below "a", relative to the root, in the order in which it was met.
    std::vector<std::string> walk(const std::function<bool(const std::string &)> &enters = [](const auto &) {
        return true;
    })
    {
        std::vector<std::string> met;
        const auto visit = [&](const WalkEntry &entry) {
            met.push_back(entry.path.lexically_relative(this->m_world.root).native());
            EXPECT_EQ(this->m_files.status(entry.path)->identity, entry.status.identity) << entry.path;
            return enters(met.back());
        };
        const auto unreadable = [&](const Path &path, const Failure &failure) {
            met.push_back("unreadable " + path.lexically_relative(this->m_world.root).native());
            EXPECT_FALSE(failure.context.empty());
        };
        EXPECT_TRUE(this->m_files.walk(this->at("a"), visit, unreadable, m_stop.get_token()));
        return met;
    }
    void folder(const std::string &name) { ASSERT_TRUE(this->m_files.makeDirectory(this->at(name), 0755)); }

    std::stop_source m_stop;
};

TYPED_TEST_SUITE(WalkContract, Worlds, WorldName);

TYPED_TEST(WalkContract, walk_meetsEverythingOnceAndParentsFirst)
{
    for (const std::string name : {"a", "a/b", "a/b/c", "a/empty", "beside"})
        this->folder(name);
    for (const std::string name : {"a/1", "a/b/2", "a/b/c/3", "a/b-c", "beside/4"})
        this->create(name, "");
    const std::vector<std::string> met = this->walk();
    EXPECT_THAT(met, UnorderedElementsAre("a/1", "a/b", "a/b/2", "a/b/c", "a/b/c/3", "a/b-c", "a/empty"));
    const auto place = [&](const std::string &name) { return std::find(met.begin(), met.end(), name); };
    EXPECT_LT(place("a/b"), place("a/b/2"));
    EXPECT_LT(place("a/b/c"), place("a/b/c/3"));
}

TYPED_TEST(WalkContract, walk_links_areMetAndNotFollowed)
{
    this->folder("a");
    this->folder("other");
    this->create("other/file", "");
    this->m_world.addLink(this->at("a/link"), "../other");
    this->m_world.addLink(this->at("a/loop"), ".");
    EXPECT_THAT(this->walk(), UnorderedElementsAre("a/link", "a/loop"));
}

TYPED_TEST(WalkContract, walk_folderNotWanted_isNotEntered)
{
    for (const std::string name : {"a", "a/skipped", "a/skipped/deep", "a/wanted"})
        this->folder(name);
    this->create("a/skipped/file", "");
    this->create("a/wanted/file", "");
    const auto met = this->walk([](const std::string &name) { return name != "a/skipped"; });
    EXPECT_THAT(met, UnorderedElementsAre("a/skipped", "a/wanted", "a/wanted/file"));
}

TYPED_TEST(WalkContract, walk_stopRequested_endsAtTheNextEntry)
{
    this->folder("a");
    for (const std::string name : {"a/1", "a/2", "a/3"})
        this->create(name, "");
    const auto met = this->walk([&](const auto &) { return this->m_stop.request_stop(); });
    EXPECT_EQ(met.size(), 1u);
    EXPECT_THAT(this->walk(), IsEmpty());
}

TYPED_TEST(WalkContract, walk_ofWhatIsNoDirectory_saysSo)
{
    this->create("file", "");
    this->folder("folder");
    this->m_world.addLink(this->at("link"), "folder");
    const auto visit = [](const WalkEntry &) { return true; };
    const auto unreadable = [](const Path &, const Failure &) {};
    EXPECT_EQ(this->m_files.walk(this->at("file"), visit, unreadable, {}).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(this->m_files.walk(this->at("link"), visit, unreadable, {}).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(this->m_files.walk(this->at("none"), visit, unreadable, {}).failure().code, ErrorCode::NotFound);
}
