#include "Tests/Support/PrivateBus.h"
#include "Tests/Support/PrivateHome.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <fstream>

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

class StatusVerb : public ::testing::Test
{
protected:
    void SetUp() override { fs::create_directories(m_support); }

    /// Makes the store from the seed and runs a statement on it with SQLite's own program.
    void makeStore(const std::string &statement) const
    {
        fs::copy_file(HISTORY_SEED, m_store, fs::copy_options::skip_existing);
        fs::permissions(m_store, fs::perms::owner_write, fs::perm_options::add);
        QProcess sqlite;
        sqlite.start(QStringLiteral("sqlite3"),
                     {QString::fromStdString(m_store.native()), QString::fromStdString(statement)});
        ASSERT_TRUE(sqlite.waitForFinished());
        ASSERT_EQ(sqlite.exitCode(), 0) << sqlite.readAllStandardError().toStdString();
    }

    static QVariantMap status()
    {
        const Ended ended = tamselctl({"status", "--json"});
        EXPECT_EQ(ended.exitCode, 0) << ended.err;
        const auto objects = jsonLines(ended.out);
        EXPECT_EQ(objects.size(), 1u);
        return objects.empty() ? QVariantMap() : objects[0];
    }

    const fs::path m_support = PrivateHome::current().home() / ".local/share/Tamsel";
    const fs::path m_store = m_support / "history.db";
    const fs::path m_settings = m_support / "defaults.plist";
};

static constexpr char kThreeFolders[] =
    "INSERT INTO ZHISTORY(Z_PK, Z_ENT, Z_OPT, ZENABLED, ZSTATUS, ZSAVINGS, ZFOLDER) VALUES"
    "(1, 1, 1, 1, 40, 5000000000, '/tmp'), (2, 1, 1, 0, 100, 7, '/gone'), (3, 1, 1, 1, 100, -1, '/usr');";

TEST_F(StatusVerb, bareAccount_hasTheBuiltInSettingsAndNoSavings)
{
    const QVariantMap values = status();
    EXPECT_EQ(values[QStringLiteral("sessionBus")], false);
    EXPECT_FALSE(values.contains(QStringLiteral("helperRunning"))) << "cannot be said without a bus";
    EXPECT_EQ(values[QStringLiteral("applicationSupportFolder")].toString().toStdString(), m_support.native());
    for (const char *key : {"helperActive", "autorunAtLogin", "checkForUpdates", "visible", "firstRun"})
        EXPECT_EQ(values[QString::fromLatin1(key)], true) << key;
    for (const char *key : {"folders", "totalSavings", "previousSavings"})
        EXPECT_EQ(values[QString::fromLatin1(key)], 0) << key;
    EXPECT_TRUE(fs::is_empty(m_support)) << "looking makes no file";
}

TEST_F(StatusVerb, settingsAndSavings_areThoseOfTheFiles)
{
    std::ofstream(m_settings) << "<plist version=\"1.0\"><dict><key>active</key><false/>"
                                 "<key>checkUpdates</key><integer>0</integer></dict></plist>";
    makeStore(kThreeFolders);
    const QVariantMap values = status();
    EXPECT_EQ(values[QStringLiteral("helperActive")], false);
    EXPECT_EQ(values[QStringLiteral("checkForUpdates")], false);
    EXPECT_EQ(values[QStringLiteral("visible")], true);
    EXPECT_EQ(values[QStringLiteral("folders")], 2);
    EXPECT_EQ(values[QStringLiteral("totalSavings")].toLongLong(), 5000000006) << "modulo 2^64";
    EXPECT_EQ(values[QStringLiteral("previousSavings")], 7);
}

TEST_F(StatusVerb, bus_saysWhatRuns)
{
    const PrivateBus bus;
    const QVariantMap values = status();
    EXPECT_EQ(values[QStringLiteral("sessionBus")], true);
    EXPECT_EQ(values[QStringLiteral("helperRunning")], false);
    EXPECT_EQ(values[QStringLiteral("hostRunning")], false);
}

TEST_F(StatusVerb, unreadableFiles_areNamedAndTheRestIsShown)
{
    std::ofstream(m_settings) << "rubbish";
    std::ofstream(m_store) << std::string(5000, 'x');
    const Ended ended = tamselctl({"status", "--json"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(std::ranges::count(ended.err, '\n'), 2) << ended.err;
    const auto objects = jsonLines(ended.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_TRUE(objects[0].contains(QStringLiteral("applicationSupportFolder")));
    EXPECT_FALSE(objects[0].contains(QStringLiteral("helperActive")));
    EXPECT_FALSE(objects[0].contains(QStringLiteral("totalSavings")));
}

TEST_F(StatusVerb, earlierName_isTheFolderWhereItIsThere)
{
    fs::create_directories(m_support.parent_path() / "Pellix");
    EXPECT_THAT(status()[QStringLiteral("applicationSupportFolder")].toString().toStdString(),
                ::testing::EndsWith("/Pellix"));
}

TEST_F(StatusVerb, history_hasARowForEachFolderAndOneForTheOthers)
{
    makeStore(kThreeFolders);
    const Ended ended = tamselctl({"history", "--json"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(
        ended.out,
        "{\"sortID\":0,\"folder\":\"/tmp\",\"path\":\"/tmp\",\"status\":40,\"savings\":5000000000,\"enabled\":true}\n"
        "{\"sortID\":0,\"folder\":\"/usr\",\"path\":\"/usr\",\"status\":100,\"savings\":18446744073709551615,"
        "\"enabled\":true}\n"
        "{\"sortID\":1,\"folder\":\"Other\",\"path\":\"Savings obtained from previously selected folders\","
        "\"status\":100,\"savings\":7}\n");
    EXPECT_EQ(tamselctl({"history"}).out, "     5.00 GB   40 %  /tmp\n"
                                          "18446743552 GB  100 %  /usr\n"
                                          "         7 b  100 %  Other\n");
}

TEST_F(StatusVerb, historyWithoutAStore_isEmptyAndMakesNone)
{
    const Ended ended = tamselctl({"history"});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_TRUE(fs::is_empty(m_support));
}

TEST_F(StatusVerb, historyThatIsDamaged_isAFailure)
{
    std::ofstream(m_store) << std::string(5000, 'x');
    const Ended ended = tamselctl({"history"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.err, HasSubstr("history.db"));
}
