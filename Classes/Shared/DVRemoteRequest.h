#pragma once

#include "Classes/Shared/DVRemoteRequestDelegate.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <chrono>

class HttpTransfer;

/// Fetches what is at a URL into memory. Starts loading when it is made, owns itself, and goes after it has told its
/// delegate. Main thread.
class DVRemoteRequest final : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kTimeOut{30000};
    static constexpr qsizetype kLongestBody = qsizetype{64} << 20;

    /// Of a request that cannot be made.
    static constexpr char kErrorDomain[] = "connection";
    static constexpr int kCannotConnect = 99;

    /// Of one that failed; the codes are those of `CURLcode` and one more.
    static constexpr char kNetworkErrorDomain[] = "network";
    static constexpr int kTooLong = 1000; ///< the body is longer than `kLongestBody`

    /// A request that is loading already. The delegate is to be set before the event loop runs again, and the request
    /// is not to be deleted. A URL that is not `canLoad` loads nothing, and its request goes without a word: at the
    /// time when it could be told, nobody can have been set to be told. Fails after `timeOut` in which nothing came.
    static DVRemoteRequest *forURLString(const QString &url, std::chrono::milliseconds timeOut = kTimeOut);

    /// Whether it is a URL of http or https with a host.
    static bool canLoad(const QString &url);

    /// nullptr when there is none, or it is gone.
    DVRemoteRequestDelegate *delegate() const;
    void setDelegate(DVRemoteRequestDelegate *delegate);

private:
    explicit DVRemoteRequest(std::chrono::milliseconds timeOut);

    void initWithURLString(const QString &url);
    void connectionDidReceiveResponse();
    void connectionDidReceiveData(QByteArrayView data);
    void connectionDidEnd(int code, const QString &message);
    void connectionDidFailWithError(const Error &error);
    void connectionDidFinishLoading();
    void release();

    std::weak_ptr<DVRemoteRequestDelegate *> m_delegate;
    QByteArray m_receivedData;
    QTimer m_silence;
    HttpTransfer *m_connection = nullptr; ///< a child
};
