// CRASH-TIME FILE. Everything below except the constructor and destructor runs
// on the crashing thread inside a signal handler, with the process in an
// unknown state (the heap may be corrupt, another thread may hold any lock):
//   - no heap allocation: all working memory is the Scratch block reserved by
//     the constructor;
//   - no Qt, no locks, no stdio, no C++ exceptions, no thread-local state of
//     our own;
//   - only async-signal-safe calls: open/read/write/pread/pwrite/close,
//     process_vm_readv, uname, clock_gettime, syscall(), and the mem*/str*
//     functions that POSIX lists as async-signal-safe.
// Process memory is read through process_vm_readv, which reports an unmapped
// page as an error instead of faulting again.

#include "CrashReport/MinidumpWriterLinux.h"

#include "CrashReport/MinidumpFormat.h"

#include <asm/prctl.h>
#include <cerrno>
#include <cpuid.h>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <elf.h>
#include <fcntl.h>
#include <new>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::size_t kOutputBufferSize = 64 * 1024;
// One line of /proc/self/maps: about 75 characters before a path of at most
// PATH_MAX bytes. Longer lines are cut, which only shortens a module name.
constexpr std::size_t kLineBufferSize = 8 * 1024;
constexpr std::size_t kNameArenaSize = 128 * 1024;
constexpr std::size_t kMaxBuildIdBytes = 64;
constexpr std::size_t kMaxProgramHeaders = 128;
constexpr std::size_t kNoteBufferSize = 4096;
constexpr std::size_t kStatBufferSize = 4096;
constexpr std::size_t kMaxNameUnits = 8192;
// x86-64 code may use 128 bytes below the stack pointer without moving it.
constexpr std::uint64_t kRedZoneBytes = 128;
// A stack pointer just below its mapping (a stack overflow) still finds the
// stack if the mapping starts this close above it.
constexpr std::uint64_t kStackSearchWindow = 64 * 1024;
// Without /proc/self/stat the argument area's size is unknown; the command
// line stream is then cut here so it cannot run on into the environment.
constexpr std::size_t kCmdLineFallbackLimit = 4096;

// One mapped ELF file, as found in /proc/self/maps.
struct ModuleEntry {
    std::uint64_t base;
    std::uint64_t end;
    std::uint64_t inode;
    std::uint32_t deviceMajor;
    std::uint32_t deviceMinor;
    std::uint32_t nameOffset; // into Scratch::names
    std::uint32_t nameLength;
    std::uint32_t nameRva;
    std::uint32_t cvRva;
    std::uint32_t buildIdLength;
    std::uint8_t buildId[kMaxBuildIdBytes];
};

// One parsed line of /proc/self/maps. `path` points into the line buffer.
struct MapsEntry {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::uint64_t offset = 0;
    std::uint64_t inode = 0;
    std::uint32_t deviceMajor = 0;
    std::uint32_t deviceMinor = 0;
    bool readable = false;
    const char* path = nullptr;
    std::size_t pathLength = 0;
};

// The mapping that holds the crashing thread's stack.
struct StackMapping {
    bool found = false;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    bool readable = false;
    bool isMainThreadStack = false; // "[stack]": its top holds argv and the environment
};

// What /proc/self/stat tells about the argument and environment areas.
struct ProcessAreas {
    bool known = false;
    std::uint64_t argStart = 0;
    std::uint64_t argEnd = 0;
    std::uint64_t envStart = 0;
};

} // namespace

// Start-up allocates this once; the crash handler only writes into it.
struct MinidumpWriterLinux::Scratch {
    unsigned char output[kOutputBufferSize];
    char lines[kLineBufferSize];
    ModuleEntry modules[kMaxModules];
    char names[kNameArenaSize];
    unsigned char notes[kNoteBufferSize];
    Elf64_Phdr programHeaders[kMaxProgramHeaders];
    char stat[kStatBufferSize];
    std::uint16_t nameUnits[kMaxNameUnits];
    Minidump::ContextAmd64 context;
};

namespace {

// Crashing thread. Copies `size` bytes of this process's memory at `address`.
// process_vm_readv turns a bad address into an error instead of a second
// fault. A sandbox may forbid the call; the caller has then checked in
// /proc/self/maps that the range is mapped readable, and a plain copy is used.
bool readMemory(void* destination, std::uint64_t address, std::size_t size)
{
    if (size == 0)
        return true;
    iovec local{destination, size};
    iovec remote{reinterpret_cast<void*>(static_cast<std::uintptr_t>(address)), size};
    const ssize_t got = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
    if (got >= 0)
        return static_cast<std::size_t>(got) == size;
    if (errno == ENOSYS || errno == EPERM) {
        std::memcpy(destination, reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address)), size);
        return true;
    }
    return false;
}

// Crashing thread. read(2) that retries on EINTR.
ssize_t readSome(int fd, void* buffer, std::size_t size)
{
    for (;;) {
        const ssize_t got = read(fd, buffer, size);
        if (got >= 0 || errno != EINTR)
            return got;
    }
}

