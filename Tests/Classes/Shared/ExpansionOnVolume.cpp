#include "Tests/Classes/Shared/ExpansionOnVolume.h"

#include <unistd.h>

std::unique_ptr<PrivateMounts> ExpansionOnVolume::s_mounts;
Path ExpansionOnVolume::s_volume;

bool ExpansionOnVolume::mount(const std::string &volume)
{
    s_volume = PrivateHome::current().makeFolder("volume");
    s_mounts = std::make_unique<PrivateMounts>();
    if (volume == "home")
        return true;
    return volume == "tmpfs" ? s_mounts->mountMemory(s_volume) : s_mounts->mountImage(volume, s_volume);
}

void ExpansionOnVolume::TearDownTestSuite()
{
    s_mounts.reset();
}

void ExpansionOnVolume::SetUp()
{
    static const bool s_isMounted = mount(GetParam().volume);
    if (!s_isMounted)
        GTEST_SKIP() << "the machine mounts no " << GetParam().volume;
    m_folder = s_volume / "folder";
    m_file = m_folder / "file";
    // So small a fork that it fits where attributes are kept.
    m_content.assign(150000, 'x');
    std::filesystem::create_directory(m_folder);
    std::filesystem::create_directory(PrivateHome::current().root() / "forks");
    m_namedForks = std::make_unique<NamedForks>(PrivateHome::current().root() / "forks");
}

void ExpansionOnVolume::TearDown()
{
    m_namedForks.reset();
    std::filesystem::remove_all(m_folder); // before the volume goes
}

void ExpansionOnVolume::makeForked(const Path &path, ByteView fork, ByteCount size)
{
    FileSystem &files = FileSystem::current();
    write(path, {});
    if (isFork(ForkPlace::Companion))
        write(companionOf(path), CompressedSample::companion(fork));
    else if (isFork(ForkPlace::Attribute))
        ASSERT_TRUE(files.setAttribute(path, kResourceForkAttribute, fork, Links::NotFollow));
    else
        m_namedForks->give(path, fork);
    ASSERT_TRUE(files.setAttribute(path, kDecmpfsAttribute, CompressedSample::decmpfs(size), Links::NotFollow));
    ASSERT_TRUE(files.setFlags(path, kCompressedFlag));
    ASSERT_EQ(std::filesystem::exists(companionOf(path)), isFork(ForkPlace::Companion)) << "the fork does not fit";
}

void ExpansionOnVolume::letOthersIn() const
{
    for (Path folder = m_folder.parent_path(); folder != PrivateHome::current().root().parent_path();
         folder = folder.parent_path())
        std::filesystem::permissions(folder, std::filesystem::perms(0755));
    std::filesystem::permissions(PrivateHome::current().root() / "tmp", std::filesystem::perms(01777));
}

void ExpansionOnVolume::expectNoScratchFile() const
{
    EXPECT_THAT(scratchFiles(), ::testing::IsEmpty());
    for (const std::string &name : names(m_folder))
        EXPECT_EQ(name.find("DVS-tmp"), std::string::npos) << name;
}

/// The three places of a fork on one volume.
static auto on(const std::string &volume)
{
    return ::testing::Values(ExpansionPlace{volume, ForkPlace::Companion}, ExpansionPlace{volume, ForkPlace::Attribute},
                             ExpansionPlace{volume, ForkPlace::NamedFork});
}

static std::string nameOf(const ::testing::TestParamInfo<ExpansionPlace> &info)
{
    const char *const names[] = {"companion", "attribute", "namedFork"};
    return names[std::size_t(info.param.fork)];
}

INSTANTIATE_TEST_SUITE_P(home, ExpansionOnVolume, on("home"), nameOf);
INSTANTIATE_TEST_SUITE_P(ext4, ExpansionOnVolume, on("ext4"), nameOf);
INSTANTIATE_TEST_SUITE_P(xfs, ExpansionOnVolume, on("xfs"), nameOf);
INSTANTIATE_TEST_SUITE_P(btrfs, ExpansionOnVolume, on("btrfs"), nameOf);
INSTANTIATE_TEST_SUITE_P(tmpfs, ExpansionOnVolume, on("tmpfs"), nameOf);
