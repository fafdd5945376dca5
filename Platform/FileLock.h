#pragma once

/// Holds a lock until it is destroyed or the process ends, however it ends.
class FileLock
{
public:
    virtual ~FileLock() = default;
};
