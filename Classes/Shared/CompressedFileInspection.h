#pragma once

#include "Platform/Formats/CompressedFile.h"

#include <functional>

/// What can be said about how one file is stored. A value.
struct CompressedFileInspection
{
    std::uint32_t flags = 0;
    std::optional<HFSPlusDecmpfs> header; ///< of `com.apple.decmpfs`; nullopt when missing or damaged
    std::optional<CompressedFork> fork;   ///< nullopt when there is none, or its head is damaged
    ByteCount forkSize = 0;               ///< 0 when there is none
    ByteCount dataSize = 0;               ///< of the data fork
    std::optional<ByteCount> logicalSize; ///< nullopt when it cannot be said
    ByteCount occupiedSize = 0;
    std::string trouble;          ///< the first thing that keeps the file from being expanded; empty when there is none
    std::string troubleOfContent; ///< the same, whether or not the file's flag says that it is compressed

    bool isCompressed() const { return flags & kCompressedFlag; }

    /// Whether that is its volume's own doing, beneath the file: there is no fork then, and nothing to be expanded.
    bool isCompressedByVolume() const { return isCompressed() && dataSize > 0; }

    /// Whether the whole content can be had from the fork: every block was inflated.
    bool isSound() const { return trouble.empty(); }

    /// Called for each entry of the block table in its order, as far as it can be read.
    using EachBlock = std::function<void(std::uint32_t index, const HFSPlusCmpfRsrcBlock &block)>;

    /// Looks at the file; a final link is not followed. Errors: NotFound, Permission, NotSupported (not a regular
    /// file), Io. What is damaged is no error but told in `trouble`.
    static Result<CompressedFileInspection> inspect(const Path &path, const EachBlock &eachBlock = {});
};
