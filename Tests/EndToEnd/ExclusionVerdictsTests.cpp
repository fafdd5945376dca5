#include "Classes/PrefPane/ExclusionRuleSet.h"
#include "Platform/FileSystem.h"
#include "Platform/PropertyList.h"
#include "Tests/Support/EmptyFolder.h"
#include "Tests/Support/FileContent.h"
#include "Tests/Support/PlainMatching.h"

#include <QByteArray>
#include <QProcess>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

namespace {

const Strings kPaths = {
    "/home/u/Private", "/home/u/One File.txt", "/srv/data.d", "/media/disk/\xC3\x9C", "/home/u/slash/", "/",
    "relative",        "/home/u/star*"};
const Strings kExtensions = {"xyz", "tar.gz", "Gz", "c++", "a_b-c", "7", "\xC3\xA4", "txt.bak", "d"};

/// Asks the classes of pane and helper, each in a program that starts from a bundle like the one it ships in, with the
/// rules of that; both read the same lists.
class ExclusionVerdicts : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        const fs::path support = PrivateHome::current().home() / ".local/share/Tamsel";
        fs::create_directories(support);
        store(support / "excludedPaths.plist", kPaths);
        store(support / "excludedExtensions.plist", kExtensions);
    }
    static void store(const Path &file, const Strings &strings)
    {
        ASSERT_TRUE(PropertyList(PropertyList::Array(strings.begin(), strings.end())).write(file));
    }

    /// The program in a bundle with the description and the rules of `like`.
    static fs::path programIn(const std::string &name, const fs::path &like)
    {
        const fs::path contents = makeEmptyFolder(name) / "Contents";
        fs::create_directories(contents / "MacOS");
        fs::create_directories(contents / "Resources");
        fs::copy_file(like / "Contents/Info.plist", contents / "Info.plist");
        fs::copy_file(like / "Contents/Resources/ExclusionRules.plist", contents / "Resources/ExclusionRules.plist");
        fs::copy_file(TAMSEL_VERDICTS, contents / "MacOS/ExclusionVerdicts");
        return contents / "MacOS/ExclusionVerdicts";
    }
    static std::string ask(const fs::path &program, const char *side, const Strings &paths)
    {
        const fs::path file = PrivateHome::current().root() / "asked";
        std::string text;
        for (const std::string &path : paths)
            text += path + '\0';
        writeFile(file, text);
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QString::fromStdString(program), {QString::fromLatin1(side), QString::fromStdString(file)});
        EXPECT_TRUE(process.waitForFinished(110000));
        EXPECT_EQ(process.exitCode(), 0);
        return process.readAllStandardOutput().toStdString();
    }
    static std::string askPane(const Strings &paths)
    {
        return ask(programIn("Preferences.app", TAMSEL_HOST_BUNDLE), "pane", paths);
    }
    static std::string askHelper(const Strings &paths)
    {
        return ask(programIn("TamselHelper.app", TAMSEL_HELPER_BUNDLE), "helper", paths);
    }
};

/// A line of the table: the sign, and the path behind it.
using Row = std::pair<char, std::string>;

std::vector<Row> tableRows()
{
    std::vector<Row> rows;
    std::ifstream table(TAMSEL_VERDICT_TABLE);
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with("+ ") || line.starts_with("- "))
            rows.emplace_back(line.front(), QByteArray::fromPercentEncoding(line.substr(2).c_str()).toStdString());
        else
            EXPECT_TRUE(line.empty() || line.starts_with('#')) << line;
    }
    return rows;
}

/// The verdict found in the plainest way.
bool isLeftOut(const ExclusionRuleSet &rules, const std::string &path)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    const auto isBelow = [&](std::string excluded) {
        if (excluded.ends_with('/'))
            excluded.pop_back();
        return excluded.starts_with('/') && (path + "/").starts_with(excluded + "/");
    };
    const auto isExtension = [&](const std::string &extension) {
        return name.size() > extension.size() + 1 && name.ends_with("." + extension);
    };
    return std::ranges::any_of(kPaths, isBelow) || std::ranges::any_of(kExtensions, isExtension) ||
           matchesPlainly(rules, path);
}

/// As many paths as wanted of this machine, half of them as a mounted volume would show them; fewer when it has not
/// enough.
Strings realPaths(std::size_t count)
{
    Strings paths;
    std::stop_source stop;
    const auto visit = [&](const WalkEntry &entry) {
        const std::string &path = entry.path.native();
        paths.push_back(path);
        paths.push_back("/media/disk" + path);
        if (paths.size() >= count)
            stop.request_stop();
        return true;
    };
    for (const char *root : {"/var", "/usr/share", "/usr/include", "/usr/lib", "/home", "/opt"})
        static_cast<void>(FileSystem::current().walk(
            root, visit, [](const Path &, const Failure &) {}, stop.get_token()));
    return paths;
}

} // namespace

TEST_F(ExclusionVerdicts, pathsOfTheTable_areLeftOutByBothAsItSays)
{
    const std::vector<Row> rows = tableRows();
    ASSERT_GE(rows.size(), 200u);
    Strings paths;
    for (const auto &[sign, path] : rows)
        paths.push_back(path);
    const std::string ofPane = askPane(paths);
    const std::string ofHelper = askHelper(paths);
    ASSERT_EQ(ofPane.size(), rows.size());
    ASSERT_EQ(ofHelper.size(), rows.size());
    for (std::size_t row = 0; row < rows.size(); ++row) {
        EXPECT_EQ(ofPane[row], rows[row].first) << "pane: " << rows[row].second;
        EXPECT_EQ(ofHelper[row], rows[row].first) << "helper: " << rows[row].second;
    }
}

TEST_F(ExclusionVerdicts, hundredThousandRealPaths_areLeftOutByBothAlike)
{
    const Strings paths = realPaths(100000);
    RecordProperty("paths", int(paths.size()));
    ASSERT_GE(paths.size(), 10000u) << "this machine has hardly any files";
    const std::string ofPane = askPane(paths);
    const std::string ofHelper = askHelper(paths);
    ASSERT_EQ(ofPane.size(), paths.size());
    ASSERT_EQ(ofHelper.size(), paths.size());
    ExclusionRuleSet rules;
    ASSERT_GT(rules.addRulesOf(Path(TAMSEL_HOST_BUNDLE) / "Contents/Resources/ExclusionRules.plist").valueOr(0), 100u);
    for (std::size_t at = 0; at < paths.size(); ++at) {
        ASSERT_EQ(ofPane[at], ofHelper[at]) << paths[at];
        const bool isAsked = at % 7 == 0; // the plain way takes its time
        ASSERT_EQ(isAsked && ofPane[at] == '+', isAsked && isLeftOut(rules, paths[at])) << paths[at];
    }
    EXPECT_THAT(ofPane, ::testing::HasSubstr("+"));
    EXPECT_THAT(ofPane, ::testing::HasSubstr("-"));
}
