#include "Platform/Linux/Qt/MountWatch.h"

#include <chrono>

#include <fcntl.h>

using namespace std::chrono_literals;

static constexpr auto kSettled = 100ms; // a disk that is plugged in is mounted in several steps

MountWatch::MountWatch(QObject *parent)
    : QObject(parent)
    , m_table(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC))
{
    if (!m_table)
        return;
    m_settled.setSingleShot(true);
    m_settled.setInterval(kSettled);
    connect(&m_settled, &QTimer::timeout, this, &MountWatch::changed);
    // The kernel shows a change as an exception, once for each that was not seen.
    m_notifier = std::make_unique<QSocketNotifier>(m_table.get(), QSocketNotifier::Exception);
    connect(m_notifier.get(), &QSocketNotifier::activated, &m_settled, qOverload<>(&QTimer::start));
}
