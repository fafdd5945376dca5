#include "Tools/tamselctl/Verbs.h"

#include "Classes/Shared/DVRemoteRequest.h"
#include "Classes/Shared/Error.h"
#include "Platform/Utf8.h"
#include "Tools/tamselctl/Invocation.h"

#include <QEventLoop>

#include <cstdio>
#include <optional>

namespace {

class Fetching final : public DVRemoteRequestDelegate
{
public:
    void remoteRequestFinishedLoading(DVRemoteRequest *, const QByteArray &data) override
    {
        body = data.toStdString();
        m_loop.quit();
    }
    void remoteRequestError(DVRemoteRequest *, const Error &error) override
    {
        reason = error.message;
        m_loop.quit();
    }
    void wait() { m_loop.exec(); }

    std::optional<std::string> body;
    std::string reason;

private:
    QEventLoop m_loop;
};

} // namespace

ExitCode fetchPage(Invocation &invocation)
{
    const std::string &url = invocation.operands.front();
    const QString text = QString::fromStdString(url);
    if (!isUtf8(url) || !DVRemoteRequest::canLoad(text))
        return invocation.refuse("no URL of http or https: " + url);
    Fetching fetching;
    DVRemoteRequest::forURLString(text)->setDelegate(&fetching);
    fetching.wait();
    if (!fetching.body)
        return invocation.fail(fetching.reason);
    if (invocation.isJson)
        invocation.print(
            Record().add("url", url).add("size", std::uint64_t(fetching.body->size())).add("body", *fetching.body));
    else
        std::fwrite(fetching.body->data(), 1, fetching.body->size(), stdout);
    return ExitCode::Done;
}
