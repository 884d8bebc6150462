#pragma once

// A small reader of minidump files for the tests. It reads every field at its
// documented byte offset and shares no code or structure with the writer, so
// that a layout mistake in the writer cannot hide behind the same mistake here.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class MinidumpReader {
public:
    struct Location {
        std::uint32_t size = 0;
        std::uint32_t rva = 0;
    };
    struct Module {
        std::uint64_t base = 0;
        std::uint32_t size = 0;
        std::string name;
        std::uint32_t cvSignature = 0;
        std::vector<std::uint8_t> buildId;
    };
    struct Thread {
        std::uint32_t id = 0;
        std::uint64_t stackStart = 0;
        Location stackMemory;
        Location context;
    };
    struct Exception {
        std::uint32_t threadId = 0;
        std::uint32_t code = 0;
        std::uint32_t flags = 0;
        std::uint64_t address = 0;
        Location context;
    };
    struct SystemInfo {
        std::uint16_t processorArchitecture = 0;
        std::uint8_t processorCount = 0;
        std::uint32_t platformId = 0;
        std::string csdVersion;
    };
    struct MemoryRange {
        std::uint64_t start = 0;
        Location memory;
    };
    struct Context {
        std::uint32_t flags = 0;
        std::uint64_t rsp = 0;
        std::uint64_t rip = 0;
    };

    explicit MinidumpReader(std::string bytes);

    // "MDMP", format version 0xa793, and a directory inside the file.
    bool hasValidHeader() const;
    std::uint32_t version() const;
    std::vector<std::uint32_t> streamTypes() const;
    // The stream's bytes, or nothing if the directory does not hold it.
    std::optional<std::string_view> stream(std::uint32_t type) const;
    std::optional<Location> streamLocation(std::uint32_t type) const;

    std::vector<Module> modules() const;
    std::vector<Thread> threads() const;
    std::vector<MemoryRange> memoryList() const;
    std::optional<Exception> exception() const;
    std::optional<SystemInfo> systemInfo() const;
    std::optional<Context> context(const Location& location) const;
    std::string_view bytesAt(const Location& location) const;

    const std::string& bytes() const { return mBytes; }

private:
    std::uint16_t u16(std::size_t offset) const;
    std::uint32_t u32(std::size_t offset) const;
    std::uint64_t u64(std::size_t offset) const;
    bool inside(std::size_t offset, std::size_t size) const;
    // A string record (length in bytes, UTF-16LE) as UTF-8.
    std::string stringAt(std::uint32_t rva) const;

    std::string mBytes;
};
