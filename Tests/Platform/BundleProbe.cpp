#include "Platform/Bundle.h"
#include "Platform/Services.h"

#include <cstdio>

/// Says in which bundle it runs: its path and identifier, or why in none.
int main()
{
    installEngineServices();
    const Result<Bundle> bundle = Bundles::current().main();
    if (bundle)
        std::printf("%s %s", bundle->path().c_str(), bundle->identifier().c_str());
    else
        std::printf("failed %d", int(bundle.failure().code));
}
