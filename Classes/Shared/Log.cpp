#include "Classes/Shared/Log.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <unistd.h>

static std::atomic<void (*)(const std::string &)> s_sink = nullptr;

void logLine(const std::string &line)
{
    if (const auto sink = s_sink.load()) {
        sink(line);
        return;
    }
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local = {};
    localtime_r(&now, &local);
    char stamp[32] = {};
    std::strftime(stamp, sizeof stamp, "%F %T", &local);
    std::fprintf(stderr, "%s [%d] %s\n", stamp, int(::getpid()), line.c_str());
}

void setLogSink(void (*sink)(const std::string &line))
{
    s_sink = sink;
}
