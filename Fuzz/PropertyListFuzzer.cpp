#include "Platform/PropertyList.h"

#include <cstdlib>

/// Whatever is read can be written in the binary form, and is read from there to be written alike.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Result<PropertyList> list = PropertyList::parse(ByteView(data, size));
    if (!list)
        return 0;
    const Result<Bytes> binary = list->toBinary();
    if (!binary)
        std::abort();
    const Result<PropertyList> again = PropertyList::parse(*binary);
    if (!again || *again->toBinary() != *binary)
        std::abort();
    // XML cannot hold every list; what it holds it gives back, but for the fractions of dates.
    if (const Result<Bytes> xml = list->toXml()) {
        const Result<PropertyList> fromXml = PropertyList::parse(*xml);
        if (!fromXml || *fromXml->toXml() != *xml)
            std::abort();
    }
    return 0;
}
