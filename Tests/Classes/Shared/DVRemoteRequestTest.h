#pragma once

#include "Classes/Shared/DVRemoteRequest.h"
#include "Classes/Shared/Error.h"
#include "Tests/Support/LocalHttpServer.h"
#include "Tests/Support/WaitFor.h"

#include <QPointer>

#include <gtest/gtest.h>

#include <functional>
#include <optional>

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
