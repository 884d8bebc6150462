#ifndef ZPCORE_ZPSYSFSVIDEOMEMORY_H
#define ZPCORE_ZPSYSFSVIDEOMEMORY_H

#include <cstdint>
#include <filesystem>

// Video-memory figures of the graphics adapters the kernel lists under
// <sysfs>/class/drm/card<N>/device. Only the amdgpu driver publishes them
// (mem_info_vram_total, mem_info_vram_used and mem_info_gtt_total, in bytes).
// The sysfs root is a parameter so that tests can point the reader at a fake
// tree. Stateless and thread-safe.
class ZpSysfsVideoMemory {
public:
    // In bytes; 0 where nothing is published.
    struct Figures {
        uint64_t dedicatedVideo = 0; // VRAM on the adapter
        uint64_t available = 0;      // VRAM not in use now
        uint64_t dedicatedSystem = 0; // no Linux counterpart: always 0
        uint64_t sharedSystem = 0;   // GTT: system memory the adapter can map
    };

    // The adapter with the most VRAM wins (ties: the lowest card number), so a
    // discrete GPU is preferred over an integrated one. Unreadable or malformed
    // files count as not published.
    static Figures read(const std::filesystem::path& sysfsRoot);

    // Whole MiB, clamped to the int32_t range of the public functions.
    static int32_t toMiB(uint64_t bytes);
};

#endif
