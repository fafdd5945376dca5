#include "Helper/SavingsRecorder.h"

#include "Helper/WatchedFolders.h"
#include "Platform/DistributedNotificationCenter.h"

#include <utility>

static constexpr int kPauseMs = 260; // four in a second, with something to spare

SavingsRecorder::SavingsRecorder(WatchedFolders &folders)
    : m_folders(folders)
{
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer); // others may be early, which adds up
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_isChanged)
            announce();
    });
}

void SavingsRecorder::note(qint64 key, unsigned status, ByteCount savings)
{
    m_waiting[key] = {status, savings};
    noteChange();
}

void SavingsRecorder::noteChange()
{
    m_isChanged = true;
    if (!m_pause.isActive())
        announce();
}

void SavingsRecorder::finish()
{
    announce();
}

void SavingsRecorder::write()
{
    for (const auto &[key, progress] : std::exchange(m_waiting, {}))
        m_folders.setProgress(key, progress.status, progress.savings);
}

void SavingsRecorder::announce()
{
    write();
    m_isChanged = false;
    DistributedNotificationCenter::current().post("pellixSavingsChanged");
    m_pause.start(kPauseMs);
}
