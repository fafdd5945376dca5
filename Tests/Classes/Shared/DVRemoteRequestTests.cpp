#include "Classes/Shared/DVRemoteRequest.h"
#include "Classes/Shared/Error.h"
#include "Tests/Support/LocalHttpServer.h"
#include "Tests/Support/WaitFor.h"

#include <QNetworkReply>
#include <QPointer>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace {

class Listener : public DVRemoteRequestDelegate
{
public:
    void remoteRequestFinishedLoading(DVRemoteRequest *request, const QByteArray &data) override
    {
        ++calls;
        teller = request;
        body = data.toStdString();
        told();
    }
    void remoteRequestError(DVRemoteRequest *request, const Error &failure) override
    {
        ++calls;
        teller = request;
        error = failure;
        told();
    }

    std::function<void()> told = [] {};
    int calls = 0;
    const DVRemoteRequest *teller = nullptr;
    std::optional<std::string> body;
    std::optional<Error> error;
};

using std::chrono::milliseconds;

class DVRemoteRequestTest : public ::testing::Test
{
protected:
    /// Loads it until the request has gone.
    static void load(const std::string &url, Listener &listener, milliseconds timeOut = DVRemoteRequest::kTimeOut)
    {
        const QPointer<DVRemoteRequest> request = DVRemoteRequest::forURLString(QString::fromStdString(url), timeOut);
        request->setDelegate(&listener);
        EXPECT_EQ(request->delegate(), &listener);
        const DVRemoteRequest *const teller = request;
        ASSERT_TRUE(waitFor([&request] { return !request; }, 60000));
        EXPECT_TRUE(!listener.teller || listener.teller == teller);
    }

    /// Where the server answers so.
    std::string serve(LocalHttpServer::Answer answer)
    {
        m_server.emplace(std::map<std::string, LocalHttpServer::Answer>{{"/page", std::move(answer)}});
        return m_server->url("/page");
    }

    static void expectBody(const Listener &listener, const std::string &body)
    {
        EXPECT_EQ(listener.calls, 1);
        EXPECT_FALSE(listener.error) << listener.error->message;
        ASSERT_TRUE(listener.body);
        EXPECT_TRUE(*listener.body == body) << listener.body->size() << " bytes: " << listener.body->substr(0, 80);
    }
    static void expectError(const Listener &listener, int code)
    {
        EXPECT_EQ(listener.calls, 1);
        EXPECT_FALSE(listener.body);
        ASSERT_TRUE(listener.error);
        EXPECT_EQ(listener.error->domain, "network");
        EXPECT_EQ(listener.error->code, code) << listener.error->message;
        EXPECT_FALSE(listener.error->message.empty());
    }

    std::optional<LocalHttpServer> m_server;
    Listener listener;
};

constexpr milliseconds kShort{300};

} // namespace

TEST_F(DVRemoteRequestTest, delegateThatTakesItsTime_isToldOnce)
{
    constexpr milliseconds kTimeOut{8000};
    Listener slow;
    slow.told = [=] { runFor(int(kTimeOut.count() * 9 / 8)); };
    load(serve([](const HttpConnection &connection) { connection.send("HTTP/1.0 200 OK\r\n\r\nbody"); }), slow,
         kTimeOut);
    expectBody(slow, "body");

    Listener slowToHearOfAnError;
    slowToHearOfAnError.told = [] { runFor(int(3 * kShort.count())); };
    load(serve([](const HttpConnection &connection) { connection.waitForEnd(); }), slowToHearOfAnError, kShort);
    EXPECT_EQ(slowToHearOfAnError.calls, 1);
    EXPECT_TRUE(slowToHearOfAnError.error);
}

TEST_F(DVRemoteRequestTest, page_isHandedOverWhole)
{
    std::string body;
    for (int byte = 0; byte < 300000; ++byte)
        body += char(byte * 7 % 251);
    load(serve([&](const HttpConnection &connection) { connection.answer("200 OK", body); }), listener);
    expectBody(listener, body);
}

TEST_F(DVRemoteRequestTest, emptyPage_isHandedOver)
{
    load(serve([](const HttpConnection &connection) { connection.answer("200 OK", ""); }), listener);
    expectBody(listener, "");
}

