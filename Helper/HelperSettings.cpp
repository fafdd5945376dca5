#include "Helper/HelperSettings.h"

#include "Classes/Shared/truthOf.h"
#include "Platform/PropertyList.h"

HelperSettings HelperSettings::read(const Path &file)
{
    const Result<PropertyList> list = PropertyList::read(file);
    HelperSettings settings;
    if (!list) {
        if (list.failure().code != ErrorCode::NotFound)
            settings.trouble = list.failure().context;
        return settings;
    }
    if (!list->as<PropertyList::Dictionary>())
        settings.trouble = "no dictionary: " + file.native();
    settings.active = truthOf(list->find("active")).value_or(settings.active);
    settings.checkUpdates = truthOf(list->find("checkUpdates")).value_or(settings.checkUpdates);
    settings.visible = truthOf(list->find("visible")).value_or(settings.visible);
    return settings;
}
