#include "Classes/PrefPane/DVTableView.h"
#include "Classes/PrefPane/FoldersTableDelegate.h"
#include "Classes/PrefPane/PXHistoryController.h"
#include "Classes/Util/PXUtil.h"
#include "Platform/AliasManager.h"
#include "Platform/Bundle.h"
#include "Platform/Services.h"
#include "Tests/Support/HistoryFixture.h"
#include "Tests/Support/PrivateHome.h"

#include <QApplication>
#include <QHeaderView>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <sqlite3.h>
#include <time.h>
#include <vector>

// What the folder table costs with very many folders, and the sum over very many records beside the plain C interface
// of the database. "FolderTableBenchmark [FOLDERS [RECORDS [LENGTH]]]"; makes both in a home of its own, the folders
// with paths of that many characters. Medians, all from one run.

using Clock = std::chrono::steady_clock;

struct Cost
{
    double ms = 0;       ///< that passed
    double threadMs = 0; ///< in which the main thread ran
};

static double threadMilliseconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

static Cost costOf(const std::function<void()> &run)
{
    const Clock::time_point start = Clock::now();
    const double threadStart = threadMilliseconds();
    run();
    const double threadMs = threadMilliseconds() - threadStart;
    return {std::chrono::duration<double, std::milli>(Clock::now() - start).count(), threadMs};
}

static double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

static Cost median(const std::vector<Cost> &costs)
{
    std::vector<double> passed, ran;
    for (const Cost &cost : costs) {
        passed.push_back(cost.ms);
        ran.push_back(cost.threadMs);
    }
    return {median(std::move(passed)), median(std::move(ran))};
}

static Cost medianOf(int rounds, const std::function<void()> &run)
{
    std::vector<Cost> costs;
    for (int round = 0; round < rounds; ++round)
        costs.push_back(costOf(run));
    return median(costs);
}

static void print(const char *what, const Cost &cost, const char *more = "")
{
    std::printf("%s: %.2f ms, %.2f ms of the main thread%s\n", what, cost.ms, cost.threadMs, more);
}

static void execute(sqlite3 *store, const char *statement)
{
    char *fault = nullptr;
    if (sqlite3_exec(store, statement, nullptr, nullptr, &fault) != SQLITE_OK)
        throw std::runtime_error(fault);
}

/// A folder whose path is that long, or as short as it can be.
static Path makeFolder(int number, std::size_t length)
{
    const std::string parent = "folders/" + std::to_string(number % 100);
    const std::string name = "folder " + std::to_string(number);
    const std::size_t shortest = (PrivateHome::current().root() / parent / name).native().size();
    const std::string between = length > shortest + 1 ? std::string(length - shortest - 1, 'm') + '/' : std::string();
    return PrivateHome::current().makeFolder(parent + '/' + between + name);
}