TEST_F(DVRemoteRequestTest, statusOfAnError_isNotLookedAt)
{
    for (const char *const status :
         {"400 Bad Request", "401 Unauthorized", "403 Forbidden", "404 Not Found", "410 Gone", "418 Teapot",
          "500 Internal Server Error", "503 Service Unavailable"}) {
        Listener each;
        load(serve([&](const HttpConnection &connection) { connection.answer(status, "a page of its own"); }), each);
        SCOPED_TRACE(status);
        expectBody(each, "a page of its own");
    }
}

TEST_F(DVRemoteRequestTest, pageBehindALogIn_isHandedOverLikeAnyOther)
{
    for (const std::string scheme : {"Basic realm=\"here\"", "Digest realm=\"here\", nonce=\"1\"", "Other"}) {
        Listener each;
        const std::string header = "WWW-Authenticate: " + scheme + "\r\n";
        load(serve([&](const HttpConnection &connection) {
                 connection.answer("401 Unauthorized", "a page of its own", header);
             }),
             each);
        SCOPED_TRACE(scheme);
        expectBody(each, "a page of its own");
    }
}

TEST_F(DVRemoteRequestTest, redirect_startsTheBodyAfresh)
{
    m_server.emplace(std::map<std::string, LocalHttpServer::Answer>{
        {"/first", [](const auto &connection) { connection.answer("302 Found", "go on", "Location: /second\r\n"); }},
        {"/second", [](const auto &connection) { connection.answer("301 Moved", "and on", "Location: third\r\n"); }},
        {"/third", [](const auto &connection) { connection.answer("200 OK", "here"); }}});
    load(m_server->url("/first"), listener);
    expectBody(listener, "here");
}

TEST_F(DVRemoteRequestTest, redirectInACircle_isAnError)
{
    load(serve([](const auto &connection) { connection.answer("302 Found", "", "Location: /page\r\n"); }), listener);
    expectError(listener, QNetworkReply::TooManyRedirectsError);
}

TEST_F(DVRemoteRequestTest, redirectToAFile_isAnError)
{
    load(serve([](const auto &connection) { connection.answer("302 Found", "", "Location: file:///etc/passwd\r\n"); }),
         listener);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_TRUE(listener.error);
    EXPECT_FALSE(listener.body);
}

TEST_F(DVRemoteRequestTest, serverThatStalls_isAnErrorAfterTheTimeOut)
{
    load(serve([](const HttpConnection &connection) { connection.waitForEnd(); }), listener, kShort);
    expectError(listener, QNetworkReply::TimeoutError);
}

TEST_F(DVRemoteRequestTest, serverThatStallsInTheBody_isAnErrorAfterTheTimeOut)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
             connection.waitForEnd();
         }),
         listener, kShort);
    expectError(listener, QNetworkReply::TimeoutError);
}

TEST_F(DVRemoteRequestTest, serverThatDrips_isNotInterrupted)
{
    constexpr milliseconds kTimeOut{10000};
    constexpr int kDrops = 24;
    std::string body;
    for (int drop = 0; drop < kDrops; ++drop)
        body += std::to_string(drop) + " ";
    const auto start = std::chrono::steady_clock::now();
    load(serve([&](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
             for (int drop = 0; drop < kDrops && connection.send(std::to_string(drop) + " "); ++drop)
                 std::this_thread::sleep_for(kTimeOut / 20);
         }),
         listener, kTimeOut);
    EXPECT_GT(std::chrono::steady_clock::now() - start, kTimeOut);
    expectBody(listener, body);
}

TEST_F(DVRemoteRequestTest, bodyThatIsCutOff_isAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nhalf");
         }),
         listener);
    expectError(listener, QNetworkReply::RemoteHostClosedError);
}

TEST_F(DVRemoteRequestTest, bodyOfAnErrorThatIsCutOff_isAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 500 Broken\r\nContent-Length: 1000\r\n\r\nhalf");
         }),
         listener);
    expectError(listener, QNetworkReply::RemoteHostClosedError);
}

TEST_F(DVRemoteRequestTest, chunksThatAreCutOff_areAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n64\r\nhalf");
         }),
         listener);
    expectError(listener, QNetworkReply::RemoteHostClosedError);
}

