#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

/// Runs a test's body in a copy of the process, so that a single instance that it makes is gone afterwards. What fails
/// there fails the test. To be called while there is one thread.
template <class Body>
void inProcessOfItsOwn(Body body)
{
    const auto run = [&body] {
        body();
        const ::testing::TestResult &result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
        for (int part = 0; part < result.total_part_count(); ++part) {
            const ::testing::TestPartResult &failure = result.GetTestPartResult(part);
            std::fprintf(stderr, "line %d: %s\n", failure.line_number(), failure.message());
        }
        std::exit(result.Failed() ? EXIT_FAILURE : EXIT_SUCCESS);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(EXIT_SUCCESS), "");
}
