#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

struct UniqueFile;

/// Lines of text that are too many to be kept in memory: compressed, in a file on the user's temporary folder's volume
/// that has no name, so that nothing of it is ever left. Written by one thread, then read by one.
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
    void open(const UniqueFile &file);

    Path m_path;              ///< for what is said of failures
    void *m_writer = nullptr; ///< of zlib, as the next; nullptr once it is closed
    void *m_reader = nullptr;
    std::optional<Failure> m_failure;
};
