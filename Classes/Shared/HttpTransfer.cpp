#include "Classes/Shared/HttpTransfer.h"

#include <QSocketNotifier>
#include <QUrl>

#include <string_view>
#include <utility>

static constexpr long kMostRedirects = 20;

HttpTransfer::HttpTransfer(const QUrl &url, QObject *parent)
    : QObject(parent)
    , m_transfers(curl_multi_init())
    , m_transfer(curl_easy_init())
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });

    curl_easy_setopt(m_transfer, CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(m_transfer, CURLOPT_PROTOCOLS_STR, "http,https");
    // Where the first connection is safe, the ones that it leads to are.
    curl_easy_setopt(m_transfer, CURLOPT_REDIR_PROTOCOLS_STR,
                     url.scheme() == QStringLiteral("https") ? "https" : "http,https");
    curl_easy_setopt(m_transfer, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(m_transfer, CURLOPT_MAXREDIRS, kMostRedirects);
    curl_easy_setopt(m_transfer, CURLOPT_ACCEPT_ENCODING, ""); // whatever can be unpacked
    curl_easy_setopt(m_transfer, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_transfer, CURLOPT_QUICK_EXIT, 1L); // do not wait for the thread that looks a name up
    curl_easy_setopt(m_transfer, CURLOPT_ERRORBUFFER, m_message.data());
    curl_easy_setopt(m_transfer, CURLOPT_HEADERFUNCTION, &takeHeader);
    curl_easy_setopt(m_transfer, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_transfer, CURLOPT_WRITEFUNCTION, &takeBody);
    curl_easy_setopt(m_transfer, CURLOPT_WRITEDATA, this);

    curl_easy_setopt(m_transfer, CURLOPT_XFERINFOFUNCTION, &watchProgress);
    curl_easy_setopt(m_transfer, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(m_transfer, CURLOPT_NOPROGRESS, 0L);

    curl_multi_setopt(m_transfers, CURLMOPT_SOCKETFUNCTION, &watchSocket);
    curl_multi_setopt(m_transfers, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_transfers, CURLMOPT_TIMERFUNCTION, &startTimer);
    curl_multi_setopt(m_transfers, CURLMOPT_TIMERDATA, this);
    // Starts the timer, and with it the transfer.
    if (curl_multi_add_handle(m_transfers, m_transfer) != CURLM_OK)
        QTimer::singleShot(0, this, [this] { Q_EMIT ended(CURLE_FAILED_INIT, tr("no transfer can be begun")); });
}

HttpTransfer::~HttpTransfer()
{
    curl_multi_remove_handle(m_transfers, m_transfer);
    curl_easy_cleanup(m_transfer);
    curl_multi_cleanup(m_transfers);
}

int HttpTransfer::watchSocket(CURL *, curl_socket_t socket, int what, void *self, void *)
{
    auto *const transfer = static_cast<HttpTransfer *>(self);
    const auto [found, isNew] = transfer->m_watched.try_emplace(socket);
    Watch &watch = found->second;
    if (isNew)
        watch = transfer->watch(socket);
    watch[Reading]->setEnabled(what == CURL_POLL_IN || what == CURL_POLL_INOUT);
    watch[Writing]->setEnabled(what == CURL_POLL_OUT || what == CURL_POLL_INOUT);
    if (what == CURL_POLL_REMOVE) {
        for (auto &notifier : watch)
            notifier.release()->deleteLater(); // it may be the one that is being heard
        transfer->m_watched.erase(found);
    }
    return 0;
}

HttpTransfer::Watch HttpTransfer::watch(curl_socket_t socket)
{
    Watch watch = {std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read),
                   std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Write)};
    connect(watch[Reading].get(), &QSocketNotifier::activated, this, [=, this] { act(socket, CURL_CSELECT_IN); });
    connect(watch[Writing].get(), &QSocketNotifier::activated, this, [=, this] { act(socket, CURL_CSELECT_OUT); });
    return watch;
}

int HttpTransfer::startTimer(CURLM *, long milliseconds, void *self)
{
    QTimer &timer = static_cast<HttpTransfer *>(self)->m_timer;
    if (milliseconds < 0)
        timer.stop();
    else
        timer.start(std::chrono::milliseconds(milliseconds));
    return 0;
}

size_t HttpTransfer::takeHeader(char *line, size_t, size_t size, void *self)
{
    auto *const transfer = static_cast<HttpTransfer *>(self);
    if (std::string_view(line, size).starts_with("HTTP/")) // the status line
        Q_EMIT transfer->responded();
    Q_EMIT transfer->heard();
    return size;
}

size_t HttpTransfer::takeBody(char *bytes, size_t, size_t size, void *self)
{
    auto *const transfer = static_cast<HttpTransfer *>(self);
    if (!transfer->m_isRefused)
        Q_EMIT transfer->received({bytes, qsizetype(size)});
    return transfer->m_isRefused ? CURL_WRITEFUNC_ERROR : size;
}

int HttpTransfer::watchProgress(void *self, curl_off_t, curl_off_t packedBytes, curl_off_t, curl_off_t)
{
    auto *const transfer = static_cast<HttpTransfer *>(self);
    if (std::exchange(transfer->m_packedBytes, packedBytes) != packedBytes)
        Q_EMIT transfer->heard();
    return 0;
}

void HttpTransfer::act(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(m_transfers, socket, events, &running);
    int left = 0;
    const CURLMsg *const end = curl_multi_info_read(m_transfers, &left);
    if (!end)
        return;
    const CURLcode code = end->data.result;
    Q_EMIT ended(code, QString::fromUtf8(m_message[0] ? m_message.data() : curl_easy_strerror(code)));
}
