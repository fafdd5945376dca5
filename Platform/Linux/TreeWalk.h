#pragma once

#include "Platform/FileSystem.h"
#include "Platform/Linux/Descriptor.h"

#include <deque>

/// One walk through a tree, relative to open directories, so that no path grows too long and no link is followed.
/// Memory and open descriptors stay within a bound however deep the tree is. One thread.
class TreeWalk final
{
public:
    using Visit = std::function<bool(const WalkEntry &)>;
    using Unreadable = std::function<void(const Path &, const Failure &)>;

    TreeWalk(const Visit &visit, const Unreadable &unreadable, std::stop_token stop, MountPoints mountPoints);

    Result<void> run(const Path &root);

private:
    /// A directory on the way down. A parked one has neither descriptor nor buffer, only its place.
    struct Level
    {
        std::size_t pathLength = 0; ///< its path is so much of `m_path`
        FileIdentity identity;
        Descriptor directory;
        std::vector<char> buffer;
        std::size_t position = 0;
        std::size_t filled = 0;
        std::int64_t resumeAt = 0; ///< where the entry after the last one met is found
    };

    /// Opens a directory below `parent`; nullopt when it must not be entered.
    Result<std::optional<Level>> open(int parent, const std::string &name, const Path &path) const;
    bool isWithin(const FileIdentity &directory) const;
    void push(Level level, const Path &path);
    void pop();
    Result<void> reopen(int parent, const char *name, Level &level) const;
    void step();
    void meet(const char *name);
    const Path &pathOf(const char *name);

    const Visit &m_visit;
    const Unreadable &m_unreadable;
    const std::stop_token m_stop;
    const MountPoints m_mountPoints;
    std::string m_path; ///< of the innermost level, and so of all of them: each path alone would be too much
    Path m_met;         ///< of the entry that was met last, or the innermost level with a slash
    std::deque<Level> m_levels;
    std::size_t m_parked = 0; ///< how many of the outermost levels are parked
};