// Crashing thread. Appends the minidump sequentially through a fixed buffer,
// so that the many small records cost few system calls, and remembers the
// first failure instead of stopping: a caller checks failed() once at the end.
class DumpFile {
public:
    DumpFile(int fd, unsigned char* buffer, std::size_t capacity)
        : mFd(fd), mBuffer(buffer), mCapacity(capacity)
    {
    }

    bool failed() const { return mFailed; }

    // The file offset of the next byte appended, which is what the format
    // calls an RVA.
    std::uint32_t position() const { return static_cast<std::uint32_t>(mFlushed + mUsed); }

    void append(const void* data, std::size_t size)
    {
        const auto* bytes = static_cast<const unsigned char*>(data);
        while (size > 0) {
            if (mUsed == mCapacity && !flush())
                return;
            const std::size_t chunk = size < mCapacity - mUsed ? size : mCapacity - mUsed;
            std::memcpy(mBuffer + mUsed, bytes, chunk);
            mUsed += chunk;
            bytes += chunk;
            size -= chunk;
        }
        checkLimit();
    }

    void appendZeros(std::size_t size)
    {
        while (size > 0) {
            if (mUsed == mCapacity && !flush())
                return;
            const std::size_t chunk = size < mCapacity - mUsed ? size : mCapacity - mUsed;
            std::memset(mBuffer + mUsed, 0, chunk);
            mUsed += chunk;
            size -= chunk;
        }
        checkLimit();
    }

    void alignTo(std::size_t alignment)
    {
        const std::size_t misalignment = position() % alignment;
        if (misalignment != 0)
            appendZeros(alignment - misalignment);
    }

    // Process memory goes straight into the buffer; an unreadable chunk is
    // written as zeros so that the record keeps its declared size.
    void appendMemory(std::uint64_t address, std::size_t size)
    {
        while (size > 0) {
            if (mUsed == mCapacity && !flush())
                return;
            std::size_t chunk = size < mCapacity - mUsed ? size : mCapacity - mUsed;
            // Stay within one page per read so that one bad page costs only itself.
            const std::size_t toPageEnd = 4096 - static_cast<std::size_t>(address % 4096);
            if (chunk > toPageEnd)
                chunk = toPageEnd;
            if (!readMemory(mBuffer + mUsed, address, chunk))
                std::memset(mBuffer + mUsed, 0, chunk);
            mUsed += chunk;
            address += chunk;
            size -= chunk;
        }
        checkLimit();
    }

    // Copies at most `limit` bytes of an open file (a /proc file, whose size
    // is not known in advance). Returns the number of bytes appended.
    std::size_t appendFileContents(int fd, std::size_t limit)
    {
        std::size_t total = 0;
        while (total < limit && !mFailed) {
            if (mUsed == mCapacity && !flush())
                break;
            std::size_t room = mCapacity - mUsed;
            if (room > limit - total)
                room = limit - total;
            const ssize_t got = readSome(fd, mBuffer + mUsed, room);
            if (got <= 0)
                break;
            mUsed += static_cast<std::size_t>(got);
            total += static_cast<std::size_t>(got);
        }
        checkLimit();
        return total;
    }

    // Overwrites bytes already appended (the header and stream directory,
    // reserved first and filled in last).
    void writeAt(std::uint32_t offset, const void* data, std::size_t size)
    {
        if (!flush())
            return;
        const auto* bytes = static_cast<const unsigned char*>(data);
        while (size > 0) {
            const ssize_t done = pwrite(mFd, bytes, size, offset);
            if (done < 0 && errno == EINTR)
                continue;
            if (done <= 0) {
                mFailed = true;
                return;
            }
            bytes += done;
            size -= static_cast<std::size_t>(done);
            offset += static_cast<std::uint32_t>(done);
        }
    }

    bool flush()
    {
        const unsigned char* bytes = mBuffer;
        std::size_t left = mUsed;
        while (left > 0 && !mFailed) {
            const ssize_t done = ::write(mFd, bytes, left);
            if (done < 0 && errno == EINTR)
                continue;
            if (done <= 0) {
                mFailed = true;
                break;
            }
            bytes += done;
            left -= static_cast<std::size_t>(done);
        }
        mFlushed += mUsed;
        mUsed = 0;
        return !mFailed;
    }

private:
    // Offsets in the format are 32 bits wide.
    void checkLimit()
    {
        if (mFlushed + mUsed > 0xffffffffULL)
            mFailed = true;
    }

    int mFd;
    unsigned char* mBuffer;
    std::size_t mCapacity;
    std::size_t mUsed = 0;
    std::uint64_t mFlushed = 0;
    bool mFailed = false;
};

// Crashing thread. Splits a file into lines through a fixed buffer. A line
// longer than the buffer comes back cut, and its remainder is skipped.
class LineReader {
public:
    LineReader(int fd, char* buffer, std::size_t capacity) : mFd(fd), mBuffer(buffer), mCapacity(capacity) {}

