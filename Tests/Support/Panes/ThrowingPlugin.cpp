// A plug-in that throws when it is made.

#include "Platform/PreferencePane.h"

#include <QObject>

#include <stdexcept>

namespace {

class ThrowingPlugin final : public QObject, public PreferencePanePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PreferencePanePlugin_iid)
    Q_INTERFACES(PreferencePanePlugin)

public:
    ThrowingPlugin() { throw std::runtime_error("no plug-in today"); }

    std::unique_ptr<PreferencePane> makePane(const Bundle &) override { return nullptr; }
};

} // namespace

#include "ThrowingPlugin.moc"
