#pragma once

#include "Platform/FileSystem.h"

#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

/// Paths that several walks may collect at once.
struct CollectedPaths
{
    std::mutex mutex;
    std::vector<std::string> paths;
};

/// Bits of a filter's answer.
inline constexpr std::uint32_t kPathAccepted = 1;
inline constexpr std::uint32_t kDoNotDescend = 2;

/// Asked of every path that a traversal meets, before what lies below it. May change what is there.
using TraversalFilter = std::function<std::uint32_t(const WalkEntry &entry)>;

/// Told of what cannot be read.
using TraversalFailure = std::function<void(const Path &path, const Failure &failure)>;

/// Walks `path` and, where it is a folder, everything below it, other volumes too; links are met, not followed. What
/// the filter accepts is added to `collected`, as the path that it really has, and is not descended into; without
/// `collected` only `kDoNotDescend` keeps the walk out. Without a filter nothing is accepted. What cannot be read is
/// passed over, and `unreadable` is told; where the walk has to give up, of `path`. A requested stop ends the walk.
/// Answers `collected`.
CollectedPaths *traverse_using_objc_filter(const Path &path, CollectedPaths *collected, const TraversalFilter &filter,
                                           std::stop_token stop = {}, const TraversalFailure &unreadable = {});
