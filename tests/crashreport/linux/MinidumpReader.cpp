#include "MinidumpReader.h"

#include <cstring>

namespace {

// Stream types, as the minidump format numbers them.
constexpr std::uint32_t kThreadList = 3;
constexpr std::uint32_t kModuleList = 4;
constexpr std::uint32_t kMemoryList = 5;
constexpr std::uint32_t kException = 6;
constexpr std::uint32_t kSystemInfo = 7;

// Record sizes.
constexpr std::size_t kHeaderSize = 32;
constexpr std::size_t kDirectoryEntrySize = 12;
constexpr std::size_t kThreadSize = 48;
constexpr std::size_t kModuleSize = 108;
constexpr std::size_t kMemoryDescriptorSize = 16;

void appendUtf8(std::string& out, std::uint32_t codePoint)
{
    if (codePoint < 0x80) {
        out += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        out += static_cast<char>(0xc0 | (codePoint >> 6));
        out += static_cast<char>(0x80 | (codePoint & 0x3f));
    } else if (codePoint < 0x10000) {
        out += static_cast<char>(0xe0 | (codePoint >> 12));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (codePoint & 0x3f));
    } else {
        out += static_cast<char>(0xf0 | (codePoint >> 18));
        out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3f));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (codePoint & 0x3f));
    }
}

} // namespace

MinidumpReader::MinidumpReader(std::string bytes) : mBytes(std::move(bytes)) {}

bool MinidumpReader::inside(std::size_t offset, std::size_t size) const
{
    return offset <= mBytes.size() && size <= mBytes.size() - offset;
}

std::uint16_t MinidumpReader::u16(std::size_t offset) const
{
    if (!inside(offset, 2))
        return 0;
    const auto* p = reinterpret_cast<const unsigned char*>(mBytes.data() + offset);
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t MinidumpReader::u32(std::size_t offset) const
{
    return static_cast<std::uint32_t>(u16(offset)) | (static_cast<std::uint32_t>(u16(offset + 2)) << 16);
}

std::uint64_t MinidumpReader::u64(std::size_t offset) const
{
    return static_cast<std::uint64_t>(u32(offset)) | (static_cast<std::uint64_t>(u32(offset + 4)) << 32);
}

bool MinidumpReader::hasValidHeader() const
{
    if (!inside(0, kHeaderSize) || mBytes.compare(0, 4, "MDMP") != 0 || (version() & 0xffff) != 0xa793)
        return false;
    return inside(u32(12), static_cast<std::size_t>(u32(8)) * kDirectoryEntrySize);
}

std::uint32_t MinidumpReader::version() const
{
    return u32(4);
}

std::vector<std::uint32_t> MinidumpReader::streamTypes() const
{
    std::vector<std::uint32_t> types;
    if (!hasValidHeader())
        return types;
    const std::uint32_t count = u32(8);
    const std::uint32_t directory = u32(12);
    for (std::uint32_t i = 0; i < count; ++i)
        types.push_back(u32(directory + i * kDirectoryEntrySize));
    return types;
}

std::optional<MinidumpReader::Location> MinidumpReader::streamLocation(std::uint32_t type) const
{
    if (!hasValidHeader())
        return std::nullopt;
    const std::uint32_t count = u32(8);
    const std::uint32_t directory = u32(12);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + i * kDirectoryEntrySize;
        if (u32(entry) == type) {
            const Location location{u32(entry + 4), u32(entry + 8)};
            if (!inside(location.rva, location.size))
                return std::nullopt;
            return location;
        }
    }
    return std::nullopt;
}

std::optional<std::string_view> MinidumpReader::stream(std::uint32_t type) const
{
    const auto location = streamLocation(type);
    if (!location)
        return std::nullopt;
    return bytesAt(*location);
}

std::string_view MinidumpReader::bytesAt(const Location& location) const
{
    if (!inside(location.rva, location.size))
        return {};
    return std::string_view(mBytes).substr(location.rva, location.size);
}

