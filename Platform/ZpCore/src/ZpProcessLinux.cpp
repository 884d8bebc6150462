#include <ZpCore/ZpProcess.h>

#include <filesystem>
#include <string>
#include <system_error>

#include <unistd.h>

extern "C" {

int32_t ZpProcessGetPID(void)
{
    return static_cast<int32_t>(::getpid());
}

CFURLRef ZpProcessCreateCurrentProcessPath(void)
{
    std::error_code error;
    const std::string path = std::filesystem::read_symlink("/proc/self/exe", error).string();
    if (error || path.empty())
        return nullptr;
    // The kernel hands out raw bytes; a path that is not UTF-8 cannot become a
    // CFString and is reported as unavailable.
    CFStringRef pathString = CFStringCreateWithBytes(kCFAllocatorDefault,
                                                     reinterpret_cast<const UInt8*>(path.data()),
                                                     static_cast<CFIndex>(path.size()), kCFStringEncodingUTF8, false);
    if (!pathString)
        return nullptr;
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, pathString, kCFURLPOSIXPathStyle, false);
    CFRelease(pathString);
    return url;
}

uint64_t ZpProcessGetActualPhysicalMem(void)
{
    // glibc derives both figures from sysinfo(2): their product is MemTotal.
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0)
        return 0;
    return static_cast<uint64_t>(pages) * static_cast<uint64_t>(pageSize);
}

} // extern "C"