    // The next line without its newline, NUL-terminated in the buffer; valid
    // until the next call. False at the end of the file or on an error.
    bool next(const char** line, std::size_t* length)
    {
        for (;;) {
            char* newline = static_cast<char*>(std::memchr(mBuffer + mBegin, '\n', mEnd - mBegin));
            if (newline != nullptr) {
                const std::size_t lineEnd = static_cast<std::size_t>(newline - mBuffer);
                const std::size_t lineBegin = mBegin;
                mBegin = lineEnd + 1;
                if (mSkipping) {
                    mSkipping = false;
                    continue;
                }
                *newline = '\0';
                *line = mBuffer + lineBegin;
                *length = lineEnd - lineBegin;
                return true;
            }
            if (mSkipping) {
                mBegin = mEnd;
            }
            if (mEndOfFile) {
                if (mBegin == mEnd)
                    return false;
                mBuffer[mEnd] = '\0'; // a last line without newline; room is kept for this NUL
                *line = mBuffer + mBegin;
                *length = mEnd - mBegin;
                mBegin = mEnd;
                return true;
            }
            if (mBegin > 0) {
                std::memmove(mBuffer, mBuffer + mBegin, mEnd - mBegin);
                mEnd -= mBegin;
                mBegin = 0;
            }
            if (mEnd == mCapacity - 1) {
                // No newline in a full buffer: hand out what fits.
                mBuffer[mEnd] = '\0';
                *line = mBuffer;
                *length = mEnd;
                mBegin = mEnd;
                mSkipping = true;
                return true;
            }
            const ssize_t got = readSome(mFd, mBuffer + mEnd, mCapacity - 1 - mEnd);
            if (got <= 0)
                mEndOfFile = true;
            else
                mEnd += static_cast<std::size_t>(got);
        }
    }

private:
    int mFd;
    char* mBuffer;
    std::size_t mCapacity;
    std::size_t mBegin = 0;
    std::size_t mEnd = 0;
    bool mEndOfFile = false;
    bool mSkipping = false;
};

// Crashing thread. Number parsing for /proc text; each advances `*cursor`.
bool parseHex(const char** cursor, std::uint64_t* value)
{
    const char* p = *cursor;
    std::uint64_t result = 0;
    const char* start = p;
    for (;; ++p) {
        const char c = *p;
        if (c >= '0' && c <= '9')
            result = result * 16 + static_cast<std::uint64_t>(c - '0');
        else if (c >= 'a' && c <= 'f')
            result = result * 16 + static_cast<std::uint64_t>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            result = result * 16 + static_cast<std::uint64_t>(c - 'A' + 10);
        else
            break;
    }
    *cursor = p;
    *value = result;
    return p != start;
}

// Crashing thread.
bool parseDecimal(const char** cursor, std::uint64_t* value)
{
    const char* p = *cursor;
    std::uint64_t result = 0;
    const char* start = p;
    while (*p >= '0' && *p <= '9') {
        result = result * 10 + static_cast<std::uint64_t>(*p - '0');
        ++p;
    }
    *cursor = p;
    *value = result;
    return p != start;
}

// Crashing thread. Consumes `c` if it comes next.
bool expect(const char** cursor, char c)
{
    if (**cursor != c)
        return false;
    ++*cursor;
    return true;
}

// Crashing thread. "start-end perms offset major:minor inode   path".
bool parseMapsLine(const char* line, std::size_t length, MapsEntry* entry)
{
    const char* p = line;
    std::uint64_t major = 0;
    std::uint64_t minor = 0;
    if (!parseHex(&p, &entry->start) || !expect(&p, '-') || !parseHex(&p, &entry->end) || !expect(&p, ' '))
        return false;
    if (std::strlen(p) < 5 || p[4] != ' ')
        return false;
    entry->readable = p[0] == 'r';
    p += 5;
    if (!parseHex(&p, &entry->offset) || !expect(&p, ' ') || !parseHex(&p, &major) || !expect(&p, ':')
        || !parseHex(&p, &minor) || !expect(&p, ' ') || !parseDecimal(&p, &entry->inode))
        return false;
    entry->deviceMajor = static_cast<std::uint32_t>(major);
    entry->deviceMinor = static_cast<std::uint32_t>(minor);
    while (*p == ' ')
        ++p;
    entry->path = p;
    entry->pathLength = length - static_cast<std::size_t>(p - line);
    return true;
}

