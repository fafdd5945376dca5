#pragma once

#include "Classes/PrefPane/PXPathUncompressor.h"
#include "Classes/Shared/LeftLocks.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

/// Writes down what a run tells, by the names of the files.
class ExpansionListener final : public PXPathUncompressorDelegate, public PXPathUncompressorObserver
{
public:
    void uncompressorWillExpandFile(PXPathUncompressor &, const Path &path) override
    {
        note("will", path);
        if (onWill)
            onWill(path);
    }
    void uncompressorDidExpandFile(PXPathUncompressor &, const Path &path) override { note("did", path); }
    void uncompressorDidFinishExpandingPath(PXPathUncompressor &uncompressor, const Path &path) override
    {
        note("finished", path);
        statusAtTheEnd = uncompressor.status();
        locksAtTheEnd = LeftLocks::count();
    }
    void fileLeftAlone(const Path &path, LeftAlone reason) override { leftAlone[path.filename()] = reason; }
    void pathUnreadable(const Path &path, const Failure &) override { unreadable.push_back(path.filename()); }
    void expansionEnded(const Path &path, const ExpansionOutcome &outcome) override
    {
        outcomes[path.filename()] = outcome.result;
        if (onEnd)
            onEnd();
    }

    std::vector<std::string> messages;
    std::map<std::string, LeftAlone> leftAlone;
    std::vector<std::string> unreadable;
    std::map<std::string, ExpansionOutcome::Result> outcomes;
    std::int32_t statusAtTheEnd = -1;
    std::size_t locksAtTheEnd = 0;
    std::function<void(const Path &)> onWill;
    std::function<void()> onEnd;

private:
    void note(const std::string &message, const Path &path)
    {
        messages.push_back(message + " " + path.filename().native());
    }
};
