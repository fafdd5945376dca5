#pragma once

#include <QByteArrayView>
#include <QObject>
#include <QTimer>

#include <curl/curl.h>

#include <array>
#include <map>
#include <memory>

class QSocketNotifier;
class QUrl;

/// One GET of http or https on the event loop of its thread. Follows up to 20 redirects, from https to https only.
/// Unlike Qt's own network layer it always notices an answer that says how long it is, or comes in chunks, and is cut
/// off. Deleting it ends the transfer; from one of its own signals, with `deleteLater`.
class HttpTransfer final : public QObject
{
    Q_OBJECT

public:
    HttpTransfer(const QUrl &url, QObject *parent);
    ~HttpTransfer() override;
    HttpTransfer(const HttpTransfer &) = delete;
    HttpTransfer &operator=(const HttpTransfer &) = delete;

    /// Takes no more of the body; where more comes, `ended` follows with an error.
    void refuse() { m_isRefused = true; }

Q_SIGNALS:
    // Whoever hears of these three neither runs the event loop nor deletes the transfer.
    void heard();                           ///< anything came: a line of a header, part of a body
    void responded();                       ///< an answer begins; what came before belongs to another
    void received(QByteArrayView unpacked); ///< the next bytes of its body

    /// The last signal; 0 for a whole answer, else a `CURLcode`.
    void ended(int code, const QString &message);

private:
    enum Direction { Reading, Writing };
    using Watch = std::array<std::unique_ptr<QSocketNotifier>, 2>; // by direction

    static int watchSocket(CURL *transfer, curl_socket_t socket, int what, void *self, void *);
    static int startTimer(CURLM *transfers, long milliseconds, void *self);
    static size_t takeHeader(char *line, size_t one, size_t size, void *self);
    static size_t takeBody(char *bytes, size_t one, size_t size, void *self);
    static int watchProgress(void *self, curl_off_t, curl_off_t packedBytes, curl_off_t, curl_off_t);
    Watch watch(curl_socket_t socket);
    void act(curl_socket_t socket, int events);

    CURLM *const m_transfers; ///< holds the one below
    CURL *const m_transfer;
    std::map<curl_socket_t, Watch> m_watched;
    QTimer m_timer;
    std::array<char, CURL_ERROR_SIZE> m_message = {};
    curl_off_t m_packedBytes = 0; ///< of the body in hand
    bool m_isRefused = false;
};
