// HistoryWriter [--as-nobody] STORE: opens the store as the helper does, then obeys one command a line and answers each
// with a line: "add PATH", "remove PATH", "progress KEY STATUS SAVINGS", "lock", "unlock". What fails is answered with
// "failed CODE".
#include "Platform/Services.h"
#include "Tests/Support/HistoryFixture.h"

#include <QCoreApplication>

#include <iostream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;

template <class T>
std::string answer(const Result<T> &result)
{
    if (!result)
        return "failed " + std::to_string(static_cast<int>(result.failure().code)) + " " + result.failure().context;
    return std::to_string(static_cast<long long>(*result));
}

template <>
std::string answer(const Result<void> &result)
{
    return result ? "done" : answer(Result<int>(result.failure()));
}

class Writer final
{
public:
    explicit Writer(Path store)
        : m_store(std::move(store))
    {
    }

    std::string open()
    {
        Result<std::unique_ptr<HistoryDatabase>> database =
            HistoryDatabase::open(m_store, HistoryFixture::seed(), m_model);
        if (!database)
            return answer(Result<void>(database.failure()));
        m_database = *std::move(database);
        return "open";
    }

    std::string obey(const std::string &line)
    {
        std::istringstream words(line);
        std::string verb;
        words >> verb >> std::ws;
        if (verb == "lock")
            return lock();
        if (verb == "unlock")
            return unlock();
        if (verb == "progress") {
            qint64 key = 0;
            unsigned status = 0;
            ByteCount savings = 0;
            words >> key >> status >> savings;
            return answer(m_database->setProgress(key, status, savings));
        }
        std::string path;
        std::getline(words, path);
        if (verb == "add")
            return answer(m_database->addFolder(path, bytesOf("alias of " + path)));
        if (verb == "remove")
            return HistoryFixture::removeFolder(*m_database, path) ? "1" : "0";
        return "failed: unknown command";
    }

private:
    std::string lock()
    {
        m_database.reset();
        Result<std::unique_ptr<SqliteConnection>> connection =
            SqliteConnection::open(m_store, SqliteConnection::Mode::ReadWrite, 1000);
        if (!connection)
            return answer(Result<void>(connection.failure()));
        m_lock = *std::move(connection);
        for (const char *statement : {"PRAGMA locking_mode = EXCLUSIVE", "BEGIN EXCLUSIVE",
                                      "UPDATE Z_PRIMARYKEY SET Z_MAX = Z_MAX", "COMMIT"}) {
            if (const Result<QSqlQuery> query = m_lock->run(statement); !query)
                return answer(Result<void>(query.failure()));
        }
        return "locked";
    }

    std::string unlock()
    {
        m_lock.reset();
        return open();
    }

    Path m_store;
    HistoryModel m_model = HistoryFixture::model();
    std::unique_ptr<HistoryDatabase> m_database;
    std::unique_ptr<SqliteConnection> m_lock;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    installEngineServices();
    const bool asNobody = argc == 3 && std::string(argv[1]) == "--as-nobody";
    if (argc != 2 && !asNobody)
        return 2;
    Writer writer(argv[argc - 1]);
    // Not sooner: the program and what belongs to it may lie where only its owner gets.
    if (asNobody && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
        return 1;
    std::cout << writer.open() << std::endl;
    for (std::string line; std::getline(std::cin, line);)
        std::cout << writer.obey(line) << std::endl;
    return 0;
}
