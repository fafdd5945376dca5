#include "Classes/Shared/FileCompression.h"

#include "Tests/Support/BtrfsFixture.h"

#include <cstdio>
#include <ctime>
#include <regex>

/// What is said to be saved, beside what the trees of the volume say, which only root may read.
class CompressionSavingsTest : public BtrfsFixture
{
protected:
    struct Usage
    {
        double occupied = 0;
        double content = 0;
    };

    /// nullopt where the program is missing or may not look.
    std::optional<Usage> usageAsToldToRoot()
    {
        m_user.reset();
        const std::string command = "PATH=$PATH:/usr/sbin:/sbin; sync -f '" + m_folder.native() + "'; compsize -b '" +
                                    m_folder.native() + "' 2> /dev/null";
        std::string output;
        std::FILE *const program = ::popen(command.c_str(), "r");
        for (char line[256]; program && std::fgets(line, sizeof line, program);)
            output += line;
        const bool isDone = program && ::pclose(program) == 0;
        m_user.emplace();
        std::smatch words;
        if (!isDone || !std::regex_search(output, words, std::regex("TOTAL +[0-9]+% +([0-9]+) +([0-9]+)")))
            return std::nullopt;
        return Usage{std::stod(words[1]), std::stod(words[2])};
    }
    ByteCount savingsOfAll() const
    {
        ByteCount savings = 0;
        for (const auto &entry : std::filesystem::directory_iterator(m_folder)) {
            FileCompression::Request request;
            request.path = entry.path();
            request.status = *FileSystem::current().status(entry.path());
            request.limits.youth = std::chrono::seconds(0);
            request.now = std::time(nullptr);
            const FileCompression::Outcome outcome = FileCompression(std::move(request)).run();
            EXPECT_FALSE(outcome.failure) << entry.path();
            savings += outcome.savings;
        }
        return savings;
    }
    /// Programs and libraries of this machine, with another size behind each name.
    void copyPrograms(std::size_t limit) const
    {
        std::size_t sum = 0;
        for (const auto &entry : std::filesystem::directory_iterator("/usr/bin")) {
            if (sum >= limit)
                break;
            if (!entry.is_regular_file() || entry.is_symlink() || entry.file_size() > (8 << 20))
                continue;
            const std::string content = contentOf(entry.path());
            if (content.empty())
                continue;
            write(m_folder / entry.path().filename(), bytesOf(content));
            sum += content.size();
        }
    }
    void makeOthers() const
    {
        for (const int size : {3000, 5000, 20000, 131072, 200000, 1000000})
            write(m_folder / ("text" + std::to_string(size)), CompressedSample::text(std::size_t(size)));
        write(m_folder / "noise", noiseOf(3000000));
        Bytes mixed = noiseOf(700000);
        const Bytes text = CompressedSample::text(700000);
        mixed.insert(mixed.end(), text.begin(), text.end());
        write(m_folder / "mixed", mixed);
        const Descriptor holes(::open((m_folder / "holes").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        for (int index = 0; index < 20; ++index)
            ASSERT_EQ(::pwrite(holes.get(), text.data(), 50000, off_t(index) * 300000), 50000);
        ASSERT_EQ(::fsync(holes.get()), 0);
    }
};

TEST_F(CompressionSavingsTest, sumOverManyFiles_isWhatTheVolumeTellsRoot)
{
    copyPrograms(40 << 20);
    makeOthers();
    const auto before = usageAsToldToRoot();
    if (!before)
        GTEST_SKIP() << "there is no compsize on this machine, or the test may not ask it";
    for (const char *const round : {"compressed now", "compressed before"}) {
        const auto savings = double(savingsOfAll());
        const auto after = usageAsToldToRoot();
        ASSERT_TRUE(after);
        EXPECT_GT(savings, before->occupied / 10) << round;
        EXPECT_NEAR(savings, after->content - after->occupied, after->occupied * 0.02) << round;
        EXPECT_NEAR(before->occupied - after->occupied, savings, after->occupied * 0.02) << round;
    }
}

TEST_F(CompressionSavingsTest, filesThatTheVolumeCompressedWhenTheyWereWritten_areMeasuredAsWell)
{
    setAttribute(m_folder, kProperty, "zstd");
    copyPrograms(20 << 20);
    makeOthers();
    const auto savings = double(savingsOfAll());
    const auto told = usageAsToldToRoot();
    if (!told)
        GTEST_SKIP() << "there is no compsize on this machine, or the test may not ask it";
    EXPECT_NEAR(savings, told->content - told->occupied, told->occupied * 0.02);
}
