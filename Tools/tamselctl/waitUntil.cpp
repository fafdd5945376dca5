#include "Tools/tamselctl/waitUntil.h"

#include <QEventLoop>
#include <QTimer>

#include <chrono>

using namespace std::chrono_literals;

static constexpr auto kPatience = 10s;

bool waitUntil(const std::function<bool()> &isDone)
{
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        if (isDone())
            loop.quit();
    });
    look.start(20ms);
    QTimer::singleShot(kPatience, &loop, &QEventLoop::quit);
    loop.exec();
    return isDone();
}
