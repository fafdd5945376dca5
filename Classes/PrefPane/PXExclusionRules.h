#pragma once

#include "Classes/PrefPane/ExclusionRuleSet.h"
#include "Classes/Shared/SharedInstance.h"

/// The rules of this process: the operating system's and the application's own. The user's excluded paths and
/// extensions are no part of them. Made and loaded on first use, on whatever thread that is, and never again. Matching
/// and adding as in `ExclusionRuleSet`.
class PXExclusionRules final : public ExclusionRuleSet
{
public:
    static PXExclusionRules *sharedExclusionRules() { return SharedInstance<PXExclusionRules>::shared(); }

    /// The instance, or nullptr when there is one already.
    static PXExclusionRules *alloc() { return SharedInstance<PXExclusionRules>::alloc(); }

    /// What the single instance says.
    static bool mustExcludePath(const std::string &path);

    /// Adds the rules of the operating system's file and of "ExclusionRules.plist" in the resources of the main bundle,
    /// which is that of the running program. A file that is missing is no fault.
    void loadExclusionRules();

private:
    friend class SharedInstance<PXExclusionRules>;

    PXExclusionRules() = default;
    void init() { loadExclusionRules(); }
};
