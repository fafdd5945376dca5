// A plug-in for something else, which ends the process of whoever runs its code.

#include <QObject>
#include <QtPlugin>

#include <cstdlib>

namespace {

const bool s_isRun = []() -> bool { std::abort(); }();

class ForeignPlugin final : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.dovrane.test.Foreign")
};

} // namespace

#include "ForeignPlugin.moc"
