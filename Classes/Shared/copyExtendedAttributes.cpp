#include "Classes/Shared/copyExtendedAttributes.h"

#include "Classes/Shared/KZXattrMetadataStore.h"
#include "Classes/Shared/map.h"

#include <algorithm>

static std::string lowercase(std::string name)
{
    for (char &letter : name) {
        if (letter >= 'A' && letter <= 'Z')
            letter = char(letter - 'A' + 'a');
    }
    return name;
}

bool copyExtendedAttributesFrom(const Path &from, const Path &to, const std::vector<std::string> &skipping)
{
    const std::vector<std::string> skipped = map(skipping, lowercase);
    bool isComplete = true;
    for (const std::string &name : KZXattrMetadataStore::allKeysAtPath(from, false)) {
        if (std::find(skipped.begin(), skipped.end(), lowercase(name)) != skipped.end())
            continue;
        const std::optional<Bytes> value = KZXattrMetadataStore::dataForKey(name, from, false);
        if (!value || !KZXattrMetadataStore::setData(*value, name, to, false))
            isComplete = false;
    }
    return isComplete;
}
