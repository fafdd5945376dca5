#include "Tools/tamselctl/Verbs.h"

#include "Classes/Util/PXUtil.h"
#include "Tools/tamselctl/Invocation.h"

ExitCode showSize(Invocation &invocation)
{
    const auto size = parseUnsigned(invocation.operands.front());
    if (!size)
        return invocation.refuse("no number of bytes: " + invocation.operands.front());
    const std::string pretty = PXUtil::getPrettySize(*size);
    invocation.print(Record().add("size", *size).add("prettySize", pretty), pretty + "\n");
    return ExitCode::Done;
}
