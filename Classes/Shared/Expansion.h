#pragma once

#include "Classes/Shared/BlockInflater.h"
#include "Classes/Shared/CompressedBlockReader.h"
#include "Classes/Shared/Error.h"
#include "Classes/Shared/ExpansionOutcome.h"
#include "Platform/FileSystem.h"

#include <stop_token>

/// One run of turning a compressed file into an ordinary one, step by step: nothing is changed before it is sure that
/// nobody else needs what will be given up, and the destination is touched by the last rename alone. Used once; one
/// thread.
class Expansion final
{
public:
    struct Request
    {
        Path source;
        Path destination;
        bool doIgnoreFlag = false;
        std::stop_token stop;
        std::optional<FileIdentity> expected = std::nullopt; ///< the source must be this file
    };

    /// The domain of the errors.
    static constexpr char kErrorDomain[] = "com.dovrane.tamsel.hfs";

    explicit Expansion(Request request);

    /// Whether the destination is the expanded file now. Errors: 700, 705 and 706; other failures have none.
    bool run(Error *error);

    const ExpansionOutcome &outcome() const { return m_outcome; }

private:
    using Outcome = ExpansionOutcome::Result;

    void examine();
    bool checkNothingIsLost();
    bool checkContent();
    bool clearFlag();
    void removeAbandoned();
    bool openFork();
    bool openOutput();
    bool inflateBlocks();
    bool inflateBlock(const HFSPlusCmpfRsrcBlock &block, ByteCount &position);
    void setFlagAgain();
    bool copyAttributes();
    bool haveAttributesArrived() const;
    bool rememberOldCompanion();
    bool disownCompanion();
    bool replace();
    Outcome reasonOfRefusal() const;
    void discardWhatIsReplaced(bool isLasting, const FileIdentity &output);
    std::string reasonToKeepFork() const;
    Result<void> discardFork();
    Result<void> discardOldCompanion();

    bool fail(Outcome result, const std::string &reason = {});
    bool failToWrite(Outcome result, const Failure &failure);
    bool failWithError(Outcome result, int code, const std::string &message, const std::string &reason = {});
    bool isInPlace() const { return m_request.source == m_request.destination; }
    bool replacesSource() const { return m_destination && m_destination->identity == m_source->identity; }

    const Request m_request;
    FileSystem &m_files;
    ExpansionOutcome m_outcome;
    Error *m_error = nullptr;

    std::optional<FileStatus> m_destination; ///< as it was examined; nullopt when it did not exist
    std::optional<FileStatus> m_source;
    std::vector<std::string> m_oldNames;     ///< of the attributes of another destination
    std::unique_ptr<ReadableFork> m_oldFork; ///< of another destination
    std::optional<Failure> m_unreadable;     ///< why one of them cannot be looked at
    std::uint32_t m_savedFlags = 0;          ///< of the destination, as the file manager reports them
    std::optional<ByteCount> m_statedSize;   ///< by a valid header
    bool m_isHeaderUnreadable = false;

    std::unique_ptr<FileLock> m_lock; ///< of the source
    std::unique_ptr<ReadableFork> m_openedFork;
    std::optional<CompressedBlockReader> m_blocks;
    std::unique_ptr<OutputFile> m_output;
    Path m_outputPath;
    BlockInflater m_inflater;
    Bytes m_packed;
    Bytes m_content;
};
