#pragma once

// CRASH-TIME FILE. Plain data only: no allocation, no Qt, no locks, no stdio.
// These layouts are read by the minidump writer on the crashing thread.
//
// The on-disk records of the minidump format (Microsoft's MINIDUMP_* layouts
// from DbgHelp, with the Linux extensions that Breakpad defined and that LLDB,
// minidump_stackwalk and rust-minidump read). Every record is little-endian
// and packed exactly as the format lays it out; the static_asserts below pin
// each size and the offsets that readers depend on, so a change of compiler
// or ABI cannot silently move a field.

#include <cstddef>
#include <cstdint>

namespace Minidump {

// "MDMP" read as a little-endian 32-bit number.
constexpr std::uint32_t kSignature = 0x504d444d;
// Only the low 16 bits are the format version; the high 16 are free.
constexpr std::uint32_t kVersion = 0x0000a793;

// Stream types used by this writer.
enum StreamType : std::uint32_t {
    kThreadListStream = 3,
    kModuleListStream = 4,
    kMemoryListStream = 5,
    kExceptionStream = 6,
    kSystemInfoStream = 7,
    // Breakpad's Linux streams ("Gg" prefix): raw copies of /proc/self files.
    kLinuxProcStatusStream = 0x47670004, // /proc/self/status
    kLinuxCmdLineStream = 0x47670006,    // /proc/self/cmdline
    // 0x47670007 is the environment stream. It is never written: the
    // environment of a host application may hold tokens and passwords.
    kLinuxAuxvStream = 0x47670008, // /proc/self/auxv
    kLinuxMapsStream = 0x47670009, // /proc/self/maps
};

// SystemInfo values.
constexpr std::uint16_t kProcessorArchitectureAmd64 = 9;
constexpr std::uint32_t kPlatformLinux = 0x8201;

// CodeView record signature of an ELF build id: "LEpB" in the file.
constexpr std::uint32_t kCodeViewElfSignature = 0x4270454c;

// Context flags of an AMD64 CONTEXT record.
constexpr std::uint32_t kContextAmd64 = 0x00100000;
constexpr std::uint32_t kContextAmd64Control = kContextAmd64 | 0x1;       // cs, ss, rsp, rip, eflags
constexpr std::uint32_t kContextAmd64Integer = kContextAmd64 | 0x2;       // rax … r15 except rsp
constexpr std::uint32_t kContextAmd64Segments = kContextAmd64 | 0x4;      // ds, es, fs, gs
constexpr std::uint32_t kContextAmd64FloatingPoint = kContextAmd64 | 0x8; // the FXSAVE area

#pragma pack(push, 4)

struct LocationDescriptor {
    std::uint32_t dataSize;
    std::uint32_t rva; // offset from the start of the file
};

struct MemoryDescriptor {
    std::uint64_t startOfMemoryRange;
    LocationDescriptor memory;
};

struct Header {
    std::uint32_t signature;
    std::uint32_t version;
    std::uint32_t streamCount;
    std::uint32_t streamDirectoryRva;
    std::uint32_t checksum;
    std::uint32_t timeDateStamp; // seconds since 1970, UTC
    std::uint64_t flags;         // 0: the "normal" dump type
};

struct Directory {
    std::uint32_t streamType;
    LocationDescriptor location;
};

// A string record: byte length without the terminator, then UTF-16LE code
// units and a 16-bit NUL.
struct StringHeader {
    std::uint32_t length;
};

struct Thread {
    std::uint32_t threadId;
    std::uint32_t suspendCount;
    std::uint32_t priorityClass;
    std::uint32_t priority;
    std::uint64_t teb; // on Linux: the thread pointer (fs base)
    MemoryDescriptor stack;
    LocationDescriptor threadContext;
};

struct VersionInfo {
    std::uint32_t fields[13]; // VS_FIXEDFILEINFO; left zero for ELF modules
};

struct Module {
    std::uint64_t baseOfImage;
    std::uint32_t sizeOfImage;
    std::uint32_t checksum;
    std::uint32_t timeDateStamp;
    std::uint32_t moduleNameRva;
    VersionInfo versionInfo;
    LocationDescriptor cvRecord;
    LocationDescriptor miscRecord;
    std::uint32_t reserved0[2];
    std::uint32_t reserved1[2];
};

struct Exception {
    std::uint32_t exceptionCode;  // Linux: the signal number
    std::uint32_t exceptionFlags; // Linux: si_code
    std::uint64_t exceptionRecord;
    std::uint64_t exceptionAddress; // Linux: si_addr of a fault
    std::uint32_t numberParameters;
    std::uint32_t unusedAlignment;
    std::uint64_t exceptionInformation[15];
};

struct ExceptionStream {
    std::uint32_t threadId;
    std::uint32_t unusedAlignment;
    Exception exceptionRecord;
    LocationDescriptor threadContext;
};

struct SystemInfo {
    std::uint16_t processorArchitecture;
    std::uint16_t processorLevel;    // x86: the CPU family
    std::uint16_t processorRevision; // x86: model << 8 | stepping
    std::uint8_t numberOfProcessors;
    std::uint8_t productType;
    std::uint32_t majorVersion; // kernel release, e.g. 6.1.0
    std::uint32_t minorVersion;
    std::uint32_t buildNumber;
    std::uint32_t platformId;
    std::uint32_t csdVersionRva; // a string record: "Linux <release> <version> <machine>"
    std::uint16_t suiteMask;
    std::uint16_t reserved2;
    // x86 CPU information: cpuid leaf 0 vendor (ebx, edx, ecx), leaf 1 eax
    // and edx, leaf 0x80000001 ebx.
    std::uint32_t vendorId[3];
    std::uint32_t versionInformation;
    std::uint32_t featureInformation;
    std::uint32_t amdExtendedCpuFeatures;
};

struct Uint128 {
    std::uint64_t low;
    std::uint64_t high;
};

// The AMD64 CONTEXT record. The 512-byte floating-point area has the FXSAVE
// layout, which is also what Linux hands a signal handler in fpregs.
struct ContextAmd64 {
    std::uint64_t parameterHome[6];
    std::uint32_t contextFlags;
    std::uint32_t mxCsr;
    std::uint16_t cs;
    std::uint16_t ds;
    std::uint16_t es;
    std::uint16_t fs;
    std::uint16_t gs;
    std::uint16_t ss;
    std::uint32_t eflags;
    std::uint64_t dr0;
    std::uint64_t dr1;
    std::uint64_t dr2;
    std::uint64_t dr3;
    std::uint64_t dr6;
    std::uint64_t dr7;
    std::uint64_t rax;
    std::uint64_t rcx;
    std::uint64_t rdx;
    std::uint64_t rbx;
    std::uint64_t rsp;
    std::uint64_t rbp;
    std::uint64_t rsi;
    std::uint64_t rdi;
    std::uint64_t r8;
    std::uint64_t r9;
    std::uint64_t r10;
    std::uint64_t r11;
    std::uint64_t r12;
    std::uint64_t r13;
    std::uint64_t r14;
    std::uint64_t r15;
    std::uint64_t rip;
    std::uint8_t fxsave[512];
    Uint128 vectorRegister[26];
    std::uint64_t vectorControl;
    std::uint64_t debugControl;
    std::uint64_t lastBranchToRip;
    std::uint64_t lastBranchFromRip;
    std::uint64_t lastExceptionToRip;
    std::uint64_t lastExceptionFromRip;
};

#pragma pack(pop)

static_assert(sizeof(LocationDescriptor) == 8, "MINIDUMP_LOCATION_DESCRIPTOR");
static_assert(sizeof(MemoryDescriptor) == 16, "MINIDUMP_MEMORY_DESCRIPTOR");
static_assert(sizeof(Header) == 32, "MINIDUMP_HEADER");
static_assert(sizeof(Directory) == 12, "MINIDUMP_DIRECTORY");
static_assert(sizeof(Thread) == 48, "MINIDUMP_THREAD");
static_assert(offsetof(Thread, threadContext) == 40, "MINIDUMP_THREAD");
static_assert(sizeof(Module) == 108, "MINIDUMP_MODULE");
static_assert(offsetof(Module, cvRecord) == 76, "MINIDUMP_MODULE");
static_assert(sizeof(Exception) == 152, "MINIDUMP_EXCEPTION");
static_assert(sizeof(ExceptionStream) == 168, "MINIDUMP_EXCEPTION_STREAM");
static_assert(offsetof(ExceptionStream, threadContext) == 160, "MINIDUMP_EXCEPTION_STREAM");
static_assert(sizeof(SystemInfo) == 56, "MINIDUMP_SYSTEM_INFO");
static_assert(offsetof(SystemInfo, platformId) == 20, "MINIDUMP_SYSTEM_INFO");
static_assert(offsetof(SystemInfo, vendorId) == 32, "MINIDUMP_SYSTEM_INFO");
static_assert(sizeof(ContextAmd64) == 1232, "CONTEXT (AMD64)");
static_assert(offsetof(ContextAmd64, contextFlags) == 48, "CONTEXT (AMD64)");
static_assert(offsetof(ContextAmd64, rax) == 120, "CONTEXT (AMD64)");
static_assert(offsetof(ContextAmd64, rsp) == 152, "CONTEXT (AMD64)");
static_assert(offsetof(ContextAmd64, rip) == 248, "CONTEXT (AMD64)");
static_assert(offsetof(ContextAmd64, fxsave) == 256, "CONTEXT (AMD64)");

} // namespace Minidump