// Crashing thread. The GNU build id of the ELF image mapped at `base`, from
// its PT_NOTE segments in memory (what the dynamic loader mapped, not what is
// on disk now). Returns its length, 0 if there is none.
std::uint32_t readBuildId(std::uint64_t base, Elf64_Phdr* headers, unsigned char* notes, std::uint8_t* out)
{
    Elf64_Ehdr header;
    if (!readMemory(&header, base, sizeof(header)))
        return 0;
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64
        || header.e_phentsize != sizeof(Elf64_Phdr) || header.e_phnum == 0 || header.e_phnum > kMaxProgramHeaders)
        return 0;
    if (!readMemory(headers, base + header.e_phoff, header.e_phnum * sizeof(Elf64_Phdr)))
        return 0;

    // The load bias: base maps file offset 0, so the first loadable segment
    // (which covers offset 0) sits at base + (p_vaddr - p_offset).
    std::uint64_t bias = base;
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        if (headers[i].p_type == PT_LOAD) {
            bias = base - headers[i].p_vaddr + headers[i].p_offset;
            break;
        }
    }

    for (unsigned i = 0; i < header.e_phnum; ++i) {
        const Elf64_Phdr& segment = headers[i];
        if (segment.p_type != PT_NOTE)
            continue;
        std::size_t size = segment.p_memsz < kNoteBufferSize ? segment.p_memsz : kNoteBufferSize;
        if (!readMemory(notes, bias + segment.p_vaddr, size))
            continue;
        const std::size_t align = segment.p_align == 8 ? 8 : 4;
        std::size_t at = 0;
        while (at + sizeof(Elf64_Nhdr) <= size) {
            Elf64_Nhdr note;
            std::memcpy(&note, notes + at, sizeof(note));
            const std::size_t nameAt = at + sizeof(note);
            const std::size_t descAt = nameAt + ((note.n_namesz + align - 1) & ~(align - 1));
            const std::size_t next = descAt + ((note.n_descsz + align - 1) & ~(align - 1));
            if (descAt + note.n_descsz > size || next <= at)
                break;
            if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && std::memcmp(notes + nameAt, "GNU", 4) == 0
                && note.n_descsz > 0 && note.n_descsz <= kMaxBuildIdBytes) {
                std::memcpy(out, notes + descAt, note.n_descsz);
                return note.n_descsz;
            }
            at = next;
        }
    }
    return 0;
}

// Crashing thread. UTF-8 (as paths come from the kernel) to UTF-16 (as the
// format stores strings); a byte that does not start a valid sequence becomes
// U+FFFD. Returns the number of code units written, at most `capacity`.
std::size_t utf8ToUtf16(const char* text, std::size_t length, std::uint16_t* out, std::size_t capacity)
{
    std::size_t units = 0;
    std::size_t i = 0;
    while (i < length && units < capacity) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::uint32_t codePoint = 0xfffd;
        std::size_t size = 1;
        std::size_t expected = 0;
        std::uint32_t minimum = 0;
        if (lead < 0x80) {
            codePoint = lead;
        } else if ((lead & 0xe0) == 0xc0) {
            expected = 2;
            codePoint = lead & 0x1f;
            minimum = 0x80;
        } else if ((lead & 0xf0) == 0xe0) {
            expected = 3;
            codePoint = lead & 0x0f;
            minimum = 0x800;
        } else if ((lead & 0xf8) == 0xf0) {
            expected = 4;
            codePoint = lead & 0x07;
            minimum = 0x10000;
        }
        if (expected > 0) {
            bool valid = i + expected <= length;
            for (std::size_t k = 1; valid && k < expected; ++k) {
                const auto next = static_cast<unsigned char>(text[i + k]);
                valid = (next & 0xc0) == 0x80;
                codePoint = (codePoint << 6) | (next & 0x3f);
            }
            if (valid && codePoint >= minimum && codePoint <= 0x10ffff && (codePoint < 0xd800 || codePoint > 0xdfff))
                size = expected;
            else
                codePoint = 0xfffd;
        } else if (lead >= 0x80) {
            codePoint = 0xfffd;
        }
        if (codePoint >= 0x10000) {
            if (units + 2 > capacity)
                break;
            codePoint -= 0x10000;
            out[units++] = static_cast<std::uint16_t>(0xd800 + (codePoint >> 10));
            out[units++] = static_cast<std::uint16_t>(0xdc00 + (codePoint & 0x3ff));
        } else {
            out[units++] = static_cast<std::uint16_t>(codePoint);
        }
        i += size;
    }
    return units;
}

// Crashing thread. Appends a string record and returns its RVA.
std::uint32_t appendString(DumpFile& file, const char* text, std::size_t length, std::uint16_t* units,
                           std::size_t capacity)
{
    const std::size_t count = utf8ToUtf16(text, length, units, capacity);
    file.alignTo(4);
    const std::uint32_t rva = file.position();
    const Minidump::StringHeader header{static_cast<std::uint32_t>(count * 2)};
    file.append(&header, sizeof(header));
    file.append(units, count * 2);
    const std::uint16_t terminator = 0;
    file.append(&terminator, sizeof(terminator));
    return rva;
}

