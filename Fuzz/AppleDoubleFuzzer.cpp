#include "Platform/Formats/AppleDouble.h"
#include "Platform/Formats/CompressedFile.h"
#include "Platform/Formats/MemoryFork.h"

#include <cstdlib>

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Whatever the companion claims lies within it, and what was understood is written and read back the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const MemoryFork file{Bytes(data, data + size)};
    const Result<AppleDoubleLayout> layout = readAppleDouble(file);
    if (!layout)
        return 0;
    ByteCount total = 0;
    const auto take = [&](const ByteRange &range) {
        require(range.offset <= size && range.length <= size - range.offset);
        total += range.length;
        const std::size_t length = total <= size * 4 ? std::size_t(range.length) : 0; // values may overlap
        return Bytes(data + range.offset, data + range.offset + length);
    };
    AppleDoubleContent content;
    for (const auto &attribute : layout->attributes)
        content.attributes.push_back({attribute.name, take(attribute.value)});
    for (const auto &entry : layout->others)
        content.others.push_back({entry.identifier, take(entry.content)});
    if (layout->resourceFork)
        (void)readCompressedFork(MemoryFork(take(*layout->resourceFork)));
    Result<Bytes> head = appleDoubleHead(content, 0);
    require(bool(head));
    const Result<AppleDoubleLayout> again = readAppleDouble(MemoryFork(*head));
    require(bool(again));
    require(again->attributes.size() == content.attributes.size() && again->others.size() == content.others.size());
    return 0;
}
