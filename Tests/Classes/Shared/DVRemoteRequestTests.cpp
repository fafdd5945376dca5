#include "Tests/Classes/Shared/DVRemoteRequestTest.h"

#include <memory>

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

TEST_F(DVRemoteRequestTest, bodyAtTheLimit_isHandedOver)
{
    const std::string body(std::size_t(DVRemoteRequest::kLongestBody), 'x');
    load(serve([&](const HttpConnection &connection) { connection.answer("200 OK", body); }), listener);
    expectBody(listener, body);
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

TEST_F(DVRemoteRequestTest, headersThatDrip_areNoSilence)
{
    constexpr milliseconds kTimeOut{4000};
    const auto start = std::chrono::steady_clock::now();
    load(serve([&](const HttpConnection &connection) {
             connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n");
             for (int line = 0; line < 24 && connection.send("X-Line: " + std::to_string(line) + "\r\n"); ++line)
                 std::this_thread::sleep_for(kTimeOut / 20);
             connection.send("\r\nbody");
         }),
         listener, kTimeOut);
    EXPECT_GT(std::chrono::steady_clock::now() - start, kTimeOut);
    expectBody(listener, "body");
}

TEST_F(DVRemoteRequestTest, delegateThatGoesWhenItIsTold_isLeftAlone)
{
    auto gone = std::make_unique<Listener>();
    bool wasTold = false;
    gone->told = [&] {
        wasTold = true;
        gone.reset();
    };
    const std::string url = serve([](const HttpConnection &connection) { connection.answer("200 OK", "page"); });
    const QPointer<DVRemoteRequest> request = DVRemoteRequest::forURLString(QString::fromStdString(url));
    request->setDelegate(gone.get());
    EXPECT_TRUE(waitFor([&request] { return !request; }));
    EXPECT_TRUE(wasTold);
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
