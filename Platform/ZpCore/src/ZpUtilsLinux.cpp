#include <ZpCore/ZpUtils.h>

#include "ZpSysfsVideoMemory.h"

namespace {

ZpSysfsVideoMemory::Figures liveFigures()
{
    return ZpSysfsVideoMemory::read("/sys");
}

} // namespace

extern "C" {

int32_t ZpUtilsGetVRAMAvaliableInMB(void)
{
    return ZpSysfsVideoMemory::toMiB(liveFigures().available);
}

int32_t ZpUtilsGetVRAMDedicatedVideoMemoryInMB(void)
{
    return ZpSysfsVideoMemory::toMiB(liveFigures().dedicatedVideo);
}

int32_t ZpUtilsGetVRAMDedicatedSystemMemoryInMB(void)
{
    return ZpSysfsVideoMemory::toMiB(liveFigures().dedicatedSystem);
}

int32_t ZpUtilsGetVRAMSharedSystemMemoryInMB(void)
{
    return ZpSysfsVideoMemory::toMiB(liveFigures().sharedSystem);
}

} // extern "C"
