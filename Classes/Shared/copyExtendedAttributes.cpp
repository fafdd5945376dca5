#include "Classes/Shared/copyExtendedAttributes.h"

#include "Classes/Shared/KZXattrMetadataStore.h"
#include "Classes/Shared/map.h"
#include "Platform/FileSystem.h"
#include "Platform/asciiLowercase.h"

#include <algorithm>

bool copyExtendedAttributesFrom(const Path &from, const Path &to, const std::vector<std::string> &skipping)
{
    const std::vector<std::string> skipped = map(skipping, asciiLowercase);
    const Result<std::vector<std::string>> names = FileSystem::current().attributeNames(from, Links::NotFollow);
    // A source that cannot be listed is as one without attributes; but where only its companion cannot be read, there
    // are some that would be lost.
    bool isComplete = names || names.failure().code != ErrorCode::Corrupt;
    for (const std::string &name : names.valueOr({})) {
        if (std::find(skipped.begin(), skipped.end(), asciiLowercase(name)) != skipped.end())
            continue;
        const std::optional<Bytes> value = KZXattrMetadataStore::dataForKey(name, from, false);
        if (!value || !KZXattrMetadataStore::setData(*value, name, to, false))
            isComplete = false;
    }
    return isComplete;
}
