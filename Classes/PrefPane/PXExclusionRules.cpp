#include "Classes/PrefPane/PXExclusionRules.h"

#include "Platform/Bundle.h"

static constexpr const char *kSystemRules =
    "/System/Library/PrivateFrameworks/AppleFSCompression.framework/Resources/SystemCompressionRules.plist";

bool PXExclusionRules::mustExcludePath(const std::string &path)
{
    return sharedExclusionRules()->ExclusionRuleSet::mustExcludePath(path);
}

void PXExclusionRules::loadExclusionRules()
{
    loadRulesAt(kSystemRules);
    const Result<Bundle> bundle = Bundles::current().main();
    if (!bundle)
        return;
    if (const std::optional<Path> own = bundle->resource("ExclusionRules", "plist"))
        loadRulesAt(*own);
}
