#pragma once

#include "Platform/Fake/FakeFileSystem.h"
#include "Platform/FileSystem.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Tests/Support/CompressedSample.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

#include <sys/stat.h>

/// The Linux service over a new folder.
struct LinuxWorld
{
    LinuxFileSystem service;
    inline static int s_count = 0;
    Path root = PrivateHome::current().makeFolder("world" + std::to_string(s_count++));

    void addLink(const Path &path, const Path &target) { std::filesystem::create_symlink(target, path); }
    void addPipe(const Path &path) { ASSERT_EQ(::mkfifo(path.c_str(), 0644), 0); }
    void addName(const Path &path, const Path &existing) { std::filesystem::create_hard_link(existing, path); }
    void setFork(const Path &path, ByteView fork)
    {
        const std::string bytes = stringOf(CompressedSample::companion(fork));
        std::ofstream(path.parent_path() / ("._" + path.filename().native()), std::ios::binary) << bytes;
    }
};

/// The fake over a folder of its own.
struct FakeWorld
{
    FakeFileSystem service;
    Path root = "/world";

    FakeWorld() { service.addFolder(root); }
    void addLink(const Path &path, const Path &target) { service.addLink(path, target); }
    void addPipe(const Path &path) { service.addPipe(path); }
    void addName(const Path &path, const Path &existing) { service.addName(path, existing); }
    void setFork(const Path &path, ByteView fork) { service.setResourceFork(path, fork); }
};

/// What holds for every file system.
template <class World>
class FileSystemContract : public ::testing::Test
{
protected:
    Path at(const std::string &name) const { return m_world.root / name; }
    void create(const std::string &name, const std::string &content)
    {
        ASSERT_TRUE(m_files.createFile(at(name), bytesOf(content)));
    }
    std::string contentOf(const std::string &name) const
    {
        const Result<Bytes> content = m_files.readFile(at(name), 1 << 20);
        return content ? stringOf(*content) : "(" + content.failure().context + ")";
    }
    std::vector<std::string> names() const { return m_files.entries(m_world.root).valueOr({"unreadable"}); }

    World m_world;
    FileSystem &m_files = m_world.service;
};

using Worlds = ::testing::Types<LinuxWorld, FakeWorld>;

struct WorldName
{
    template <class World>
    static std::string GetName(int)
    {
        return std::is_same_v<World, LinuxWorld> ? "Linux" : "Fake";
    }
};