// Crashing thread. Fields 48 to 50 of /proc/self/stat: where argv and the
// environment strings start and end. Field 2 (the command name) is in
// parentheses and may itself hold spaces and parentheses, so counting starts
// after the last ')'.
ProcessAreas readProcessAreas(char* buffer, std::size_t capacity)
{
    ProcessAreas areas;
    const int fd = open("/proc/self/stat", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return areas;
    std::size_t used = 0;
    for (;;) {
        const ssize_t got = readSome(fd, buffer + used, capacity - 1 - used);
        if (got <= 0)
            break;
        used += static_cast<std::size_t>(got);
        if (used == capacity - 1)
            break;
    }
    close(fd);
    buffer[used] = '\0';
    const char* p = std::strrchr(buffer, ')');
    if (p == nullptr)
        return areas;
    ++p;
    std::uint64_t values[3] = {};
    int field = 2;
    while (*p != '\0' && field < 50) {
        while (*p == ' ')
            ++p;
        if (*p == '\0')
            break;
        ++field;
        if (field >= 48) {
            if (!parseDecimal(&p, &values[field - 48]))
                return areas;
        } else {
            while (*p != ' ' && *p != '\0')
                ++p;
        }
    }
    if (field != 50)
        return areas;
    areas.argStart = values[0];
    areas.argEnd = values[1];
    areas.envStart = values[2];
    areas.known = areas.argEnd >= areas.argStart && areas.envStart != 0;
    return areas;
}

// Crashing thread. The crashing thread's registers as a CONTEXT record.
void fillContext(const ucontext_t& context, Minidump::ContextAmd64* out)
{
    std::memset(out, 0, sizeof(*out));
    const greg_t* g = context.uc_mcontext.gregs;
    out->contextFlags = Minidump::kContextAmd64Control | Minidump::kContextAmd64Integer | Minidump::kContextAmd64Segments;
    out->rax = static_cast<std::uint64_t>(g[REG_RAX]);
    out->rcx = static_cast<std::uint64_t>(g[REG_RCX]);
    out->rdx = static_cast<std::uint64_t>(g[REG_RDX]);
    out->rbx = static_cast<std::uint64_t>(g[REG_RBX]);
    out->rsp = static_cast<std::uint64_t>(g[REG_RSP]);
    out->rbp = static_cast<std::uint64_t>(g[REG_RBP]);
    out->rsi = static_cast<std::uint64_t>(g[REG_RSI]);
    out->rdi = static_cast<std::uint64_t>(g[REG_RDI]);
    out->r8 = static_cast<std::uint64_t>(g[REG_R8]);
    out->r9 = static_cast<std::uint64_t>(g[REG_R9]);
    out->r10 = static_cast<std::uint64_t>(g[REG_R10]);
    out->r11 = static_cast<std::uint64_t>(g[REG_R11]);
    out->r12 = static_cast<std::uint64_t>(g[REG_R12]);
    out->r13 = static_cast<std::uint64_t>(g[REG_R13]);
    out->r14 = static_cast<std::uint64_t>(g[REG_R14]);
    out->r15 = static_cast<std::uint64_t>(g[REG_R15]);
    out->rip = static_cast<std::uint64_t>(g[REG_RIP]);
    out->eflags = static_cast<std::uint32_t>(g[REG_EFL]);
    // cs, gs, fs and (when the kernel says so) ss, 16 bits each.
    const auto segments = static_cast<std::uint64_t>(g[REG_CSGSFS]);
    out->cs = static_cast<std::uint16_t>(segments);
    out->gs = static_cast<std::uint16_t>(segments >> 16);
    out->fs = static_cast<std::uint16_t>(segments >> 32);
    constexpr unsigned long kSigcontextHasSs = 0x2; // UC_SIGCONTEXT_SS
    if ((context.uc_flags & kSigcontextHasSs) != 0)
        out->ss = static_cast<std::uint16_t>(segments >> 48);
    if (context.uc_mcontext.fpregs != nullptr) {
        static_assert(sizeof(*context.uc_mcontext.fpregs) == sizeof(out->fxsave), "FXSAVE layout");
        std::memcpy(out->fxsave, context.uc_mcontext.fpregs, sizeof(out->fxsave));
        out->mxCsr = context.uc_mcontext.fpregs->mxcsr;
        out->contextFlags |= Minidump::kContextAmd64FloatingPoint;
    }
}

// Crashing thread. CPU identification for the SystemInfo record.
void fillCpu(Minidump::SystemInfo* info)
{
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(0, &eax, &ebx, &ecx, &edx) != 0) {
        info->vendorId[0] = ebx;
        info->vendorId[1] = edx;
        info->vendorId[2] = ecx;
    }
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0) {
        info->versionInformation = eax;
        info->featureInformation = edx;
        unsigned family = (eax >> 8) & 0xf;
        unsigned model = (eax >> 4) & 0xf;
        if (family == 0xf)
            family += (eax >> 20) & 0xff;
        if (family == 0x6 || family >= 0xf)
            model |= ((eax >> 16) & 0xf) << 4;
        info->processorLevel = static_cast<std::uint16_t>(family);
        info->processorRevision = static_cast<std::uint16_t>((model << 8) | (eax & 0xf));
    }
    if (__get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) != 0)
        info->amdExtendedCpuFeatures = ebx;
}

