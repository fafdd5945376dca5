#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/CompressedFileInspection.h"
#include "Tools/tamselctl/Invocation.h"

/// A fork can claim far more blocks than anybody wants to read.
static constexpr std::size_t kMostBlocks = 1'000'000;

static void addFork(Record &record, const CompressedFork &fork, std::vector<Record> blocks)
{
    record.add("dataOffset", fork.head.dataOffset);
    record.add("mapOffset", fork.head.mapOffset);
    record.add("dataLength", fork.head.dataLength);
    record.add("mapLength", fork.head.mapLength);
    record.add("dataSize", fork.blockHead.dataSize);
    record.add("numBlocks", fork.blockHead.numBlocks);
    record.add("blocks", std::move(blocks));
}

ExitCode inspectFile(Invocation &invocation)
{
    const Path path = invocation.operands.front();
    std::vector<Record> blocks;
    const auto inspection =
        CompressedFileInspection::inspect(path, [&blocks](std::uint32_t, const HFSPlusCmpfRsrcBlock &block) {
            if (blocks.size() < kMostBlocks)
                blocks.push_back(Record().add("blockOffset", block.blockOffset).add("blockSize", block.blockSize));
        });
    if (!inspection)
        return invocation.fail(inspection.failure());
    Record record;
    record.add("path", path.native());
    record.add("flags", inspection->flags);
    record.add("compressed", inspection->isCompressed());
    if (inspection->isCompressedByVolume())
        record.add("compressedByVolume", true);
    if (inspection->header) {
        record.add("compressionType", inspection->header->compressionType);
        record.add("uncompressedSize", inspection->header->uncompressedSize);
    }
    if (inspection->logicalSize)
        record.add("logicalSize", *inspection->logicalSize);
    record.add("occupiedSize", inspection->occupiedSize);
    record.add("dataForkSize", inspection->dataSize);
    record.add("resourceForkSize", inspection->forkSize);
    if (inspection->fork)
        addFork(record, *inspection->fork, std::move(blocks));
    const bool hasFork = inspection->isCompressed() && !inspection->isCompressedByVolume();
    const bool isDamaged = hasFork && !inspection->isSound();
    if (isDamaged)
        record.add("trouble", inspection->trouble);
    invocation.print(record);
    return isDamaged ? invocation.fail(path.native() + ": " + inspection->trouble) : ExitCode::Done;
}
