#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

/// One connection of a `LocalHttpServer`, for the length of an answer.
class HttpConnection final
{
public:
    HttpConnection(int socket, const std::atomic<bool> &isStopping)
        : m_socket(socket)
        , m_isStopping(isStopping)
    {
    }

    /// False when nobody reads any more.
    bool send(const std::string &bytes) const;

    /// A whole answer: the status line's end ("200 OK"), further header lines with their ends, and the body.
    bool answer(const std::string &status, const std::string &body, const std::string &headers = {}) const;

    /// Waits until the other side has gone, or the server stops.
    void waitForEnd() const;

    /// Ends the connection with a reset, with which whatever was sent may be lost.
    void reset() const;

private:
    int m_socket;
    const std::atomic<bool> &m_isStopping;
};

/// A web server on this machine, with threads of its own. What it answers is up to the test.
class LocalHttpServer final
{
public:
    using Answer = std::function<void(const HttpConnection &)>;

    /// By path, as "/page". Others are answered with status 404 and the body "none".
    explicit LocalHttpServer(std::map<std::string, Answer> answers);
    ~LocalHttpServer();
    LocalHttpServer(const LocalHttpServer &) = delete;
    LocalHttpServer &operator=(const LocalHttpServer &) = delete;

    std::string url(const std::string &path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }

private:
    void accept();
    void serve(int socket);

    const std::map<std::string, Answer> m_answers;
    std::atomic<bool> m_isStopping = false;
    int m_listener = -1;
    int m_port = 0;
    std::vector<std::thread> m_threads; ///< of connections; the accepting thread's alone
    std::thread m_accepting;
};
