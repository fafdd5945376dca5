#include "Helper/HelperStart.h"

#include "Platform/ApplicationName.h"

#include <QPointer>
#include <QTimer>

static constexpr int kRetryMs = 50;
static constexpr int kLongestWaitMs = 5000; // one that was told to quit is gone within a second on most machines

HelperStart::HelperStart(Path lockFile, std::string identifier)
    : m_lockFile(std::move(lockFile))
    , m_identifier(std::move(identifier))
{
}

void HelperStart::begin()
{
    m_elapsed.start();
    tryLock();
}

void HelperStart::tryLock()
{
    auto lock = ThisProcess::current().lockFile(m_lockFile);
    if (lock) {
        m_lock = *std::move(lock);
        Q_EMIT admitted();
    } else if (lock.failure().code == ErrorCode::Busy) {
        handOver();
    } else {
        Q_EMIT failed(lock.failure().context);
    }
}

void HelperStart::handOver()
{
    ApplicationName::current().activateOwner(m_identifier, {}, [this, guard = QPointer(this)](bool isAnswered) {
        if (!guard)
            return;
        if (isAnswered || m_elapsed.elapsed() > kLongestWaitMs)
            Q_EMIT handedOver();
        else
            QTimer::singleShot(kRetryMs, this, &HelperStart::tryLock);
    });
}
