#include "Classes/Shared/DVRemoteRequest.h"

#include "Classes/Shared/Error.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrl>

static constexpr qint64 kReadAhead = qint64{1} << 20; // of what the network layer keeps for us

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
    : m_network(new QNetworkAccessManager(this))
{
    m_silence.setSingleShot(true);
    m_silence.setInterval(timeOut);
    connect(&m_silence, &QTimer::timeout, this, [this] {
        connectionDidFailWithError({kNetworkErrorDomain, QNetworkReply::TimeoutError, "nothing came in time"});
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
    m_connection = m_network->get(QNetworkRequest(QUrl(url, QUrl::StrictMode)));
    m_connection->setReadBufferSize(kReadAhead);
    connect(m_connection, &QNetworkReply::redirected, this, &DVRemoteRequest::connectionDidReceiveResponse);
    connect(m_connection, &QNetworkReply::metaDataChanged, this, &DVRemoteRequest::connectionDidReceiveResponse);
    connect(m_connection, &QNetworkReply::readyRead, this, &DVRemoteRequest::connectionDidReceiveData);
    connect(m_connection, &QNetworkReply::finished, this, &DVRemoteRequest::connectionDidFinish);
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
    m_silence.start();
}

void DVRemoteRequest::connectionDidReceiveData()
{
    m_receivedData += m_connection->readAll();
    m_silence.start();
    if (m_receivedData.size() > kLongestBody)
        connectionDidFailWithError({kNetworkErrorDomain, kTooLong, "the page is longer than 64 MiB"});
}

/// Whether all has come that the server announced. Of a packed page the network layer tells no length.
bool DVRemoteRequest::isWhole() const
{
    bool isAnnounced = false;
    const qint64 length = m_connection->header(QNetworkRequest::ContentLengthHeader).toLongLong(&isAnnounced);
    return !isAnnounced || m_receivedData.size() >= length;
}

/// Whether the server has sent a whole answer. The network layer counts some of them as errors by their status, and
/// for those may overlook that the connection was cut off.
bool DVRemoteRequest::isAnswered() const
{
    const int error = m_connection->error();
    const int status = m_connection->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool isOfStatus =
        error == QNetworkReply::ProxyAuthenticationRequiredError || error >= QNetworkReply::ContentAccessDenied;
    return error == QNetworkReply::NoError || (status >= 400 && isOfStatus);
}

void DVRemoteRequest::connectionDidFinish()
{
    if (isAnswered()) {
        connectionDidReceiveData(); // what came with the end
        if (m_connection && isWhole())
            connectionDidFinishLoading();
        else if (m_connection)
            connectionDidFailWithError(
                {kNetworkErrorDomain, QNetworkReply::RemoteHostClosedError, "the connection was cut off"});
    } else {
        connectionDidFailWithError(
            {kNetworkErrorDomain, int(m_connection->error()), m_connection->errorString().toStdString()});
    }
}

void DVRemoteRequest::connectionDidFinishLoading()
{
    m_silence.stop(); // whoever is told may take its time
    QNetworkReply *const connection = m_connection;
    m_connection = nullptr;
    connection->disconnect(this);
    if (DVRemoteRequestDelegate *const told = delegate())
        told->remoteRequestFinishedLoading(this, m_receivedData);
    release();
}

void DVRemoteRequest::connectionDidFailWithError(const Error &error)
{
    m_silence.stop();
    QNetworkReply *const connection = m_connection;
    m_connection = nullptr;
    connection->disconnect(this);
    if (DVRemoteRequestDelegate *const told = delegate())
        told->remoteRequestError(this, error);
    connection->abort();
    release();
}

void DVRemoteRequest::release()
{
    deleteLater();
}
