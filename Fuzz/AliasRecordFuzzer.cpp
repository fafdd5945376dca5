// Whatever is read as an alias record can be described, written again, and is the same when it is read once more.

#include "Platform/Formats/AliasIdentity.h"
#include "Platform/Formats/AliasRecord.h"
#include "Platform/Utf8.h"

#include <cstdlib>

static void require(bool holds)
{
    if (!holds)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const ByteView bytes(data, size);
    if (const std::optional<AliasIdentity> identity = AliasIdentity::parse(bytes)) {
        require(AliasIdentity::parse(identity->encode()) == identity);
        require(!identity->birth || !identity->isOnVolumeOf(*identity) || identity->isSameAs(*identity));
    }
    const Result<AliasRecord> record = AliasRecord::parse(bytes);
    if (!record)
        return 0;
    const AliasInfo info = describe(*record);
    require(isUtf8(info.targetName) && isUtf8(info.volumeName));
    const Result<Bytes> written = record->encode();
    if (!written)
        return 0;
    Result<AliasRecord> again = AliasRecord::parse(*written);
    require(bool(again));
    // Version 2 has less room for reserved bytes and dates.
    again->reserved = record->reserved;
    again->volumeDate = record->volumeDate;
    again->targetDate = record->targetDate;
    require(*again == *record);
    return 0;
}
