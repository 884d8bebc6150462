#include "ZpSysfsVideoMemory.h"
#include "ZpTemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>

namespace {

constexpr uint64_t kMiB = 1024 * 1024;

// Lays out an amdgpu adapter the way the kernel does: the class entry is a link
// to the DRM device, whose "device" link leads to the PCI device holding the
// mem_info_* files.
void addAmdCard(const ZpTemporaryDirectory& root, const std::string& card, const std::string& pciSlot,
                const std::string& vramTotal, const std::string& vramUsed, const std::string& gttTotal)
{
    namespace fs = std::filesystem;
    const fs::path pci = fs::path("devices/pci0000:00") / pciSlot;
    if (!vramTotal.empty())
        root.writeFile(pci / "mem_info_vram_total", vramTotal);
    if (!vramUsed.empty())
        root.writeFile(pci / "mem_info_vram_used", vramUsed);
    if (!gttTotal.empty())
        root.writeFile(pci / "mem_info_gtt_total", gttTotal);
    fs::create_directories(root.path() / pci / "drm" / card);
    fs::create_symlink("../..", root.path() / pci / "drm" / card / "device");
    fs::create_directories(root.path() / "class/drm");
    fs::create_symlink(fs::path("../../") / pci / "drm" / card, root.path() / "class/drm" / card);
}

TEST(ZpCoreVideoMemory, ReadsTheAmdgpuFiles)
{
    ZpTemporaryDirectory root;
    addAmdCard(root, "card0", "0000:03:00.0", "8573157376\n", "1073741824\n", "16777216000\n");

    const auto figures = ZpSysfsVideoMemory::read(root.path());
    EXPECT_EQ(figures.dedicatedVideo, 8573157376u);
    EXPECT_EQ(figures.available, 8573157376u - 1073741824u);
    EXPECT_EQ(figures.sharedSystem, 16777216000u);
    EXPECT_EQ(figures.dedicatedSystem, 0u);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(figures.dedicatedVideo), 8176);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(figures.available), 7152);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(figures.sharedSystem), 16000);
}

TEST(ZpCoreVideoMemory, PrefersTheAdapterWithTheMostVram)
{
    ZpTemporaryDirectory root;
    addAmdCard(root, "card0", "0000:0c:00.0", std::to_string(512 * kMiB), std::to_string(100 * kMiB),
               std::to_string(12000 * kMiB));
    addAmdCard(root, "card1", "0000:03:00.0", std::to_string(16384 * kMiB), std::to_string(384 * kMiB),
               std::to_string(24000 * kMiB));

    const auto figures = ZpSysfsVideoMemory::read(root.path());
    EXPECT_EQ(figures.dedicatedVideo, 16384 * kMiB);
    EXPECT_EQ(figures.available, 16000 * kMiB);
    EXPECT_EQ(figures.sharedSystem, 24000 * kMiB);
}

TEST(ZpCoreVideoMemory, EqualAdaptersResolveToTheLowestCardNumber)
{
    ZpTemporaryDirectory root;
    addAmdCard(root, "card10", "0000:05:00.0", std::to_string(4096 * kMiB), std::to_string(1 * kMiB), "");
    addAmdCard(root, "card2", "0000:04:00.0", std::to_string(4096 * kMiB), std::to_string(2 * kMiB), "");

    const auto figures = ZpSysfsVideoMemory::read(root.path());
    EXPECT_EQ(figures.available, 4094 * kMiB);
    EXPECT_EQ(figures.sharedSystem, 0u);
}

TEST(ZpCoreVideoMemory, IgnoresConnectorsRenderNodesAndOtherDrivers)
{
    ZpTemporaryDirectory root;
    // Connectors and render nodes live beside the cards and must not count, even
    // if they happened to carry such files.
    root.writeFile("class/drm/card0-DP-1/device/mem_info_vram_total", std::to_string(99999 * kMiB));
    root.writeFile("class/drm/renderD128/device/mem_info_vram_total", std::to_string(99999 * kMiB));
    root.writeFile("class/drm/cardX/device/mem_info_vram_total", std::to_string(99999 * kMiB));
    // A card of a driver that publishes nothing.
    root.writeFile("class/drm/card1/device/vendor", "0x8086\n");
    root.writeFile("class/drm/version", "drm 1.1.0 20060810\n");

    const auto figures = ZpSysfsVideoMemory::read(root.path());
    EXPECT_EQ(figures.dedicatedVideo, 0u);
    EXPECT_EQ(figures.available, 0u);
    EXPECT_EQ(figures.sharedSystem, 0u);
}

TEST(ZpCoreVideoMemory, EmptyOrMissingTreeGivesZero)
{
    ZpTemporaryDirectory root;
    for (const auto& path : {root.path(), root.path() / "does-not-exist"}) {
        const auto figures = ZpSysfsVideoMemory::read(path);
        EXPECT_EQ(figures.dedicatedVideo, 0u);
        EXPECT_EQ(figures.available, 0u);
        EXPECT_EQ(figures.dedicatedSystem, 0u);
        EXPECT_EQ(figures.sharedSystem, 0u);
    }
    std::filesystem::create_directories(root.path() / "class/drm");
    EXPECT_EQ(ZpSysfsVideoMemory::read(root.path()).dedicatedVideo, 0u);
}

TEST(ZpCoreVideoMemory, MalformedFilesCountAsUnpublished)
{
    ZpTemporaryDirectory root;
    addAmdCard(root, "card0", "0000:01:00.0", "not a number\n", "5\n", "6\n");
    addAmdCard(root, "card1", "0000:02:00.0", "12x\n", "5\n", "6\n");
    addAmdCard(root, "card2", "0000:03:00.0", "-4096\n", "5\n", "6\n");
    addAmdCard(root, "card3", "0000:04:00.0", std::to_string(2048 * kMiB), "garbage", "1.5e9");

    const auto figures = ZpSysfsVideoMemory::read(root.path());
    EXPECT_EQ(figures.dedicatedVideo, 2048 * kMiB);
    EXPECT_EQ(figures.available, 0u);
    EXPECT_EQ(figures.sharedSystem, 0u);
}

TEST(ZpCoreVideoMemory, UsageAboveTotalLeavesNothingAvailable)
{
    ZpTemporaryDirectory root;
    addAmdCard(root, "card0", "0000:01:00.0", std::to_string(1024 * kMiB), std::to_string(2048 * kMiB), "");
    EXPECT_EQ(ZpSysfsVideoMemory::read(root.path()).available, 0u);
}

TEST(ZpCoreVideoMemory, MegabytesAreWholeMiBClampedToInt32)
{
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(0), 0);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(kMiB - 1), 0);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(kMiB), 1);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(3 * kMiB + kMiB / 2), 3);
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(uint64_t(1) << 60), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(ZpSysfsVideoMemory::toMiB(std::numeric_limits<uint64_t>::max()), std::numeric_limits<int32_t>::max());
}

} // namespace
