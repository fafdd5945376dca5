#include "Classes/PrefPane/TamselPref.h"
#include "Platform/Services.h"

/// The plug-in's one export: makes the principal class. In a host of ours the services are installed already.
class TamselPrefPlugin final : public QObject, public PreferencePanePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PreferencePanePlugin_iid)
    Q_INTERFACES(PreferencePanePlugin)

public:
    std::unique_ptr<PreferencePane> makePane(const Bundle &bundle) override
    {
        installEngineServices();
        installPaneServices();
        Bundles::current().remember(bundle); // the resources of its classes are found by its identifier
        return std::make_unique<TamselPref>(bundle);
    }
};

#include "TamselPrefPlugin.moc"
