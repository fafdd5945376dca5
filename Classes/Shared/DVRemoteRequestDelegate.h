#pragma once

#include <QByteArray>

#include <memory>

class DVRemoteRequest;
struct Error;

/// Is told how a `DVRemoteRequest` has ended, once. May go at any time; it is told nothing then. Main thread.
class DVRemoteRequestDelegate
{
public:
    DVRemoteRequestDelegate() = default;
    virtual ~DVRemoteRequestDelegate() = default;
    DVRemoteRequestDelegate(const DVRemoteRequestDelegate &) = delete;
    DVRemoteRequestDelegate &operator=(const DVRemoteRequestDelegate &) = delete;

    /// The whole body, of whatever status. Neither the request nor `data` outlives the call; a copy of `data` does.
    virtual void remoteRequestFinishedLoading([[maybe_unused]] DVRemoteRequest *request,
                                              [[maybe_unused]] const QByteArray &data)
    {
    }

    virtual void remoteRequestError([[maybe_unused]] DVRemoteRequest *request, [[maybe_unused]] const Error &error) {}

private:
    friend class DVRemoteRequest;

    const std::shared_ptr<DVRemoteRequestDelegate *> m_self = std::make_shared<DVRemoteRequestDelegate *>(this);
};
