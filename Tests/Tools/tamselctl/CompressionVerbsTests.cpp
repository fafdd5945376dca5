#include "Platform/Linux/Descriptor.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Support/PrivateMounts.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

class CompressionVerbs : public ::testing::Test
{
protected:
    /// A text that compresses well and has no two equal lines.
    static std::string text(std::size_t size)
    {
        std::string result;
        for (int line = 0; result.size() < size; ++line)
            result += "Line " + std::to_string(line) + " of a text that is long enough to be worth the trouble.\n";
        return result.substr(0, size);
    }

    fs::path makeFile(const std::string &name, const std::string &content) const
    {
        std::ofstream(m_originals / name, std::ios::binary) << content;
        return m_originals / name;
    }

    static std::string contentOf(const fs::path &file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static std::vector<std::string> namesIn(const fs::path &folder)
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().native());
        std::ranges::sort(names);
        return names;
    }

    Ended compress(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"compress", "--to", m_copies.native()});
        return tamselctl(words);
    }

    /// What a program that shares no code with ours says of the copies.
    Ended independentSavings() const
    {
        QProcess process;
        process.start(QStringLiteral(DEMO_SAVINGS),
                      {QString::fromStdString(m_originals.native()), QString::fromStdString(m_copies.native())});
        EXPECT_TRUE(process.waitForFinished());
        return {process.exitCode(), process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }

    const fs::path m_originals = PrivateHome::current().makeFolder("originals");
    const fs::path m_copies = PrivateHome::current().makeFolder("copies");
};

