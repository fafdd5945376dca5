#pragma once

#include "Classes/Shared/CompressionFacts.h"
#include "Classes/Shared/WriterWatch.h"

#include <stop_token>
#include <vector>

/// Has one file compressed by its volume, if nothing speaks against it, and finds out what is saved. The file is whole
/// at any time and the same afterwards in all that is seen of it. Used once; only on the one thread that does so.
class FileCompression final
{
public:
    using Reason = CompressionFacts::Reason;

    struct Request
    {
        Path path;
        FileStatus status; ///< as it was met; any other file that is at the path by now is refused
        bool isExcluded = false;
        CompressionFacts::Limits limits;
        std::int64_t now = 0; ///< seconds since 1970
        std::stop_token stop;
    };

    struct Outcome
    {
        std::optional<Reason> leftAlone;
        std::optional<Failure> failure;
        bool isStopped = false;
        ByteCount rewritten = 0; ///< bytes of content that were written anew
        ByteCount savings = 0;   ///< bytes by which what it occupies is less than its content, whoever compressed it
    };

    explicit FileCompression(Request request);

    Outcome run();

private:
    /// Content that the volume compresses in one go.
    struct Stretch
    {
        ByteCount offset = 0;
        ByteCount length = 0;
        ByteCount occupied = 0; ///< when it is compressed

        bool isShrinking(ByteCount blockSize) const;
    };

    bool examine();
    bool open();
    bool compress();
    bool compressWindow(ByteCount start, ByteCount &end);
    bool lookAt(const StoredExtent &plain);
    bool isWorthIt() const;
    Result<Stretch> look(ByteCount offset, ByteCount length);
    bool rewrite(bool areShrinking);
    bool rewrite(ByteCount offset, ByteCount length, bool isShrinking);
    bool addSavings(ByteCount start, ByteCount end);
    bool addSavingsOf(const StoredExtent &compressed);
    template <class Visit>
    bool eachExtent(ByteCount start, ByteCount end, Visit visit);
    bool leave(Reason reason);
    bool fail(const Failure &failure);
    bool isGoingOn();

    const Request m_request;
    Outcome m_outcome;
    CompressionFacts m_facts;
    std::unique_ptr<CompressibleFile> m_file;
    std::optional<WriterWatch> m_watch;
    std::vector<Stretch> m_plain; ///< of the part of the file that is dealt with
    Bytes m_content;
    std::size_t m_strangers = 0; ///< extents met that were compressed before
    ByteCount m_measured = 0;    ///< content of those that were looked at, at least a byte once there are any
    ByteCount m_measuredSavings = 0;
};
