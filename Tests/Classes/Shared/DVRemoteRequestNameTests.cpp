#include "Tests/Classes/Shared/DVRemoteRequestTest.h"

#include <curl/curl.h>

#include <atomic>
#include <dlfcn.h>
#include <netdb.h>

namespace {

std::atomic<bool> s_isHeld = false; ///< whether the one who is asked for names says nothing
std::atomic<int> s_inHand = 0;

} // namespace

/// Stands in front of the system's: knows one name, and can be as slow as one whose name servers are silent.
extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **answer)
{
    static const auto s_real = reinterpret_cast<decltype(&getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    ++s_inHand;
    while (s_isHeld)
        std::this_thread::sleep_for(milliseconds(1));
    const bool isKnown = name && std::string(name) == "known.invalid";
    const int result = isKnown ? s_real("127.0.0.1", service, hints, answer) : EAI_NONAME;
    --s_inHand;
    return result;
}

TEST_F(DVRemoteRequestTest, name_isLookedUp)
{
    std::string url = serve([](const HttpConnection &connection) { connection.answer("200 OK", "page"); });
    const std::string address = "127.0.0.1";
    load(url.replace(url.find(address), address.size(), "known.invalid"), listener);
    expectBody(listener, "page");
}

TEST_F(DVRemoteRequestTest, nameThatNobodyKnows_isAnError)
{
    load("http://unknown.invalid/", listener);
    expectError(listener, CURLE_COULDNT_RESOLVE_HOST);
}

TEST_F(DVRemoteRequestTest, nameServersThatAreSilent_holdNothingUp)
{
    s_isHeld = true;
    load("http://known.invalid/", listener, milliseconds(300)); // comes back once the request has gone
    expectError(listener, CURLE_OPERATION_TIMEDOUT);
    EXPECT_EQ(s_inHand, 1) << "nobody has answered so far";
    s_isHeld = false;
    EXPECT_TRUE(waitFor([] { return s_inHand == 0; }));
}
