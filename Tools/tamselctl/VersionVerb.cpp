#include "Tools/tamselctl/Verbs.h"

#include "Classes/Util/PXVersionComparator.h"
#include "Tools/tamselctl/Invocation.h"

ExitCode compareVersions(Invocation &invocation)
{
    const std::string &version = invocation.operands[0], &other = invocation.operands[1];
    const int order = PXVersionComparator::defaultComparator().compareVersion(version, other);
    const char *const sign = order < 0 ? " < " : order > 0 ? " > " : " = ";
    Record record;
    record.add("version", version).add("other", other).add("order", std::int64_t(order));
    invocation.print(record, version + sign + other + "\n");
    return ExitCode::Done;
}
