#pragma once

#include "Platform/Result.h"
#include "Platform/Types.h"

/// Builds the resource fork of a compressed file. No instances; any thread.
class CompressedForkBuilder final
{
public:
    CompressedForkBuilder() = delete;

    /// The whole fork of a file with that content. Errors: NotSupported when a block would take more than 65536 bytes,
    /// which the expander does not read; TooLarge when the fork would exceed 32 bits; Io when memory is short.
    static Result<Bytes> build(ByteView content);
};
