#include "Tests/EndToEnd/HelperFixture.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/HostProcess.h"
#include "Tests/Support/VirtualDisplay.h"

#include <csignal>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr ByteCount kHuge = ByteCount{100} << 20;
constexpr ByteCount kMostMemory = ByteCount{1} << 30; // a sanitizer takes its part of it

struct Damage
{
    const char *name;
    void (*apply)(const Path &file); ///< the file is there and whole
};

void putInPlace(const Path &file, const std::string &content)
{
    fs::remove(file);
    writeFile(file, content);
}

std::string repeated(const std::string &text, int count)
{
    std::string all;
    for (int index = 0; index < count; ++index)
        all += text;
    return all;
}

constexpr Damage kDamages[] = {
    {"missing", [](const Path &file) { fs::remove(file); }},
    {"empty", [](const Path &file) { fs::resize_file(file, 0); }},
    {"cutOff", [](const Path &file) { fs::resize_file(file, fs::file_size(file) / 2); }},
    {"zeros", [](const Path &file) { putInPlace(file, std::string(fs::file_size(file), '\0')); }},
    {"aString", [](const Path &file) { putInPlace(file, "<plist version=\"1.0\"><string>x</string></plist>"); }},
    {"numbersInAnArray",
     [](const Path &file) { putInPlace(file, "<plist version=\"1.0\"><array><integer>7</integer></array></plist>"); }},
    {"aMillionLevels",
     [](const Path &file) {
         putInPlace(file, "<plist version=\"1.0\">" + repeated("<array>", 1000000) + repeated("</array>", 1000000));
     }},
    {"huge", [](const Path &file) { fs::resize_file(file, kHuge); }},
    {"aFolder",
     [](const Path &file) {
         fs::remove(file);
         fs::create_directory(file);
         writeFile(file / "precious", "precious");
     }},
    {"aPipe",
     [](const Path &file) {
         fs::remove(file);
         ::mkfifo(file.c_str(), 0600);
     }},
    {"aLinkToEndlessZeros",
     [](const Path &file) {
         fs::remove(file);
         fs::create_symlink("/dev/zero", file);
     }},
};

/// What is kept for the user in the place where the programs keep their files is there and damaged; the helper starts all
/// the same, and whatever it makes of it, it is not lost.
class HostileFiles : public HelperFixture, public ::testing::WithParamInterface<Damage>
{
protected:
    /// Something that has to survive, wherever in its folder and under which name.
    struct Precious
    {
        Path folder;
        ino_t number = 0;
        fs::file_type type = fs::file_type::none;
        std::string content; ///< of a file that is not huge
    };

    ~HostileFiles() override
    {
        if (const int helper = host.helperId(); helper > 0)
            ::kill(helper, SIGKILL);
    }

    static std::vector<Path> filesOf(const Path &folder)
    {
        std::vector<Path> files;
        for (const auto &entry : fs::recursive_directory_iterator(folder)) {
            const std::string name = entry.path().extension();
            if (entry.is_regular_file() && (name == ".plist" || name == ".db" || name == ".desktop"))
                files.push_back(entry.path());
        }
        return files;
    }

    static Precious describe(const Path &file)
    {
        struct stat status = {};
        if (::lstat(file.c_str(), &status) != 0)
            return {};
        Precious described{file.parent_path(), status.st_ino, fs::symlink_status(file).type(), {}};
        if (S_ISREG(status.st_mode) && ByteCount(status.st_size) < kHuge)
            described.content = contentOf(file);
        return described;
    }

    static bool isThere(const Precious &precious)
    {
        if (precious.type == fs::file_type::none)
            return true; // there was nothing
        if (precious.content.empty() && precious.type == fs::file_type::regular)
            return true; // nothing is in it
        return std::ranges::any_of(fs::directory_iterator(precious.folder), [&](const fs::directory_entry &entry) {
            const Precious found = describe(entry.path());
            const bool isSame = found.number == precious.number && found.type == precious.type;
            const bool isCopy = !precious.content.empty() && found.content == precious.content;
            return isSame || isCopy;
        });
    }

    static ByteCount mostMemoryOf(qint64 process)
    {
        std::istringstream status(contentOf("/proc/" + std::to_string(process) + "/status"));
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("VmHWM:"))
                return std::stoull(line.substr(6)) << 10;
        return 0;
    }

    /// Has host and helper make their files, and ends them.
    void makeFiles()
    {
        host.showOn(display.name());
        host.start();
        ASSERT_TRUE(waitFor([&] { return host.firstFrameOfPane().has_value(); }, 60000));
        ASSERT_TRUE(waitFor([&] { return fs::exists(store()) && host.helperId() > 0; }, 60000));
        ASSERT_EQ(host.end(), 0);
        const int helper = host.helperId();
        post("pellixHelperShouldQuit");
        ASSERT_TRUE(waitFor([&] { return ::kill(helper, 0) != 0; }, 60000));
    }

    VirtualDisplay display;
    HostProcess host;
};

} // namespace

TEST_P(HostileFiles, eachByItself_theHelperRunsAndNothingIsLost)
{
    makeFiles();
    const std::vector<Path> files = filesOf(supportFolder());
    ASSERT_GE(files.size(), 4u);
    const Path whole = PrivateHome::current().root() / "whole";
    fs::copy(supportFolder(), whole, fs::copy_options::recursive);
    for (const Path &file : files) {
        SCOPED_TRACE(file);
        fs::remove_all(supportFolder());
        fs::copy(whole, supportFolder(), fs::copy_options::recursive);
        GetParam().apply(file);
        const Precious precious = describe(file);

        HelperProcess helper;
        ASSERT_TRUE(helper.waitUntilFound());
        post("com.dovrane.pellix.excludedPaths");
        addFolders({folder});
        ASSERT_TRUE(fs::is_directory(store()) || helper.waitForLog("Watching")) << helper.log();
        EXPECT_LT(mostMemoryOf(helper.id()), kMostMemory);
        post("pellixHelperShouldQuit");
        EXPECT_EQ(helper.waitForEnd(), 0) << helper.log();
        EXPECT_TRUE(isThere(precious));
    }
}

INSTANTIATE_TEST_SUITE_P(, HostileFiles, ::testing::ValuesIn(kDamages),
                         [](const auto &each) { return std::string(each.param.name); });
