#pragma once

#include "Platform/Formats/AppleDouble.h"
#include "Platform/Linux/LinuxFileSystem.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

#include <fstream>

/// A file and its companion in a folder of Linux, and new ones that take their place.
class LinuxOutputFileTest : public ::testing::Test
{
protected:
    static void write(const Path &path, ByteView content)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << stringOf(content);
    }
    void makeCompanion(const std::string &fork, const AppleDoubleContent &content = {})
    {
        Bytes bytes = *appleDoubleHead(content, fork.size());
        bytes.insert(bytes.end(), fork.begin(), fork.end());
        write(m_companion, bytes);
    }
    std::vector<std::string> names() const { return *m_files.entries(m_folder); }
    std::string contentOf(const Path &path) const { return stringOf(m_files.readFile(path, 1 << 20).valueOr({})); }

    /// Puts a new file with that content in the place of m_file.
    Result<bool> replace(const std::string &content)
    {
        const FileStatus examined = *m_files.status(m_file);
        Result<std::unique_ptr<OutputFile>> file = m_files.openScratchFile(m_scratch, examined.mode);
        if (!file)
            return file.failure();
        EXPECT_TRUE((*file)->write(bytesOf(content)));
        EXPECT_TRUE((*file)->close());
        if (const Result<void> made = (*file)->makeLike(m_file, examined); !made)
            return made.failure();
        return (*file)->replace(m_file, examined);
    }

    LinuxFileSystem m_linux;
    FileSystem &m_files = m_linux;
    Path m_folder = PrivateHome::current().makeFolder("linux-output");
    Path m_file = m_folder / "file";
    Path m_companion = m_folder / "._file";
    Path m_scratch = m_folder / "scratch";
};