// Crashing thread. "6.1.0-18-amd64" -> 6, 1, 0.
void parseKernelRelease(const char* release, Minidump::SystemInfo* info)
{
    const char* p = release;
    std::uint64_t part = 0;
    if (parseDecimal(&p, &part))
        info->majorVersion = static_cast<std::uint32_t>(part);
    if (expect(&p, '.') && parseDecimal(&p, &part))
        info->minorVersion = static_cast<std::uint32_t>(part);
    if (expect(&p, '.') && parseDecimal(&p, &part))
        info->buildNumber = static_cast<std::uint32_t>(part);
}

// Crashing thread. Appends "a b c d" built from up to four NUL-terminated
// fields as one string record.
std::uint32_t appendJoined(DumpFile& file, const char* const* fields, std::size_t count, char* buffer,
                           std::size_t capacity, std::uint16_t* units, std::size_t unitCapacity)
{
    std::size_t used = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t length = strnlen(fields[i], capacity);
        if (used + length + 1 >= capacity)
            break;
        if (i > 0)
            buffer[used++] = ' ';
        std::memcpy(buffer + used, fields[i], length);
        used += length;
    }
    return appendString(file, buffer, used, units, unitCapacity);
}

// Crashing thread. Appends a whole /proc file and returns its location.
Minidump::LocationDescriptor appendProcFile(DumpFile& file, const char* path, std::size_t limit)
{
    file.alignTo(8);
    Minidump::LocationDescriptor location{0, file.position()};
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        location.dataSize = static_cast<std::uint32_t>(file.appendFileContents(fd, limit));
        close(fd);
    }
    return location;
}

} // namespace

// Start-up.
MinidumpWriterLinux::MinidumpWriterLinux()
{
    // Default-initialised on purpose: the pages are only touched at crash time.
    mScratch = new (std::nothrow) Scratch;
    mProcessorCount = std::thread::hardware_concurrency();
}

// Start-up.
MinidumpWriterLinux::~MinidumpWriterLinux()
{
    delete mScratch;
}

// Any thread.
bool MinidumpWriterLinux::isUsable() const
{
    return mScratch != nullptr;
}