TEST_F(DVRemoteRequestTest, packedPage_isUnpackedWhateverItsLength)
{
    const std::string body(5000, 'x');
    constexpr int kLength = 4; // which qCompress puts in front
    const QByteArray packed = qCompress(QByteArray::fromStdString(body)).mid(kLength);
    for (const std::string status : {"200 OK", "500 Broken"}) {
        Listener told;
        load(serve([&](const HttpConnection &connection) {
                 connection.answer(status, packed.toStdString(), "Content-Encoding: deflate\r\n");
             }),
             told);
        expectBody(told, body);
    }
    const std::string incompressible = "\x01\x8f\x33";
    const QByteArray longer = qCompress(QByteArray::fromStdString(incompressible)).mid(kLength);
    ASSERT_GT(std::size_t(longer.size()), incompressible.size());
    load(serve([&](const HttpConnection &connection) {
             connection.answer("200 OK", longer.toStdString(), "Content-Encoding: deflate\r\n");
         }),
         listener);
    expectBody(listener, incompressible);
}

TEST_F(DVRemoteRequestTest, nobodyAtThePort_isAnError)
{
    const std::string url = serve({});
    m_server.reset();
    load(url, listener);
    expectError(listener, QNetworkReply::ConnectionRefusedError);
}

TEST_F(DVRemoteRequestTest, bodyBeyondTheLimit_isAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
             const std::string piece(std::size_t{1} << 20, 'x');
             for (int sent = 0; sent < 100 && connection.send(piece); ++sent) {
             }
         }),
         listener);
    expectError(listener, DVRemoteRequest::kTooLong);
}

TEST_F(DVRemoteRequestTest, bodyAtTheLimit_isHandedOver)
{
    const std::string body(std::size_t(DVRemoteRequest::kLongestBody), 'x');
    load(serve([&](const HttpConnection &connection) { connection.answer("200 OK", body); }), listener);
    expectBody(listener, body);
}

TEST_F(DVRemoteRequestTest, urlThatCannotBeLoaded_endsWithoutAWord)
{
    for (const char *const url : {"", "page", "file:///etc/passwd", "ftp://127.0.0.1/", "http://", "http:///page",
                                  "data:,text", "http://bad host/"}) {
        Listener each;
        EXPECT_FALSE(DVRemoteRequest::canLoad(QString::fromLatin1(url))) << url;
        load(url, each);
        EXPECT_EQ(each.calls, 0) << url;
    }
    EXPECT_TRUE(DVRemoteRequest::canLoad(QStringLiteral("http://localhost/")));
    EXPECT_TRUE(DVRemoteRequest::canLoad(QStringLiteral("HTTPS://localhost/a?b=c")));
}

TEST_F(DVRemoteRequestTest, delegateThatHasGone_isNotCalled)
{
    const std::string url = serve([](const HttpConnection &connection) { connection.answer("200 OK", "page"); });
    const QPointer<DVRemoteRequest> request = DVRemoteRequest::forURLString(QString::fromStdString(url));
    auto gone = std::make_unique<Listener>();
    request->setDelegate(gone.get());
    gone.reset();
    EXPECT_EQ(request->delegate(), nullptr);
    EXPECT_TRUE(waitFor([&request] { return !request; }));
}

TEST_F(DVRemoteRequestTest, noDelegate_requestGoesAllTheSame)
{
    const std::string url = serve([](const HttpConnection &connection) { connection.answer("200 OK", "page"); });
    const QPointer<DVRemoteRequest> request = DVRemoteRequest::forURLString(QString::fromStdString(url));
    request->setDelegate(&listener);
    request->setDelegate(nullptr);
    EXPECT_TRUE(waitFor([&request] { return !request; }));
    EXPECT_EQ(listener.calls, 0);
}

TEST_F(DVRemoteRequestTest, severalRequests_areToldApart)
{
    m_server.emplace(std::map<std::string, LocalHttpServer::Answer>{
        {"/one", [](const auto &connection) { connection.answer("200 OK", "1"); }},
        {"/two", [](const auto &connection) { connection.answer("200 OK", "2"); }}});
    Listener two;
    const QPointer<DVRemoteRequest> first =
        DVRemoteRequest::forURLString(QString::fromStdString(m_server->url("/one")));
    const QPointer<DVRemoteRequest> second =
        DVRemoteRequest::forURLString(QString::fromStdString(m_server->url("/two")));
    first->setDelegate(&listener);
    second->setDelegate(&two);
    ASSERT_TRUE(waitFor([&] { return !first && !second; }));
    expectBody(listener, "1");
    expectBody(two, "2");
}

TEST(DVRemoteRequest, timeOut_unlessToldOtherwise_is30Seconds)
{
    EXPECT_EQ(DVRemoteRequest::kTimeOut, std::chrono::seconds(30));
}
