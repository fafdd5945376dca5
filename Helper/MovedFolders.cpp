#include "Helper/MovedFolders.h"

#include "Classes/Shared/Log.h"
#include "Platform/AliasManager.h"

#include <system_error>
#include <utility>

static constexpr std::chrono::seconds kPatience{5}; // what one search takes at most

MovedFolders::MovedFolders()
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatience);
    connect(&m_patience, &QTimer::timeout, this, &MovedFolders::finish);
}

MovedFolders::~MovedFolders() = default;

void MovedFolders::find(std::vector<Bytes> aliases, std::function<void()> done)
{
    m_done = std::move(done);
    m_patience.start();
    if (m_isSearching) // for others, and nobody waits for them any more
        return;
    try {
        m_isSearching = true;
        m_thread = std::jthread([this, records = std::move(aliases)](const std::stop_token &stop) { //
            search(records, stop);
        });
    } catch (const std::system_error &failure) {
        m_isSearching = false;
        logLine(std::string("Moved folders are not searched for: ") + failure.what());
        QMetaObject::invokeMethod(this, &MovedFolders::finish, Qt::QueuedConnection);
    }
}

void MovedFolders::search(const std::vector<Bytes> &aliases, const std::stop_token &stop)
{
    for (const Bytes &alias : aliases) {
        if (!stop.stop_requested())
            static_cast<void>(AliasManager::current().resolve(alias));
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_isSearching = false;
            finish();
        },
        Qt::QueuedConnection);
}

void MovedFolders::cancel()
{
    m_done = nullptr;
    m_patience.stop();
    m_thread.request_stop();
}

void MovedFolders::finish()
{
    m_patience.stop();
    if (const auto done = std::exchange(m_done, nullptr))
        done();
}
