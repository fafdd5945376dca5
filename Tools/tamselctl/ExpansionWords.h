#pragma once

#include "Classes/PrefPane/PXPathUncompressorObserver.h"
#include "Classes/Shared/ExpansionOutcome.h"

/// What an outcome is called in JSON, and to people.
struct ExpansionWords
{
    const char *key;
    const char *text;
};

ExpansionWords wordsFor(ExpansionOutcome::Result result);
ExpansionWords wordsFor(PXPathUncompressorObserver::LeftAlone reason);

/// Whether it is no failure but a reason to leave the file as it is.
bool isLeftAlone(ExpansionOutcome::Result result);
