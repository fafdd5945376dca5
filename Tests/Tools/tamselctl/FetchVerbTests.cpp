#include "Tests/Support/LocalHttpServer.h"
#include "Tests/Tools/tamselctl/Tamselctl.h"

#include <gmock/gmock.h>

using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(FetchVerb, page_itsBytes_areWrittenAsTheyAre)
{
    const std::string body("\0\xff text\n", 8);
    const LocalHttpServer server({{"/page", [&](const auto &connection) { connection.answer("200 OK", body); }}});
    const Ended ended = tamselctl({"fetch", server.url("/page")});
    EXPECT_EQ(ended.exitCode, 0) << ended.err;
    EXPECT_EQ(ended.out, body);
    EXPECT_THAT(ended.err, IsEmpty());
    EXPECT_EQ(tamselctl({"fetch", "--json", server.url("/page")}).out,
              "{\"url\":\"" + server.url("/page") + "\",\"size\":8,\"body\":\"\\u0000\\udcff text\\u000a\"}\n");
}

TEST(FetchVerb, pageOfAnError_isAPageToo)
{
    const LocalHttpServer server({});
    const Ended ended = tamselctl({"fetch", server.url("/missing")});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.out, "none");
}

TEST(FetchVerb, nobodyThere_isAFailure)
{
    std::string url;
    {
        const LocalHttpServer server({});
        url = server.url("/page");
    }
    const Ended ended = tamselctl({"fetch", url});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.err, HasSubstr("Failed to connect to 127.0.0.1"));
}

TEST(FetchVerb, noUrl_isWrongUse)
{
    for (const char *const word : {"page", "file:///etc/passwd", "http://\xff/"}) {
        const Ended ended = tamselctl({"fetch", word});
        EXPECT_EQ(ended.exitCode, 2) << word;
        EXPECT_THAT(ended.err, HasSubstr("no URL of http or https"));
    }
}
