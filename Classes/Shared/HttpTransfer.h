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

/// One GET of http or https, redirects followed, on the event loop of its thread. Unlike Qt's own network layer it
/// always notices that the connection was cut off in the middle of an answer. Deleting it ends the transfer.
class HttpTransfer final : public QObject
{
    Q_OBJECT

public:
    HttpTransfer(const QUrl &url, QObject *parent);
    ~HttpTransfer() override;
    HttpTransfer(const HttpTransfer &) = delete;
    HttpTransfer &operator=(const HttpTransfer &) = delete;

    /// To be called by whoever hears of `received`: the answer is taken no further, and `ended` follows with an error.
    void refuse() { m_isRefused = true; }

Q_SIGNALS:
    // Whoever hears of these two neither runs the event loop nor deletes the transfer.
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
    Watch watch(curl_socket_t socket);
    void act(curl_socket_t socket, int events);

    CURLM *const m_transfers; ///< holds the one below
    CURL *const m_transfer;
    std::map<curl_socket_t, Watch> m_watched;
    QTimer m_timer;
    std::array<char, CURL_ERROR_SIZE> m_message = {};
    bool m_isRefused = false;
};
