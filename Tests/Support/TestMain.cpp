#include "Platform/Services.h"
#include "Tests/Support/PrivateHome.h"

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    const PrivateHome home;
    installEngineServices();
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
