#pragma once

#include "Platform/Result.h"

#include <string>

/// What a class reports of a failure: who counts the codes, the code, and a text for logs.
struct Error
{
    std::string domain;
    int code = 0;
    std::string message;
};

/// Writes `failure` to `error` when the caller wants to know, with the system's error number as the code: EIO where it
/// gave none, since 0 would say that nothing failed.
inline void report(const Failure &failure, const std::string &domain, Error *error)
{
    if (error)
        *error = {domain, failure.systemError != 0 ? failure.systemError : EIO, failure.context};
}
