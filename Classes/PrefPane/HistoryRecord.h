#pragma once

#include "Platform/Types.h"

#include <cstdint>
#include <string>

/// One record of the history: a folder that the helper has ever watched.
struct HistoryRecord
{
    std::int64_t key = 0;
    std::string folder; ///< the path as recorded, in the file system's bytes
    Bytes alias;        ///< an alias record; empty where none is kept
    bool isEnabled = false;
    std::uint32_t status = 0; ///< percent; more than 100 counts as 100
    ByteCount savings = 0;

    friend bool operator==(const HistoryRecord &, const HistoryRecord &) = default;
};
