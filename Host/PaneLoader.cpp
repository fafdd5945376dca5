#include "Host/PaneLoader.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonObject>
#include <QPluginLoader>

#include <exception>

static QString tr(const char *text)
{
    return QCoreApplication::translate("PaneLoader", text);
}

static QString fileName(const Path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

static PaneFault faultOf(const Failure &failure, const Path &path)
{
    const QString detail = QString::fromStdString(failure.context);
    switch (failure.code) {
    case ErrorCode::NotFound:
        return {tr("There is no preference pane at %1.").arg(fileName(path)), detail};
    case ErrorCode::Permission:
        return {tr("You are not allowed to read it."), detail};
    case ErrorCode::Corrupt:
    case ErrorCode::TooLarge:
        return {tr("Its description (Info.plist) is damaged."), detail};
    default:
        return {tr("It could not be read."), detail};
    }
}

static PaneOrFault makePane(QPluginLoader &loader, const Bundle &bundle)
{
    auto *const plugin = qobject_cast<PreferencePanePlugin *>(loader.instance());
    if (!plugin)
        return PaneFault{tr("Its program could not be loaded."), loader.errorString()};
    std::unique_ptr<PreferencePane> pane = plugin->makePane(bundle);
    if (!pane)
        return PaneFault{tr("Its program made no preference pane."), {}};
    Bundles::current().remember(bundle);
    return pane;
}

PaneOrFault loadPane(const Path &path)
{
    const Result<Bundle> bundle = Bundles::current().open(path);
    if (!bundle)
        return faultOf(bundle.failure(), path);
    const std::string identifier = bundle->identifier();
    const std::optional<Bundle> other =
        identifier.empty() ? std::nullopt : Bundles::current().withIdentifier(identifier);
    if (other && other->path() != bundle->path())
        return PaneFault{tr("Another copy of it is open already: %1").arg(fileName(other->path())), {}};

    const Path executable = bundle->executable();
    if (executable.empty() || !QFile::exists(fileName(executable)))
        return PaneFault{tr("Its program is missing."), fileName(executable)};
    QPluginLoader loader(fileName(std::filesystem::absolute(executable)));
    // What the file says of itself is looked at before any of its code runs.
    const QString interface = loader.metaData().value(QLatin1String("IID")).toString();
    if (interface.isEmpty())
        return PaneFault{tr("Its program could not be loaded."), loader.errorString()};
    if (interface != QLatin1String(PreferencePanePlugin_iid))
        return PaneFault{tr("Its program is no preference pane."), interface};
    try {
        return makePane(loader, *bundle);
    } catch (const std::exception &thrown) {
        return PaneFault{tr("Its program failed while it was started."), QString::fromUtf8(thrown.what())};
    } catch (...) {
        return PaneFault{tr("Its program failed while it was started."), {}};
    }
}
