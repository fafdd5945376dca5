#pragma once

#include "Platform/FileSystem.h"

#include <functional>
#include <map>
#include <stop_token>
#include <vector>

/// A volume on which there is less room than an expansion needs.
struct SpaceShortage
{
    Path volume; ///< where it is mounted
    ByteCount needed = 0;
    ByteCount available = 0;
};

/// Looks through what is to be expanded, before any of it is, and adds up how much there is to do and how much room
/// that takes on each volume. Changes nothing. Used once; one thread.
class ExpansionSurvey final
{
public:
    explicit ExpansionSurvey(std::stop_token stop)
        : m_stop(std::move(stop))
    {
    }

    /// Called with the number of entries met so far, often.
    void setProgressed(std::function<void(std::uint64_t entries)> progressed) { m_progressed = std::move(progressed); }

    /// Adds the file or everything below the folder, in the order in which it will be expanded. A path below one that
    /// was added counts again.
    void add(const Path &path);

    /// The files that would be expanded, and the bytes that they will have.
    std::uint64_t files() const { return m_files; }
    ByteCount bytes() const { return m_bytes; }

    /// The volumes on which there is too little room now. One whose room cannot be told is not among them.
    std::vector<SpaceShortage> shortages() const;

private:
    /// What happens to a volume as its files are expanded one after the other: the new file stands beside the old
    /// one for a moment, then what held the compressed content is given back.
    struct Volume
    {
        Path sample;            ///< a path on it
        ByteCount needed = 0;   ///< at the worst moment so far
        std::int64_t grown = 0; ///< by the files so far
    };

    bool visit(const WalkEntry &entry);

    std::stop_token m_stop;
    std::function<void(std::uint64_t)> m_progressed;
    std::map<std::uint64_t, Volume> m_volumes; ///< by device
    std::uint64_t m_entries = 0;
    std::uint64_t m_files = 0;
    ByteCount m_bytes = 0;
};
