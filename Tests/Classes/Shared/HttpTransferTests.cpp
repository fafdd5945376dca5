#include "Classes/Shared/HttpTransfer.h"

#include "Tests/Support/LocalHttpServer.h"
#include "Tests/Support/WaitFor.h"

#include <QPointer>
#include <QUrl>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace {

class HttpTransferTest : public ::testing::Test
{
protected:
    /// A transfer from a server that says `begin` and then nothing more.
    std::unique_ptr<HttpTransfer> transfer(const std::string &begin)
    {
        m_server = std::make_unique<LocalHttpServer>(
            std::map<std::string, LocalHttpServer::Answer>{{"/page", [this, begin](const HttpConnection &connection) {
                                                                isAsked = true;
                                                                connection.send(begin);
                                                                connection.waitForEnd();
                                                                isLeft = true;
                                                            }}});
        return std::make_unique<HttpTransfer>(QUrl(QString::fromStdString(m_server->url("/page"))), nullptr);
    }

    std::atomic<bool> isAsked = false;
    std::atomic<bool> isLeft = false;
    std::unique_ptr<LocalHttpServer> m_server;
};

} // namespace

TEST_F(HttpTransferTest, deletedBeforeItBegan_asksForNothing)
{
    transfer("").reset();
    runFor(50);
    EXPECT_FALSE(isAsked);
}

TEST_F(HttpTransferTest, deletedAtAnyStage_hangsUp)
{
    for (const std::string begin : {"", "HTTP/1.1 200 OK\r\nX-", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"}) {
        SCOPED_TRACE(begin);
        isAsked = isLeft = false;
        auto deleted = transfer(begin);
        bool isResponded = false;
        QByteArray received;
        QObject::connect(deleted.get(), &HttpTransfer::responded, [&] { isResponded = true; });
        QObject::connect(deleted.get(), &HttpTransfer::received, [&](QByteArrayView bytes) { received += bytes; });
        ASSERT_TRUE(waitFor([&] {
            return isAsked && isResponded == !begin.empty() && received.isEmpty() == !begin.ends_with("half");
        }));
        deleted.reset();
        EXPECT_TRUE(waitFor([&] { return isLeft.load(); }));
    }
}

TEST_F(HttpTransferTest, deletedLaterFromItsEnd_goes)
{
    const auto ending = transfer("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\npage").release();
    const QPointer<HttpTransfer> there = ending;
    QObject::connect(ending, &HttpTransfer::ended, ending, [=](int code) {
        EXPECT_EQ(code, CURLE_OK);
        ending->deleteLater();
    });
    EXPECT_TRUE(waitFor([&] { return !there; }));
}
