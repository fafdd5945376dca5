// A pane that writes down what its host calls, and fails where its Info.plist says so.

#include "Platform/DistributedNotificationCenter.h"
#include "Platform/PreferencePane.h"

#include <QLabel>
#include <QObject>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

class RecordingPane final : public PreferencePane
{
public:
    using PreferencePane::PreferencePane;

    QWidget *loadMainView() override
    {
        record("loadMainView");
        if (isToFailAt("noView"))
            return nullptr;
        m_view = new QLabel(QString::fromStdString("Recording " + bundle().identifier()));
        m_view->setObjectName(QStringLiteral("recordingView"));
        return m_view;
    }

    void mainViewDidLoad() override
    {
        record(m_view->window()->isVisible() ? "mainViewDidLoad" : "mainViewDidLoad hidden");
    }
    void didSelect() override { record("didSelect"); }

    void didUnselect() override
    {
        record("didUnselect");
        DistributedNotificationCenter::current().post("com.dovrane.test.unselected");
    }

    bool mayClose(std::function<void()> close) override
    {
        m_close = std::move(close);
        return m_isDone || !bundle().information().find("IsBusy");
    }

    void handleRequest(const std::string &request) override
    {
        record("request " + request);
        m_isDone = request == "done";
        if (m_isDone && m_close)
            m_close();
    }

private:
    bool isToFailAt(const std::string &call) const { return bundle().information().string("FailAt") == call; }

    void record(const std::string &call) const
    {
        if (const char *const file = std::getenv("TAMSEL_RECORDING"))
            std::ofstream(file, std::ios::app) << bundle().identifier() << ' ' << call << '\n';
        if (isToFailAt(call))
            throw std::runtime_error("failed at " + call);
    }

    QLabel *m_view = nullptr;
    std::function<void()> m_close;
    bool m_isDone = false;
};

class RecordingPanePlugin final : public QObject, public PreferencePanePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID PreferencePanePlugin_iid)
    Q_INTERFACES(PreferencePanePlugin)

public:
    std::unique_ptr<PreferencePane> makePane(const Bundle &bundle) override
    {
        const std::string fault = bundle.information().string("FailAt");
        if (fault == "makePane")
            throw 5;
        return fault == "noPane" ? nullptr : std::make_unique<RecordingPane>(bundle);
    }
};

} // namespace

#include "RecordingPane.moc"
