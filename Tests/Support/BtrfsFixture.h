#pragma once

#include "Platform/Linux/Descriptor.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/Noise.h"
#include "Tests/Support/OrdinaryUser.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/xattr.h>

/// A real btrfs volume in a folder that belongs to an ordinary user, and each test run as that user.
class BtrfsFixture : public ::testing::Test
{
protected:
    static constexpr const char *kProperty = "btrfs.compression";

    void SetUp() override { mount({}); }
    void TearDown() override { m_user.reset(); }

    void mount(const std::string &options)
    {
        if (!m_mounts.mountImage("btrfs", m_volume, {}, options))
            GTEST_SKIP() << "this machine does not let the test mount a btrfs volume, or has no mkfs.btrfs";
        ASSERT_EQ(::chmod(PrivateHome::current().root().c_str(), 0711), 0);
        ASSERT_EQ(::chown(m_volume.c_str(), OrdinaryUser::kNobody, OrdinaryUser::kNobody), 0);
        m_user.emplace();
        ASSERT_EQ(::mkdir(m_folder.c_str(), 0755), 0);
    }

    /// Writes the file anew, through to the medium.
    static void write(const Path &file, ByteView content)
    {
        const Descriptor opened(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        ASSERT_TRUE(opened);
        ASSERT_EQ(::write(opened.get(), content.data(), content.size()), ssize_t(content.size()));
        ASSERT_EQ(::fsync(opened.get()), 0);
    }
    /// What nothing makes smaller.
    static Bytes noiseOf(std::size_t size)
    {
        std::mt19937 random(1);
        Bytes bytes(size);
        for (std::uint8_t &byte : bytes)
            byte = std::uint8_t(random());
        return bytes;
    }
    /// nullopt where there is none.
    static std::optional<std::string> attribute(const Path &path, const char *name)
    {
        std::string value(256, '\0');
        const ssize_t length = ::lgetxattr(path.c_str(), name, value.data(), value.size());
        return length < 0 ? std::nullopt : std::optional(value.substr(0, std::size_t(length)));
    }
    static void setAttribute(const Path &path, const char *name, const std::string &value)
    {
        ASSERT_EQ(::lsetxattr(path.c_str(), name, value.data(), value.size(), 0), 0) << name;
    }

    /// What a user sees of a file: bytes, times, mode, owner, attributes; and which file it is.
    static std::string everythingOf(const Path &path)
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0);
        std::string text;
        for (const long long number :
             {(long long)status.st_ino, (long long)status.st_mode, (long long)status.st_uid, (long long)status.st_gid,
              (long long)status.st_nlink, (long long)status.st_size, (long long)status.st_atim.tv_sec,
              (long long)status.st_atim.tv_nsec, (long long)status.st_mtim.tv_sec, (long long)status.st_mtim.tv_nsec,
              (long long)status.st_ctim.tv_sec, (long long)status.st_ctim.tv_nsec})
            text += std::to_string(number) + ' ';
        std::string names(4096, '\0');
        names.resize(std::size_t(std::max<ssize_t>(::llistxattr(path.c_str(), names.data(), names.size()), 0)));
        for (std::size_t begin = 0; begin < names.size(); begin += std::string(names.c_str() + begin).size() + 1)
            text += std::string(names.c_str() + begin) + '=' + *attribute(path, names.c_str() + begin) + ' ';
        const Descriptor file(::open(path.c_str(), O_RDONLY | O_NOATIME | O_CLOEXEC));
        std::string content(std::size_t(status.st_size), '\0');
        EXPECT_EQ(::read(file.get(), content.data(), content.size()), ssize_t(content.size()));
        return text + content;
    }

    const Path m_volume = PrivateHome::current().makeFolder("btrfs");
    const Path m_folder = m_volume / "folder";
    PrivateMounts m_mounts;
    std::optional<OrdinaryUser> m_user;
};