/// Real folders with real alias records, written in one transaction.
static void recordFolders(const Path &store, int count, std::size_t length)
{
    HistoryFixture::openDatabase(store);
    sqlite3 *database = nullptr;
    sqlite3_open(store.c_str(), &database);
    sqlite3_stmt *insert = nullptr;
    execute(database, "BEGIN");
    sqlite3_prepare_v2(database, "INSERT INTO ZHISTORY VALUES (?, 1, 1, 1, ?, ?, ?, ?)", -1, &insert, nullptr);
    if (!insert)
        throw std::runtime_error(sqlite3_errmsg(database));
    for (int number = 1; number <= count; ++number) {
        const Path folder = makeFolder(number, length);
        const Bytes alias = *AliasManager::current().newAlias(folder);
        sqlite3_reset(insert);
        sqlite3_bind_int(insert, 1, number);
        sqlite3_bind_int(insert, 2, number % 101);
        sqlite3_bind_int64(insert, 3, std::int64_t(number) * 12345);
        sqlite3_bind_text(insert, 4, folder.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_blob(insert, 5, alias.data(), int(alias.size()), SQLITE_TRANSIENT);
        sqlite3_step(insert);
    }
    sqlite3_finalize(insert);
    execute(database, "COMMIT");
    sqlite3_close(database);
}

static void show(QTableView &table)
{
    table.verticalHeader()->setDefaultSectionSize(FoldersTableDelegate::kRowHeight);
    table.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    table.horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    table.resize(720, 340);
    table.show();
    table.grab();
}

static Cost frameOf(QTableView &table)
{
    QImage image(table.viewport()->size(), QImage::Format_ARGB32_Premultiplied);
    int place = 0;
    return medianOf(200, [&] {
        table.verticalScrollBar()->setValue(place += 997); // other rows each time
        QPainter painter(&image);
        table.viewport()->render(&painter);
    });
}

static void measureTable()
{
    auto *const array = new FoldersArrayController;
    DVTableView table;
    table.setItemDelegate(new FoldersTableDelegate(&table));
    PXHistoryController *history = nullptr;
    print("open the table", costOf([&] {
              history = PXHistoryController::sharedHistoryController();
              history->setFoldersArrayController(array);
              history->setFoldersTableView(&table);
              history->awakeFromNib();
              show(table);
          }));
    array->setSelectionIndexes({3, 70, array->rowCount() - 1});
    const std::vector<int> before = array->selectionIndexes();
    const auto refresh = [&] {
        history->savingsNeedRefreshing({});
        table.grab();
    };
    print("refresh, places known a moment ago", medianOf(5, refresh));
    std::vector<Cost> later;
    for (int round = 0; round < 3; ++round) {
        QThread::msleep(3200);
        QCoreApplication::processEvents();
        later.push_back(costOf(refresh));
    }
    print("refresh after a pause", median(later),
          array->selectionIndexes() == before ? ", the selection is kept" : ", the selection is LOST");
    print("scroll by a frame", frameOf(table));
    QTableView plain;
    plain.setModel(array);
    show(plain);
    print("scroll by a frame, plain table over the same rows", frameOf(plain));
}

static void measureSums(const Path &store, int count)
{
    sqlite3 *database = nullptr;
    sqlite3_open(store.c_str(), &database);
    execute(database, "DELETE FROM ZHISTORY");
    execute(database,
            ("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(count) +
             ") INSERT INTO ZHISTORY SELECT i, 1, 1, i % 2, 100, i * 9007199254740993, '/folder ' || i, NULL "
             "FROM n")
                .c_str());
    const HistoryModel model = HistoryFixture::model();
    const auto opened = HistoryStore::open(store, model);
    ByteCount sum = 0;
    ByteCount plainSum = 0;
    std::vector<double> ours, plain;
    for (int round = 0; round < 9; ++round) { // by turns, since other work on the machine comes and goes
        ours.push_back(costOf([&] { sum = *(*opened)->sumOfSavings(nullptr); }).threadMs);
        plain.push_back(costOf([&] {
                            sqlite3_stmt *query = nullptr;
                            sqlite3_prepare_v2(
                                database,
                                "SELECT SUM(ZSAVINGS & 4294967295), SUM((ZSAVINGS >> 32) & 4294967295) FROM ZHISTORY",
                                -1, &query, nullptr);
                            sqlite3_step(query);
                            plainSum = ByteCount(sqlite3_column_int64(query, 0)) +
                                       (ByteCount(sqlite3_column_int64(query, 1)) << 32);
                            sqlite3_finalize(query);
                        }).threadMs);
    }
    sqlite3_close(database);
    std::printf("sum of %d records: %.1f ms, C interface %.1f ms, %.2f times, the sums %s\n", count, median(ours),
                median(plain), median(ours) / median(plain), sum == plainSum ? "agree" : "DIFFER");
}

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const PrivateHome home;
    const QApplication application(argc, argv);
    installEngineServices();
    installPaneServices();
    const Path pane = Path(TAMSEL_PANE_RESOURCES).parent_path().parent_path();
    Bundles::current().remember(*Bundles::current().open(pane));
    const int folders = argc > 1 ? std::atoi(argv[1]) : 10'000;
    const int records = argc > 2 ? std::atoi(argv[2]) : 1'000'000;
    const std::size_t length = argc > 3 ? std::size_t(std::atoi(argv[3])) : 0;
    const Path store = *PXUtil::applicationSupportFolder() / PXHistoryController::kStoreFileName;
    std::printf("%d folders are made\n", folders);
    recordFolders(store, folders, length);
    measureTable();
    measureSums(store, records);
    std::fflush(stdout);
    std::_Exit(0); // the history controller, which lives for ever, still looks
}
