#include "Platform/Linux/LinuxFileSystem.h"

#include "Platform/Formats/CompressedFile.h"
#include "Platform/Linux/Descriptor.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <random>
#include <sys/xattr.h>

using ::testing::IsEmpty;

/// Over a real btrfs volume that is mounted so that it compresses what it can.
class VolumeCompressionTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_mounts.mountCompressing(m_folder))
            GTEST_SKIP() << "this machine does not let the test mount a btrfs volume, or has no mkfs.btrfs";
    }
    static Bytes noise(std::size_t size)
    {
        std::mt19937 random(1);
        Bytes bytes(size);
        for (std::uint8_t &byte : bytes)
            byte = std::uint8_t(random());
        return bytes;
    }
    /// Writes at `offset`, and through to the medium: only there it is compressed.
    void write(ByteView content, off_t offset = 0) const
    {
        const Descriptor file(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        ASSERT_TRUE(file);
        ASSERT_EQ(::pwrite(file.get(), content.data(), content.size(), offset), ssize_t(content.size()));
        ASSERT_EQ(::fsync(file.get()), 0);
    }
    std::uint32_t flags() const { return m_files.flags(m_file).valueOr(99); }

    PrivateMounts m_mounts;
    LinuxFileSystem m_linux;
    FileSystem &m_files = m_linux;
    Path m_folder = PrivateHome::current().makeFolder("btrfs");
    Path m_file = m_folder / "file";
};

TEST_F(VolumeCompressionTest, flags_contentThatTheVolumeCompressed_areCompressed)
{
    for (const std::size_t size : {1000u, 300000u}) { // the first lies in the file's own node
        write(CompressedSample::text(size));
        EXPECT_EQ(flags(), kCompressedFlag) << size;
        EXPECT_EQ(*m_files.logicalSize(m_file), size);
        std::filesystem::remove(m_file);
    }
}

TEST_F(VolumeCompressionTest, flags_contentThatDoesNotBecomeSmaller_areZero)
{
    write(noise(300000));
    EXPECT_EQ(flags(), 0u);
    EXPECT_EQ(*m_files.logicalSize(m_file), 300000u);
}

TEST_F(VolumeCompressionTest, flags_onlyTheLastOfManyExtentsIsCompressed_areCompressed)
{
    constexpr int kExtents = 300;
    constexpr off_t kStep = 8192; // with a hole behind each
    for (int index = 0; index < kExtents; ++index)
        write(noise(4096), index * kStep);
    EXPECT_EQ(flags(), 0u);
    write(CompressedSample::text(100000), kExtents * kStep);
    EXPECT_EQ(flags(), kCompressedFlag);
}

TEST_F(VolumeCompressionTest, flags_cleared_areRefusedAndTheFileIsAsItWas)
{
    write(CompressedSample::text(300000));
    EXPECT_EQ(m_files.setFlags(m_file, 0).failure().code, ErrorCode::NotSupported);
    EXPECT_EQ(::lgetxattr(m_file.c_str(), "user.tamsel.st_flags", nullptr, 0), -1);
    EXPECT_EQ(flags(), kCompressedFlag);
    EXPECT_TRUE(m_files.setFlags(m_file, kCompressedFlag)) << "which it has";
    EXPECT_EQ(m_files.openResourceFork(m_file).failure().code, ErrorCode::NotFound);
    EXPECT_THAT(*m_files.attributeNames(m_file, Links::NotFollow), IsEmpty());
}

TEST_F(VolumeCompressionTest, fileWithAFork_isCompressedAsOnAnyVolume)
{
    CompressedSample::make(m_file, CompressedSample::text(300000));
    EXPECT_EQ(flags(), kCompressedFlag);
    EXPECT_EQ(*m_files.logicalSize(m_file), 300000u);
    EXPECT_EQ(m_files.status(m_file)->size, 0u);
    ASSERT_TRUE(m_files.setFlags(m_file, 0));
    EXPECT_EQ(flags(), 0u);
}
