#include "Tests/Classes/Shared/DVRemoteRequestTest.h"
#include "Tests/Support/EmptyFolder.h"

#include <QProcess>
#include <QRegularExpression>

#include <curl/curl.h>

static constexpr milliseconds kShort{300};

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

TEST_F(DVRemoteRequestTest, redirectInACircle_isAnError)
{
    load(serve([](const auto &connection) { connection.answer("302 Found", "", "Location: /page\r\n"); }), listener);
    expectError(listener, CURLE_TOO_MANY_REDIRECTS);
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
    expectError(listener, CURLE_OPERATION_TIMEDOUT);
}

TEST_F(DVRemoteRequestTest, serverThatStallsInTheBody_isAnErrorAfterTheTimeOut)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
             connection.waitForEnd();
         }),
         listener, kShort);
    expectError(listener, CURLE_OPERATION_TIMEDOUT);
}

TEST_F(DVRemoteRequestTest, bodyThatIsCutOff_isAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nhalf");
         }),
         listener);
    expectError(listener, CURLE_PARTIAL_FILE);
}

TEST_F(DVRemoteRequestTest, bodyOfAnErrorThatIsCutOff_isAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 500 Broken\r\nContent-Length: 1000\r\n\r\nhalf");
         }),
         listener);
    expectError(listener, CURLE_PARTIAL_FILE);
}

TEST_F(DVRemoteRequestTest, chunksThatAreCutOff_areAnErrorAtWhateverMoment)
{
    for (const std::string status : {"200 OK", "500 Broken"})
        for (int tenths = 0; tenths < 30; ++tenths) {
            Listener each;
            load(serve([&](const HttpConnection &connection) {
                     connection.send("HTTP/1.1 " + status + "\r\nTransfer-Encoding: chunked\r\n\r\n64\r\nhalf");
                     std::this_thread::sleep_for(tenths * milliseconds(1) / 10);
                 }),
                 each);
            SCOPED_TRACE(status + " after " + std::to_string(tenths));
            expectError(each, CURLE_PARTIAL_FILE);
        }
}

TEST_F(DVRemoteRequestTest, packedPageThatIsCutOff_isAnError)
{
    load(serve([](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nContent-Length: 1000\r\n\r\nx\x9c");
         }),
         listener);
    expectError(listener, CURLE_PARTIAL_FILE);
}

TEST_F(DVRemoteRequestTest, serverThatFloodsAfterTheTimeOut_isNotListenedTo)
{
    std::atomic<bool> mayFlood = false;
    std::atomic<bool> isRefused = false;
    Listener slow;
    slow.told = [&] {
        mayFlood = true;
        EXPECT_TRUE(waitFor([&] { return isRefused.load(); }, 60000));
    };
    load(serve([&](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
             while (!mayFlood)
                 std::this_thread::sleep_for(milliseconds(1));
             const std::string piece(std::size_t{1} << 20, 'x');
             while (connection.send(piece)) {
             }
             isRefused = true;
         }),
         slow, kShort);
    expectError(slow, CURLE_OPERATION_TIMEDOUT);
}

TEST_F(DVRemoteRequestTest, serverThatNobodyVouchesFor_isRefused)
{
    QProcess server;
    server.setWorkingDirectory(QString::fromStdString(makeEmptyFolder("certificate").native()));
    server.start(QStringLiteral("sh"),
                 {QStringLiteral("-c"),
                  QStringLiteral("openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=here -addext "
                                 "subjectAltName=IP:127.0.0.1 -keyout key -out certificate 2> /dev/null && "
                                 "exec openssl s_server -accept 127.0.0.1:0 -www -key key -cert certificate")});
    QString said;
    const QRegularExpression place(QStringLiteral("ACCEPT 127\\.0\\.0\\.1:(\\d+)"));
    ASSERT_TRUE(waitFor([&] { return (said += QString::fromUtf8(server.readAllStandardOutput())).contains(place); }));
    const std::string port = place.match(said).captured(1).toStdString();
    load("https://127.0.0.1:" + port + "/", listener);
    expectError(listener, CURLE_PEER_FAILED_VERIFICATION);
    server.kill();
    server.waitForFinished();
}

TEST_F(DVRemoteRequestTest, nobodyAtThePort_isAnError)
{
    const std::string url = serve({});
    m_server.reset();
    load(url, listener);
    expectError(listener, CURLE_COULDNT_CONNECT);
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