TEST_F(CompressionVerbs, copies_inflateToTheOriginalsAndSaveWhatIsSaid)
{
    const std::string long_ = text(300000);
    const fs::path first = makeFile("first", long_);
    const fs::path second = makeFile("second block", text(65536));
    fs::permissions(first, fs::perms::owner_all | fs::perms::group_read);
    const Ended ended = compress({first, second, "--json"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    std::uint64_t savings = 0;
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 2u);
    for (const QVariantMap &object : objects)
        savings += object[QStringLiteral("savings")].toULongLong();
    EXPECT_EQ(objects[0][QStringLiteral("path")].toString().toStdString(), (m_copies / "first").native());
    EXPECT_EQ(objects[0][QStringLiteral("logicalSize")].toULongLong(), 300000u);
    const Ended independent = independentSavings();
    EXPECT_EQ(independent.out, std::to_string(savings) + "\n") << independent.err;
    EXPECT_GT(savings, 200000u);
    EXPECT_EQ(contentOf(first), long_);
    EXPECT_EQ(namesIn(m_copies), (std::vector<std::string>{"._first", "._second block", "first", "second block"}));
    EXPECT_EQ(fs::status(m_copies / "first").permissions(), fs::perms::owner_all | fs::perms::group_read);
}

TEST_F(CompressionVerbs, inspect_showsEveryPartOfACopy)
{
    ASSERT_EQ(compress({makeFile("file", text(65537))}).exitCode, 0);
    const Ended ended = tamselctl({"inspect", m_copies / "file", "--json"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 1u);
    const QVariantMap &file = objects[0];
    EXPECT_EQ(file[QStringLiteral("flags")], 32);
    EXPECT_EQ(file[QStringLiteral("compressed")], true);
    EXPECT_EQ(file[QStringLiteral("compressionType")], 4);
    EXPECT_EQ(file[QStringLiteral("uncompressedSize")], 65537);
    EXPECT_EQ(file[QStringLiteral("logicalSize")], 65537);
    EXPECT_EQ(file[QStringLiteral("dataForkSize")], 0);
    EXPECT_EQ(file[QStringLiteral("dataOffset")], 256);
    EXPECT_EQ(file[QStringLiteral("mapLength")], 50);
    EXPECT_EQ(file[QStringLiteral("numBlocks")], 2);
    const QVariantList blocks = file[QStringLiteral("blocks")].toList();
    ASSERT_EQ(blocks.size(), 2);
    const QVariantMap first = blocks[0].toMap();
    const QVariantMap second = blocks[1].toMap();
    EXPECT_EQ(first[QStringLiteral("blockOffset")], 2 * 8 + 4);
    EXPECT_EQ(second[QStringLiteral("blockOffset")].toUInt(),
              first[QStringLiteral("blockOffset")].toUInt() + first[QStringLiteral("blockSize")].toUInt());
    EXPECT_FALSE(file.contains(QStringLiteral("trouble")));
    EXPECT_THAT(tamselctl({"inspect", m_copies / "file"}).out, HasSubstr("\nnumBlocks: 2\nblocks:\n  blockOffset=20 "));
}

TEST_F(CompressionVerbs, inspectOfAnOrdinaryFile_isNoFailure)
{
    const Ended ended = tamselctl({"inspect", makeFile("file", "content"), "--json"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0][QStringLiteral("compressed")], false);
    EXPECT_EQ(objects[0][QStringLiteral("logicalSize")], 7);
    EXPECT_EQ(objects[0][QStringLiteral("dataForkSize")], 7);
    EXPECT_FALSE(objects[0].contains(QStringLiteral("numBlocks")));
}

TEST_F(CompressionVerbs, inspectOfAFileThatItsVolumeCompresses_isNoFailure)
{
    PrivateMounts mounts;
    const fs::path volume = PrivateHome::current().makeFolder("btrfs");
    if (!mounts.mountCompressing(volume))
        GTEST_SKIP() << "this machine does not let the test mount a btrfs volume, or has no mkfs.btrfs";
    std::ofstream(volume / "file") << text(300000);
    const Descriptor folder(::open(volume.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::syncfs(folder.get()), 0); // only on the medium it is compressed
    const Ended ended = tamselctl({"inspect", volume / "file", "--json"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0][QStringLiteral("compressed")], true);
    EXPECT_EQ(objects[0][QStringLiteral("compressedByVolume")], true);
    EXPECT_EQ(objects[0][QStringLiteral("logicalSize")], 300000);
    EXPECT_FALSE(objects[0].contains(QStringLiteral("trouble")));
    EXPECT_EQ(compress({volume / "file"}).exitCode, 0) << "a copy of it is made as of any other";
}

TEST_F(CompressionVerbs, inspectOfADamagedFile_fails)
{
    ASSERT_EQ(compress({makeFile("file", text(100000))}).exitCode, 0);
    fs::resize_file(m_copies / "._file", fs::file_size(m_copies / "._file") / 2);
    const Ended ended = tamselctl({"inspect", m_copies / "file", "--json"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr((m_copies / "file").native() + ": "));
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_TRUE(objects[0].contains(QStringLiteral("trouble")));
}

TEST_F(CompressionVerbs, inspectOfNoFile_fails)
{
    EXPECT_EQ(tamselctl({"inspect", m_copies / "missing"}).exitCode, 1);
    EXPECT_EQ(tamselctl({"inspect", m_copies}).exitCode, 1);
}

TEST_F(CompressionVerbs, whatCannotBeCompressed_isLeftOutAndTheRestIsWritten)
{
    const fs::path good = makeFile("good", text(100000));
    const fs::path small = makeFile("small", "tiny");
    const fs::path empty = makeFile("empty", "");
    const fs::path longName = makeFile(std::string(254, 'n'), text(100000));
    fs::create_symlink(good, m_originals / "link");
    ASSERT_EQ(::mkfifo((m_originals / "pipe").c_str(), 0600), 0);
    const Ended ended = compress({m_originals / "link", small, empty, longName, m_originals / "pipe", m_originals,
                                  m_originals / "missing", good});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(ended.out, (m_copies / "good").native() + "\n");
    EXPECT_EQ(namesIn(m_copies), (std::vector<std::string>{"._good", "good"}));
    EXPECT_EQ(std::ranges::count(ended.err, '\n'), 7) << ended.err;
}

TEST_F(CompressionVerbs, whatStandsInTheFolder_isNeverReplaced)
{
    const fs::path file = makeFile("file", text(100000));
    std::ofstream(m_copies / "._file") << "precious";
    EXPECT_EQ(compress({file}).exitCode, 1);
    EXPECT_EQ(contentOf(m_copies / "._file"), "precious");
    EXPECT_EQ(namesIn(m_copies), std::vector<std::string>{"._file"});

    fs::remove(m_copies / "._file");
    std::ofstream(m_copies / "file") << "precious";
    EXPECT_EQ(compress({file}).exitCode, 1);
    EXPECT_EQ(contentOf(m_copies / "file"), "precious");
    EXPECT_EQ(namesIn(m_copies), std::vector<std::string>{"file"});

    fs::remove(m_copies / "file");
    fs::create_symlink(m_originals / "planted", m_copies / "._file");
    EXPECT_EQ(compress({file}).exitCode, 1);
    EXPECT_FALSE(fs::exists(m_originals / "planted"));
    EXPECT_TRUE(fs::is_symlink(m_copies / "._file"));
}

TEST_F(CompressionVerbs, missingFolder_isAFailure)
{
    const fs::path file = makeFile("file", text(100000));
    EXPECT_EQ(tamselctl({"compress", "--to", m_copies / "missing", file}).exitCode, 1);
    const Ended ended = tamselctl({"compress", "--to", file, file});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("no folder: " + file.native()));
    EXPECT_EQ(contentOf(file), text(100000));
}

TEST_F(CompressionVerbs, copyInTheFolderOfItsOriginal_isRefused)
{
    const fs::path file = makeFile("file", text(100000));
    EXPECT_EQ(tamselctl({"compress", "--to", m_originals, file}).exitCode, 1);
    EXPECT_EQ(contentOf(file), text(100000));
    EXPECT_EQ(namesIn(m_originals), std::vector<std::string>{"file"});
}
