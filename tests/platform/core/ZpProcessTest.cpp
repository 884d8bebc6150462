#include <ZpCore/ZpProcess.h>
#include <ZpCore/ZpString.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace {

// The setters change process-wide state: put the defaults back whatever a test
// did, so the tests can run in any order in one process.
class ZpCoreProcess : public ::testing::Test {
protected:
    void TearDown() override
    {
        ZpProcessSetAppVersion(nullptr);
        ZpProcessSetBuildNumber(0);
        ZpProcessSetBuildString(nullptr);
        ZpProcessSetBranchName(nullptr);
    }
};

std::string text(CFStringRef string)
{
    return ZpString(string).utf8();
}

TEST_F(ZpCoreProcess, PidIsTheOperatingSystemsId)
{
    EXPECT_EQ(ZpProcessGetPID(), static_cast<int32_t>(getpid()));
}

TEST_F(ZpCoreProcess, CurrentProcessPathIsThisTestProgram)
{
    CFURLRef url = ZpProcessCreateCurrentProcessPath();
    ASSERT_NE(url, nullptr);
    CFStringRef path = CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle);
    ASSERT_NE(path, nullptr);
    const std::filesystem::path executable = text(path);
    CFRelease(path);
    CFRelease(url);

    EXPECT_EQ(executable.filename(), "zpcore_tests");
    EXPECT_TRUE(executable.is_absolute()) << executable;
    EXPECT_TRUE(std::filesystem::equivalent(executable, "/proc/self/exe")) << executable;
}

TEST_F(ZpCoreProcess, DefaultsWhenTheHostSetNothing)
{
    EXPECT_EQ(text(ZpProcessGetAppVersion()), "0.0.0");
    EXPECT_EQ(ZpProcessGetBuildNumber(), 0);
    EXPECT_EQ(text(ZpProcessGetBuildString()), "0");
    EXPECT_EQ(ZpProcessGetBranchName(), nullptr);
}

TEST_F(ZpCoreProcess, SettersChangeWhatGettersReturn)
{
    ZpProcessSetAppVersion(CFSTR("7.1.2"));
    ZpProcessSetBuildNumber(4321);
    ZpProcessSetBuildString(CFSTR("7.1.2.4321"));
    ZpProcessSetBranchName(CFSTR("release/7.1"));

    EXPECT_EQ(text(ZpProcessGetAppVersion()), "7.1.2");
    EXPECT_EQ(ZpProcessGetBuildNumber(), 4321);
    EXPECT_EQ(text(ZpProcessGetBuildString()), "7.1.2.4321");
    ASSERT_NE(ZpProcessGetBranchName(), nullptr);
    EXPECT_EQ(text(ZpProcessGetBranchName()), "release/7.1");

    ZpProcessSetBuildNumber(-5);
    EXPECT_EQ(ZpProcessGetBuildNumber(), -5);
}

TEST_F(ZpCoreProcess, BorrowedReferenceIsStableUntilTheNextSetter)
{
    ZpProcessSetAppVersion(CFSTR("1.0"));
    CFStringRef first = ZpProcessGetAppVersion();
    EXPECT_EQ(ZpProcessGetAppVersion(), first);
    ZpProcessSetAppVersion(CFSTR("2.0"));
    EXPECT_EQ(text(ZpProcessGetAppVersion()), "2.0");
}

TEST_F(ZpCoreProcess, SettersKeepACopyOfMutableStrings)
{
    CFMutableStringRef version = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, CFSTR("3.4"));
    CFMutableStringRef branch = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, CFSTR("main"));
    ZpProcessSetAppVersion(version);
    ZpProcessSetBranchName(branch);
    ZpProcessSetBuildString(version);
    CFStringAppend(version, CFSTR("-changed"));
    CFStringAppend(branch, CFSTR("-changed"));
    CFRelease(version);
    CFRelease(branch);

    EXPECT_EQ(text(ZpProcessGetAppVersion()), "3.4");
    EXPECT_EQ(text(ZpProcessGetBuildString()), "3.4");
    EXPECT_EQ(text(ZpProcessGetBranchName()), "main");
}

TEST_F(ZpCoreProcess, SettingNullRestoresTheDefault)
{
    ZpProcessSetAppVersion(CFSTR("9.9"));
    ZpProcessSetBuildString(CFSTR("9.9.1"));
    ZpProcessSetBranchName(CFSTR("feature/x"));
    ZpProcessSetAppVersion(nullptr);
    ZpProcessSetBuildString(nullptr);
    ZpProcessSetBranchName(nullptr);

    EXPECT_EQ(text(ZpProcessGetAppVersion()), "0.0.0");
    EXPECT_EQ(text(ZpProcessGetBuildString()), "0");
    EXPECT_EQ(ZpProcessGetBranchName(), nullptr);
}

TEST_F(ZpCoreProcess, PhysicalMemoryMatchesProcMeminfo)
{
    std::ifstream meminfo("/proc/meminfo");
    uint64_t totalKiB = 0;
    for (std::string line; std::getline(meminfo, line);) {
        std::istringstream fields(line);
        std::string key;
        fields >> key;
        if (key == "MemTotal:") {
            fields >> totalKiB;
            break;
        }
    }
    ASSERT_GT(totalKiB, 0u);
    EXPECT_EQ(ZpProcessGetActualPhysicalMem(), totalKiB * 1024);
}

} // namespace
