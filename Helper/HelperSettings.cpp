#include "Helper/HelperSettings.h"

#include "Classes/Shared/Log.h"
#include "Classes/Shared/truthOf.h"
#include "Platform/PropertyList.h"

HelperSettings HelperSettings::read(const Path &file)
{
    const Result<PropertyList> list = PropertyList::read(file);
    if (!list) {
        if (list.failure().code != ErrorCode::NotFound)
            logLine("Settings cannot be read, the built-in ones hold: " + list.failure().context);
        return {};
    }
    HelperSettings settings;
    settings.active = truthOf(list->find("active")).value_or(settings.active);
    settings.checkUpdates = truthOf(list->find("checkUpdates")).value_or(settings.checkUpdates);
    settings.visible = truthOf(list->find("visible")).value_or(settings.visible);
    return settings;
}