// Crashing thread, inside the signal handler. The layout: header and
// directory (reserved first, written last), the thread context and stack
// memory, then the streams one after the other, each 8-byte aligned.
bool MinidumpWriterLinux::write(int fd, int signalNumber, const siginfo_t& info, const ucontext_t& context)
{
    if (mScratch == nullptr)
        return false;
    Scratch& s = *mScratch;
    DumpFile file(fd, s.output, sizeof(s.output));

    enum StreamIndex {
        kThreadList,
        kModuleList,
        kMemoryList,
        kException,
        kSystemInfo,
        kProcStatus,
        kCmdLine,
        kAuxv,
        kMaps,
        kStreamCount
    };
    Minidump::Directory directory[kStreamCount] = {};
    directory[kThreadList].streamType = Minidump::kThreadListStream;
    directory[kModuleList].streamType = Minidump::kModuleListStream;
    directory[kMemoryList].streamType = Minidump::kMemoryListStream;
    directory[kException].streamType = Minidump::kExceptionStream;
    directory[kSystemInfo].streamType = Minidump::kSystemInfoStream;
    directory[kProcStatus].streamType = Minidump::kLinuxProcStatusStream;
    directory[kCmdLine].streamType = Minidump::kLinuxCmdLineStream;
    directory[kAuxv].streamType = Minidump::kLinuxAuxvStream;
    directory[kMaps].streamType = Minidump::kLinuxMapsStream;

    // The header and directory are reserved now and written last.
    file.appendZeros(sizeof(Minidump::Header) + sizeof(directory));

    const auto threadId = static_cast<std::uint32_t>(syscall(SYS_gettid));
    fillContext(context, &s.context);
    const std::uint64_t stackPointer = s.context.rsp;

    // One pass over /proc/self/maps: the mapped ELF files and the stack.
    std::size_t moduleCount = 0;
    std::size_t namesUsed = 0;
    StackMapping stack;
    StackMapping stackAbove; // nearest mapping above a stack pointer that is in none
    const int mapsFd = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (mapsFd >= 0) {
        LineReader lines(mapsFd, s.lines, sizeof(s.lines));
        const char* line = nullptr;
        std::size_t length = 0;
        std::size_t lastModule = kMaxModules;
        while (lines.next(&line, &length)) {
            MapsEntry entry;
            if (!parseMapsLine(line, length, &entry))
                continue;
            if (entry.start <= stackPointer && stackPointer < entry.end) {
                stack.found = true;
                stack.start = entry.start;
                stack.end = entry.end;
                stack.readable = entry.readable;
                stack.isMainThreadStack = entry.pathLength == 7 && std::memcmp(entry.path, "[stack]", 7) == 0;
            } else if (entry.start > stackPointer && entry.start - stackPointer <= kStackSearchWindow
                       && (!stackAbove.found || entry.start < stackAbove.start)) {
                stackAbove.found = true;
                stackAbove.start = entry.start;
                stackAbove.end = entry.end;
                stackAbove.readable = entry.readable;
                stackAbove.isMainThreadStack = entry.pathLength == 7 && std::memcmp(entry.path, "[stack]", 7) == 0;
            }

            if (entry.pathLength == 0 || entry.path[0] != '/')
                continue;
            // A later segment of the file listed last extends it.
            if (lastModule < moduleCount) {
                ModuleEntry& last = s.modules[lastModule];
                if (entry.inode == last.inode && entry.deviceMajor == last.deviceMajor
                    && entry.deviceMinor == last.deviceMinor && entry.offset != 0 && entry.start >= last.end) {
                    last.end = entry.end;
                    continue;
                }
            }
            if (entry.offset != 0 || !entry.readable || moduleCount == kMaxModules
                || namesUsed + entry.pathLength > sizeof(s.names))
                continue;
            bool listed = false;
            for (std::size_t i = 0; i < moduleCount && !listed; ++i)
                listed = s.modules[i].inode == entry.inode && s.modules[i].deviceMajor == entry.deviceMajor
                         && s.modules[i].deviceMinor == entry.deviceMinor;
            if (listed)
                continue;
            unsigned char magic[SELFMAG];
            if (!readMemory(magic, entry.start, sizeof(magic)) || std::memcmp(magic, ELFMAG, SELFMAG) != 0)
                continue;
            ModuleEntry& module = s.modules[moduleCount];
            module.base = entry.start;
            module.end = entry.end;
            module.inode = entry.inode;
            module.deviceMajor = entry.deviceMajor;
            module.deviceMinor = entry.deviceMinor;
            module.nameOffset = static_cast<std::uint32_t>(namesUsed);
            module.nameLength = static_cast<std::uint32_t>(entry.pathLength);
            std::memcpy(s.names + namesUsed, entry.path, entry.pathLength);
            namesUsed += entry.pathLength;
            module.buildIdLength = readBuildId(entry.start, s.programHeaders, s.notes, module.buildId);
            lastModule = moduleCount++;
        }
        close(mapsFd);
    }
    const ProcessAreas areas = readProcessAreas(s.stat, sizeof(s.stat));

    // The stack from just below the stack pointer (the red zone) up to the
    // end of its mapping, capped. The main thread's stack ends with the
    // argument and environment strings; the environment may hold secrets and
    // is cut off, and without knowing where it starts that stack is left out.
    std::uint64_t stackStart = 0;
    std::uint64_t stackEnd = 0;
    const StackMapping& stackMapping = stack.found ? stack : stackAbove;
    if (stackMapping.found && stackMapping.readable) {
        stackStart = stackPointer > kRedZoneBytes ? stackPointer - kRedZoneBytes : 0;
        if (stackStart < stackMapping.start)
            stackStart = stackMapping.start;
        stackEnd = stackMapping.end;
        if (stackEnd - stackStart > kMaxStackBytes)
            stackEnd = stackStart + kMaxStackBytes;
        if (stackMapping.isMainThreadStack) {
            if (!areas.known)
                stackEnd = stackStart;
            else if (areas.envStart < stackEnd)
                stackEnd = areas.envStart > stackStart ? areas.envStart : stackStart;
        }
    }

    // Thread context, then its stack memory.
    file.alignTo(16);
    const Minidump::LocationDescriptor contextLocation{sizeof(s.context), file.position()};
    file.append(&s.context, sizeof(s.context));
    file.alignTo(16);
    Minidump::MemoryDescriptor stackMemory{stackStart, {static_cast<std::uint32_t>(stackEnd - stackStart), file.position()}};
    file.appendMemory(stackStart, stackEnd - stackStart);

    // ThreadList: the crashing thread only.
    {
        file.alignTo(8);
        Minidump::Thread thread{};
        thread.threadId = threadId;
        unsigned long threadPointer = 0;
        if (syscall(SYS_arch_prctl, ARCH_GET_FS, &threadPointer) == 0)
            thread.teb = threadPointer;
        thread.stack = stackMemory;
        thread.threadContext = contextLocation;
        const std::uint32_t count = 1;
        directory[kThreadList].location = {sizeof(count) + sizeof(thread), file.position()};
        file.append(&count, sizeof(count));
        file.append(&thread, sizeof(thread));
    }

    // MemoryList: the same stack bytes, for readers that look memory up there.
    {
        file.alignTo(8);
        const std::uint32_t count = stackMemory.memory.dataSize > 0 ? 1 : 0;
        directory[kMemoryList].location = {static_cast<std::uint32_t>(sizeof(count) + count * sizeof(stackMemory)),
                                           file.position()};
        file.append(&count, sizeof(count));
        if (count > 0)
            file.append(&stackMemory, sizeof(stackMemory));
    }

    // Exception: the signal, si_code and, for the signals where the kernel
    // reports one, the faulting address.
    {
        file.alignTo(8);
        Minidump::ExceptionStream exception{};
        exception.threadId = threadId;
        exception.exceptionRecord.exceptionCode = static_cast<std::uint32_t>(signalNumber);
        exception.exceptionRecord.exceptionFlags = static_cast<std::uint32_t>(info.si_code);
        const bool kernelFault = info.si_code > 0
                                 && (signalNumber == SIGSEGV || signalNumber == SIGBUS || signalNumber == SIGILL
                                     || signalNumber == SIGFPE || signalNumber == SIGTRAP);
        if (kernelFault)
            exception.exceptionRecord.exceptionAddress = reinterpret_cast<std::uintptr_t>(info.si_addr);
        exception.threadContext = contextLocation;
        directory[kException].location = {sizeof(exception), file.position()};
        file.append(&exception, sizeof(exception));
    }

    // SystemInfo, with the kernel's uname as its version string.
    {
        Minidump::SystemInfo system{};
        system.processorArchitecture = Minidump::kProcessorArchitectureAmd64;
        system.numberOfProcessors = static_cast<std::uint8_t>(mProcessorCount > 255 ? 255 : mProcessorCount);
        system.platformId = Minidump::kPlatformLinux;
        fillCpu(&system);
        struct utsname names;
        if (uname(&names) == 0) {
            parseKernelRelease(names.release, &system);
            const char* const fields[] = {names.sysname, names.release, names.version, names.machine};
            system.csdVersionRva = appendJoined(file, fields, 4, s.stat, sizeof(s.stat), s.nameUnits, kMaxNameUnits);
        } else {
            system.csdVersionRva = appendString(file, "Linux", 5, s.nameUnits, kMaxNameUnits);
        }
        file.alignTo(8);
        directory[kSystemInfo].location = {sizeof(system), file.position()};
        file.append(&system, sizeof(system));
    }

    // ModuleList: names and CodeView records first, so that the list itself
    // can point at them.
    {
        for (std::size_t i = 0; i < moduleCount; ++i) {
            ModuleEntry& module = s.modules[i];
            module.nameRva = appendString(file, s.names + module.nameOffset, module.nameLength, s.nameUnits,
                                          kMaxNameUnits);
            module.cvRva = 0;
            if (module.buildIdLength > 0) {
                file.alignTo(4);
                module.cvRva = file.position();
                const std::uint32_t signature = Minidump::kCodeViewElfSignature;
                file.append(&signature, sizeof(signature));
                file.append(module.buildId, module.buildIdLength);
            }
        }
        file.alignTo(8);
        const auto count = static_cast<std::uint32_t>(moduleCount);
        directory[kModuleList].location = {static_cast<std::uint32_t>(sizeof(count) + moduleCount * sizeof(Minidump::Module)),
                                           file.position()};
        file.append(&count, sizeof(count));
        for (std::size_t i = 0; i < moduleCount; ++i) {
            const ModuleEntry& module = s.modules[i];
            Minidump::Module record{};
            record.baseOfImage = module.base;
            const std::uint64_t size = module.end - module.base;
            record.sizeOfImage = size > 0xffffffffULL ? 0xffffffffU : static_cast<std::uint32_t>(size);
            record.moduleNameRva = module.nameRva;
            if (module.buildIdLength > 0)
                record.cvRecord = {static_cast<std::uint32_t>(sizeof(std::uint32_t) + module.buildIdLength), module.cvRva};
            file.append(&record, sizeof(record));
        }
    }

    // The raw /proc files. Never /proc/self/environ: a host application's
    // environment may hold access tokens and passwords.
    const std::size_t unlimited = ~static_cast<std::size_t>(0);
    directory[kProcStatus].location = appendProcFile(file, "/proc/self/status", unlimited);
    // The command line is limited to the argument area so that a process that
    // rewrote its argv (setproctitle) cannot make the kernel hand out the
    // environment that follows it.
    const std::size_t cmdLineLimit = areas.known ? static_cast<std::size_t>(areas.argEnd - areas.argStart)
                                                 : kCmdLineFallbackLimit;
    directory[kCmdLine].location = appendProcFile(file, "/proc/self/cmdline", cmdLineLimit);
    directory[kAuxv].location = appendProcFile(file, "/proc/self/auxv", unlimited);
    directory[kMaps].location = appendProcFile(file, "/proc/self/maps", unlimited);

    Minidump::Header header{};
    header.signature = Minidump::kSignature;
    header.version = Minidump::kVersion;
    header.streamCount = kStreamCount;
    header.streamDirectoryRva = sizeof(Minidump::Header);
    timespec now{};
    if (clock_gettime(CLOCK_REALTIME, &now) == 0)
        header.timeDateStamp = static_cast<std::uint32_t>(now.tv_sec);
    file.writeAt(0, &header, sizeof(header));
    file.writeAt(sizeof(header), directory, sizeof(directory));
    return !file.failed();
}
