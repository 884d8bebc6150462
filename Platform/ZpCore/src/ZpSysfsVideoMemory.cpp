#include "ZpSysfsVideoMemory.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <system_error>

namespace {

// Digits only (no sign, no blanks, no base prefix) and within 64 bits. Not
// std::from_chars: its libstdc++ helpers would leak into the library's exports.
std::optional<uint64_t> parseDecimal(const std::string& text)
{
    if (text.empty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
    if (errno == ERANGE)
        return std::nullopt;
    return static_cast<uint64_t>(value);
}

// A sysfs attribute holding one unsigned decimal number and a line feed.
std::optional<uint64_t> readNumber(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    std::string text;
    if (!(stream >> text))
        return std::nullopt;
    return parseDecimal(text);
}

// "card0" yes; connectors such as "card0-DP-1" and render nodes no.
std::optional<uint64_t> cardNumber(const std::string& name)
{
    static const std::string prefix = "card";
    if (name.compare(0, prefix.size(), prefix) != 0)
        return std::nullopt;
    return parseDecimal(name.substr(prefix.size()));
}

} // namespace

ZpSysfsVideoMemory::Figures ZpSysfsVideoMemory::read(const std::filesystem::path& sysfsRoot)
{
    Figures best;
    std::optional<uint64_t> bestCard;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(sysfsRoot / "class" / "drm", error)) {
        const auto card = cardNumber(entry.path().filename().string());
        if (!card)
            continue;
        const std::filesystem::path device = entry.path() / "device";
        const auto vramTotal = readNumber(device / "mem_info_vram_total");
        if (!vramTotal)
            continue;
        const bool better = !bestCard || *vramTotal > best.dedicatedVideo
                            || (*vramTotal == best.dedicatedVideo && *card < *bestCard);
        if (!better)
            continue;
        Figures figures;
        figures.dedicatedVideo = *vramTotal;
        if (const auto vramUsed = readNumber(device / "mem_info_vram_used"))
            figures.available = *vramTotal > *vramUsed ? *vramTotal - *vramUsed : 0;
        figures.sharedSystem = readNumber(device / "mem_info_gtt_total").value_or(0);
        best = figures;
        bestCard = card;
    }
    return best;
}

int32_t ZpSysfsVideoMemory::toMiB(uint64_t bytes)
{
    const uint64_t mib = bytes >> 20;
    return static_cast<int32_t>(std::min<uint64_t>(mib, std::numeric_limits<int32_t>::max()));
}
