#include "Tests/Support/LocalHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

static constexpr int kStepMs = 20; // between two looks at whether to stop

/// Whether there is something to read or accept; false when the server stops first.
static bool waitForInput(int socket, const std::atomic<bool> &isStopping)
{
    while (!isStopping) {
        pollfd waited = {socket, POLLIN, 0};
        if (::poll(&waited, 1, kStepMs) > 0)
            return true;
    }
    return false;
}

bool HttpConnection::send(const std::string &bytes) const
{
    for (std::size_t sent = 0; sent < bytes.size() && !m_isStopping;) {
        const ssize_t count = ::send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        pollfd waited = {m_socket, POLLOUT, 0};
        if (count > 0)
            sent += std::size_t(count);
        else if (errno != EAGAIN || ::poll(&waited, 1, kStepMs) < 0)
            return false;
    }
    return !m_isStopping;
}

bool HttpConnection::answer(const std::string &status, const std::string &body, const std::string &headers) const
{
    return send("HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers +
                "Connection: close\r\n\r\n" + body);
}

void HttpConnection::waitForEnd() const
{
    char byte = 0;
    while (waitForInput(m_socket, m_isStopping) && ::recv(m_socket, &byte, 1, 0) > 0) {
    }
}

void HttpConnection::reset() const
{
    const linger atOnce = {1, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

LocalHttpServer::LocalHttpServer(std::map<std::string, Answer> answers)
    : m_answers(std::move(answers))
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    ::setenv("no_proxy", "*", 1); // whatever proxy this machine has
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener, generic, length) != 0 || ::listen(m_listener, 16) != 0 ||
        ::getsockname(m_listener, generic, &length) != 0)
        std::abort();
    m_port = ntohs(address.sin_port);
    m_accepting = std::thread([this] { accept(); });
}

LocalHttpServer::~LocalHttpServer()
{
    m_isStopping = true;
    m_accepting.join();
    for (std::thread &thread : m_threads)
        thread.join();
    ::close(m_listener);
}

void LocalHttpServer::accept()
{
    while (waitForInput(m_listener, m_isStopping)) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0)
            m_threads.emplace_back([this, socket] { serve(socket); });
    }
}

void LocalHttpServer::serve(int socket)
{
    std::string request;
    char byte = 0;
    while (!request.ends_with("\r\n\r\n") && waitForInput(socket, m_isStopping) && ::recv(socket, &byte, 1, 0) == 1)
        request += byte;
    const std::size_t start = request.find(' ') + 1;
    const auto found = m_answers.find(request.substr(start, request.find(' ', start) - start));
    const HttpConnection connection(socket, m_isStopping);
    if (found != m_answers.end())
        found->second(connection);
    else
        connection.answer("404 Not Found", "none");
    ::close(socket);
}
