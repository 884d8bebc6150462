#include <ZpCore/ZpProcess.h>

#include <mutex>

// The host's announcements: what it set, or the documented defaults. The lock
// guards the fields; a reference handed out by a getter is only released by a
// later setter, which is the validity the header promises.
namespace {

struct HostInfo {
    std::mutex mutex;
    CFStringRef appVersion = nullptr;  // owned copy; NULL means the default
    int32_t buildNumber = 0;
    CFStringRef buildString = nullptr; // owned copy; NULL means the default
    CFStringRef branchName = nullptr;  // owned copy; NULL means no branch
};

HostInfo& hostInfo()
{
    static HostInfo* const info = new HostInfo; // never destroyed: getters may run at exit
    return *info;
}

void replace(CFStringRef* field, CFStringRef value)
{
    CFStringRef copy = value ? CFStringCreateCopy(kCFAllocatorDefault, value) : nullptr;
    HostInfo& info = hostInfo();
    CFStringRef old;
    {
        std::lock_guard<std::mutex> lock(info.mutex);
        old = *field;
        *field = copy;
    }
    if (old)
        CFRelease(old);
}

CFStringRef read(CFStringRef* field, CFStringRef fallback)
{
    HostInfo& info = hostInfo();
    std::lock_guard<std::mutex> lock(info.mutex);
    return *field ? *field : fallback;
}

} // namespace

extern "C" {

CFStringRef ZpProcessGetAppVersion(void)
{
    return read(&hostInfo().appVersion, CFSTR("0.0.0"));
}

int32_t ZpProcessGetBuildNumber(void)
{
    HostInfo& info = hostInfo();
    std::lock_guard<std::mutex> lock(info.mutex);
    return info.buildNumber;
}

CFStringRef ZpProcessGetBuildString(void)
{
    return read(&hostInfo().buildString, CFSTR("0"));
}

CFStringRef ZpProcessGetBranchName(void)
{
    return read(&hostInfo().branchName, nullptr);
}

void ZpProcessSetAppVersion(CFStringRef version)
{
    replace(&hostInfo().appVersion, version);
}

void ZpProcessSetBuildNumber(int32_t buildNumber)
{
    HostInfo& info = hostInfo();
    std::lock_guard<std::mutex> lock(info.mutex);
    info.buildNumber = buildNumber;
}

void ZpProcessSetBuildString(CFStringRef buildString)
{
    replace(&hostInfo().buildString, buildString);
}

void ZpProcessSetBranchName(CFStringRef branchName)
{
    replace(&hostInfo().branchName, branchName);
}

} // extern "C"
