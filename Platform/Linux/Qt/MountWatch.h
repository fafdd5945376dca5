#pragma once

#include "Platform/Linux/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <memory>

/// Tells when the table of mounts of this process changes. Where there is no such table it never does. Main thread.
class MountWatch final : public QObject
{
    Q_OBJECT

public:
    explicit MountWatch(QObject *parent = nullptr);

Q_SIGNALS:
    /// Once for changes that follow each other closely.
    void changed();

private:
    Descriptor m_table;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QTimer m_settled;
};
