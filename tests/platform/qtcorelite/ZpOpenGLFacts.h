#pragma once

// What ZpCoreImageHardwareInfo tells about OpenGL, read in one go: shared by the
// offscreen test and the one that runs under xvfb-run.

#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>

#include <QString>

#include <cstdint>

namespace zpqt_test {

struct OpenGLFacts
{
    QString vendor, renderer, version, versionEx, shadingLanguage;
    int32_t maxTextureSize = -1;
};

inline OpenGLFacts readOpenGLFacts()
{
    return {ZpCoreImageHardwareInfo::openGLVendor(),
            ZpCoreImageHardwareInfo::openGLRenderer(),
            ZpCoreImageHardwareInfo::openGLVersion(),
            ZpCoreImageHardwareInfo::openGLVersionEx(),
            ZpCoreImageHardwareInfo::openGLShadingLanguageVersion(),
            ZpCoreImageHardwareInfo::openGLMaxTextureSize()};
}

} // namespace zpqt_test
