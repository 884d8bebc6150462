#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <QString>

#include <cstdint>

// What the machine's OpenGL implementation reports, read once from a real context
// (a hidden offscreen surface) and kept after the first successful read.
//
// Threading: the first read must happen on the GUI thread, because Qt creates
// OpenGL contexts and surfaces only there. Other threads get the kept answer if
// there is one and an empty one otherwise. Reading makes a private context current
// for a moment and then restores whatever context was current on the GUI thread.
//
// Where no context can be made (no QGuiApplication, a platform without OpenGL such
// as "offscreen", a failing driver) every text is empty and the texture size 0;
// the read is tried again at the next call.
class ZPQTCORELITE_EXPORT ZpCoreImageHardwareInfo
{
public:
    ZpCoreImageHardwareInfo() = delete;

    // GL_VENDOR, GL_RENDERER, GL_VERSION and GL_SHADING_LANGUAGE_VERSION.
    static QString openGLVendor();
    static QString openGLRenderer();
    static QString openGLVersion();
    static QString openGLShadingLanguageVersion();

    // GL_VERSION followed by what the context actually is, e.g.
    //   "4.5 (Compatibility Profile) Mesa 22.3.6 [OpenGL 4.5, compatibility profile,
    //    deprecated functions]"
    // The bracket holds the API (OpenGL or OpenGL ES) with the context version, the
    // profile ("core profile", "compatibility profile" or "no profile") and the
    // flags that are set ("debug", "deprecated functions", "reset notification").
    static QString openGLVersionEx();

    // GL_MAX_TEXTURE_SIZE, the largest texture width and height in texels.
    static int32_t openGLMaxTextureSize();
};