std::string MinidumpReader::stringAt(std::uint32_t rva) const
{
    const std::uint32_t length = u32(rva);
    std::string out;
    if (!inside(rva + 4, length))
        return out;
    for (std::uint32_t i = 0; i + 1 < length; i += 2) {
        std::uint32_t unit = u16(rva + 4 + i);
        if (unit >= 0xd800 && unit < 0xdc00 && i + 3 < length) {
            const std::uint32_t low = u16(rva + 4 + i + 2);
            unit = 0x10000 + ((unit - 0xd800) << 10) + (low - 0xdc00);
            i += 2;
        }
        appendUtf8(out, unit);
    }
    return out;
}

std::vector<MinidumpReader::Module> MinidumpReader::modules() const
{
    std::vector<Module> result;
    const auto location = streamLocation(kModuleList);
    if (!location || location->size < 4)
        return result;
    const std::uint32_t count = u32(location->rva);
    if (4 + static_cast<std::size_t>(count) * kModuleSize > location->size)
        return result;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t at = location->rva + 4 + i * kModuleSize;
        Module module;
        module.base = u64(at);
        module.size = u32(at + 8);
        module.name = stringAt(u32(at + 20));
        const Location cv{u32(at + 76), u32(at + 80)};
        if (cv.size >= 4 && inside(cv.rva, cv.size)) {
            module.cvSignature = u32(cv.rva);
            const auto* p = reinterpret_cast<const std::uint8_t*>(mBytes.data() + cv.rva + 4);
            module.buildId.assign(p, p + cv.size - 4);
        }
        result.push_back(std::move(module));
    }
    return result;
}

std::vector<MinidumpReader::Thread> MinidumpReader::threads() const
{
    std::vector<Thread> result;
    const auto location = streamLocation(kThreadList);
    if (!location || location->size < 4)
        return result;
    const std::uint32_t count = u32(location->rva);
    if (4 + static_cast<std::size_t>(count) * kThreadSize > location->size)
        return result;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t at = location->rva + 4 + i * kThreadSize;
        Thread thread;
        thread.id = u32(at);
        thread.stackStart = u64(at + 24);
        thread.stackMemory = {u32(at + 32), u32(at + 36)};
        thread.context = {u32(at + 40), u32(at + 44)};
        result.push_back(thread);
    }
    return result;
}

std::vector<MinidumpReader::MemoryRange> MinidumpReader::memoryList() const
{
    std::vector<MemoryRange> result;
    const auto location = streamLocation(kMemoryList);
    if (!location || location->size < 4)
        return result;
    const std::uint32_t count = u32(location->rva);
    if (4 + static_cast<std::size_t>(count) * kMemoryDescriptorSize > location->size)
        return result;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t at = location->rva + 4 + i * kMemoryDescriptorSize;
        result.push_back({u64(at), {u32(at + 8), u32(at + 12)}});
    }
    return result;
}

std::optional<MinidumpReader::Exception> MinidumpReader::exception() const
{
    const auto location = streamLocation(kException);
    if (!location || location->size < 168)
        return std::nullopt;
    const std::size_t at = location->rva;
    Exception result;
    result.threadId = u32(at);
    result.code = u32(at + 8);
    result.flags = u32(at + 12);
    result.address = u64(at + 24);
    result.context = {u32(at + 160), u32(at + 164)};
    return result;
}

std::optional<MinidumpReader::SystemInfo> MinidumpReader::systemInfo() const
{
    const auto location = streamLocation(kSystemInfo);
    if (!location || location->size < 56)
        return std::nullopt;
    const std::size_t at = location->rva;
    SystemInfo result;
    result.processorArchitecture = u16(at);
    result.processorCount = static_cast<std::uint8_t>(mBytes[at + 6]);
    result.platformId = u32(at + 20);
    result.csdVersion = stringAt(u32(at + 24));
    return result;
}

std::optional<MinidumpReader::Context> MinidumpReader::context(const Location& location) const
{
    if (location.size < 1232 || !inside(location.rva, location.size))
        return std::nullopt;
    Context result;
    result.flags = u32(location.rva + 48);
    result.rsp = u64(location.rva + 152);
    result.rip = u64(location.rva + 248);
    return result;
}
