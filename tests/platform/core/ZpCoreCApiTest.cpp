#include <gtest/gtest.h>

extern "C" {
int zpcore_c_log_check(void);
int zpcore_c_process_check(void);
int zpcore_c_utils_check(void);
}

namespace {

// A non-zero result names the step of zpcore_c_api.c that failed.
TEST(ZpCoreCApi, LoggingFromC)
{
    EXPECT_EQ(zpcore_c_log_check(), 0);
}

TEST(ZpCoreCApi, ProcessInformationFromC)
{
    EXPECT_EQ(zpcore_c_process_check(), 0);
}

TEST(ZpCoreCApi, ProductsDictionariesAndVideoMemoryFromC)
{
    EXPECT_EQ(zpcore_c_utils_check(), 0);
}

} // namespace
