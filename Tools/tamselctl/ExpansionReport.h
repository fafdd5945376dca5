#pragma once

#include "Classes/PrefPane/PXPathUncompressorDelegate.h"
#include "Classes/PrefPane/PXPathUncompressorObserver.h"
#include "Tools/tamselctl/Invocation.h"

#include <map>

/// Says what runs of an expansion do, and counts; one for all paths of an invocation, which must outlive it.
class ExpansionReport final : public PXPathUncompressorDelegate, public PXPathUncompressorObserver
{
public:
    explicit ExpansionReport(const Invocation &invocation)
        : m_invocation(invocation)
    {
    }

    void uncompressorWillExpandFile(PXPathUncompressor &, const Path &path) override;
    void expansionEnded(const Path &path, const ExpansionOutcome &outcome) override;
    void uncompressorDidExpandFile(PXPathUncompressor &, const Path &path) override;
    void uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &path) override;
    void fileLeftAlone(const Path &path, LeftAlone reason) override;
    void pathUnreadable(const Path &path, const Failure &failure) override;

    /// The last line, which says whether the whole was interrupted.
    void summarize(bool isCancelled) const;

    bool hasFailed() const { return !m_failed.empty(); }

private:
    using Counts = std::map<std::string, std::uint64_t>;

    const Invocation &m_invocation;
    ExpansionOutcome m_last;
    std::uint64_t m_expanded = 0;
    ByteCount m_bytes = 0;
    Counts m_leftAlone;
    Counts m_failed;
    std::vector<std::string> m_flagsLeftCleared;
    std::vector<std::string> m_forksKept;
};
