#pragma once

#include "Platform/Types.h"

class PXPathUncompressor;

/// Told of the files that a path uncompressor expands; on the thread that runs it.
class PXPathUncompressorDelegate
{
public:
    virtual ~PXPathUncompressorDelegate() = default;

    virtual void uncompressorWillExpandFile(PXPathUncompressor &, const Path &) {}

    /// Comes after every `uncompressorWillExpandFile`, whether or not the file could be expanded.
    virtual void uncompressorDidExpandFile(PXPathUncompressor &, const Path &) {}

    /// The last that is heard of a run.
    virtual void uncompressorDidFinishExpandingPath(PXPathUncompressor &, const Path &) {}
};
