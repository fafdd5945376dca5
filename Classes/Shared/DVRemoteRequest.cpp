#include "Classes/Shared/DVRemoteRequest.h"

#include "Classes/Shared/Error.h"
#include "Classes/Shared/HttpTransfer.h"

#include <QUrl>

DVRemoteRequest *DVRemoteRequest::forURLString(const QString &url, std::chrono::milliseconds timeOut)
{
    auto *const request = new DVRemoteRequest(timeOut);
    request->initWithURLString(url);
    return request;
}

bool DVRemoteRequest::canLoad(const QString &url)
{
    const QUrl parsed(url, QUrl::StrictMode);
    const QString scheme = parsed.scheme();
    return parsed.isValid() && !parsed.host().isEmpty() &&
           (scheme == QStringLiteral("http") || scheme == QStringLiteral("https"));
}

DVRemoteRequest::DVRemoteRequest(std::chrono::milliseconds timeOut)
{
    m_silence.setSingleShot(true);
    m_silence.setInterval(timeOut);
    connect(&m_silence, &QTimer::timeout, this, [this] {
        connectionDidFailWithError({kNetworkErrorDomain, CURLE_OPERATION_TIMEDOUT, "nothing came in time"});
    });
}

void DVRemoteRequest::initWithURLString(const QString &url)
{
    if (!canLoad(url)) {
        if (DVRemoteRequestDelegate *const told = delegate())
            told->remoteRequestError(this, {kErrorDomain, kCannotConnect, "no URL of http or https"});
        release();
        return;
    }
    m_connection = new HttpTransfer(QUrl(url, QUrl::StrictMode), this);
    connect(m_connection, &HttpTransfer::heard, &m_silence, qOverload<>(&QTimer::start));
    connect(m_connection, &HttpTransfer::responded, this, &DVRemoteRequest::connectionDidReceiveResponse);
    connect(m_connection, &HttpTransfer::received, this, &DVRemoteRequest::connectionDidReceiveData);
    connect(m_connection, &HttpTransfer::ended, this, &DVRemoteRequest::connectionDidEnd);
    m_silence.start();
}

DVRemoteRequestDelegate *DVRemoteRequest::delegate() const
{
    const auto alive = m_delegate.lock();
    return alive ? *alive : nullptr;
}

void DVRemoteRequest::setDelegate(DVRemoteRequestDelegate *delegate)
{
    m_delegate = delegate ? delegate->m_self : nullptr;
}

void DVRemoteRequest::connectionDidReceiveResponse()
{
    m_receivedData.clear();
}

void DVRemoteRequest::connectionDidReceiveData(QByteArrayView data)
{
    m_receivedData += data;
    if (m_receivedData.size() > kLongestBody)
        m_connection->refuse();
}

void DVRemoteRequest::connectionDidEnd(int code, const QString &message)
{
    m_silence.stop(); // whoever is told may take its time
    if (code == CURLE_OK)
        connectionDidFinishLoading();
    else if (m_receivedData.size() > kLongestBody)
        connectionDidFailWithError({kNetworkErrorDomain, kTooLong, "the page is longer than 64 MiB"});
    else
        connectionDidFailWithError({kNetworkErrorDomain, code, message.toStdString()});
}

void DVRemoteRequest::connectionDidFinishLoading()
{
    if (DVRemoteRequestDelegate *const told = delegate())
        told->remoteRequestFinishedLoading(this, m_receivedData);
    release();
}

void DVRemoteRequest::connectionDidFailWithError(const Error &error)
{
    m_connection->disconnect();
    m_connection->refuse(); // whoever is told may take its time
    if (DVRemoteRequestDelegate *const told = delegate())
        told->remoteRequestError(this, error);
    release();
}

void DVRemoteRequest::release()
{
    deleteLater();
}
