#include "Classes/Shared/keepAside.h"

#include "Platform/FileSystem.h"

#include <ctime>

static constexpr int kMostInASecond = 100;

bool isUnreadableForGood(const Failure &failure)
{
    switch (failure.code) {
    case ErrorCode::Corrupt:
    case ErrorCode::TooLarge:
    case ErrorCode::NotSupported: // no file at all
    case ErrorCode::Permission:
        return true;
    default:
        return false;
    }
}

Result<Path> keepAside(const Path &file)
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    char date[32] = {};
    std::strftime(date, sizeof date, "%Y-%m-%d-%H%M%S", &local);
    for (int number = 1; number < kMostInASecond; ++number) {
        const std::string suffix = number == 1 ? std::string() : "-" + std::to_string(number);
        const Path aside = file.native() + ".damaged-" + date + suffix;
        const Result<void> moved = FileSystem::current().moveWithoutReplacing(file, aside);
        if (moved)
            return aside;
        if (moved.failure().code != ErrorCode::Exists)
            return moved.failure();
    }
    return Failure{ErrorCode::Exists, 0, "no free name beside " + file.native()};
}
