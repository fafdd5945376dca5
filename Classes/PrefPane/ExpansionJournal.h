#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Lines of text that are too many to be kept in memory: compressed, in a file of the user's temporary folder, which
/// goes with this. Written by one thread, then read by one.
class ExpansionJournal final
{
public:
    ExpansionJournal();
    ~ExpansionJournal();
    ExpansionJournal(const ExpansionJournal &) = delete;
    ExpansionJournal &operator=(const ExpansionJournal &) = delete;

    /// Adds a line. What cannot be kept is noted: `read` will fail.
    void append(std::string_view line);

    /// Nothing more will be appended.
    void close();

    /// Hands over the text piece by piece until `take` answers false. Errors: NoSpace, Io when the lines, or some of
    /// them, could not be kept or cannot be read; what could be is handed over all the same.
    Result<void> read(const std::function<bool(std::string_view piece)> &take) const;

private:
    Path m_path;
    void *m_file = nullptr; ///< of zlib
    std::optional<Failure> m_failure;
};
