#include "Tools/tamselctl/Verbs.h"

#include "Classes/PrefPane/PXExclusionRules.h"
#include "Tools/tamselctl/Invocation.h"

static void printVerdict(const Invocation &invocation, const std::string &path, const ExclusionRuleSet &rules)
{
    const auto match = rules.matchForPath(path);
    const std::string kind = match ? nameOf(match->kind) : "";
    const std::string rule = match ? match->rule : "";
    Record record;
    record.add("path", path).add("excluded", match.has_value()).add("kind", kind).add("rule", rule);
    invocation.print(record, path + (match ? ": excluded, " + kind + " " + rule : ": not excluded") + "\n");
}

ExitCode showExclusionByRules(Invocation &invocation)
{
    ExclusionRuleSet given;
    ExclusionRuleSet &rules = invocation.options.contains("--only") ? given : *PXExclusionRules::sharedExclusionRules();
    for (const std::string &file : invocation.allArguments["--rules"]) {
        if (const auto added = rules.addRulesOf(file); !added)
            return invocation.fail(added.failure());
    }
    for (const std::string &path : invocation.operands)
        printVerdict(invocation, path, rules);
    return ExitCode::Done;
}
