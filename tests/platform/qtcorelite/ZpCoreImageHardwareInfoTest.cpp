#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>

#include <QFuture>
#include <QGuiApplication>
#include <QtConcurrent/QtConcurrentRun>

#include <gtest/gtest.h>

namespace {

struct Answer
{
    QString vendor, renderer, version, versionEx, shadingLanguage;
    int32_t maxTextureSize = -1;
};

Answer ask()
{
    return {ZpCoreImageHardwareInfo::openGLVendor(),
            ZpCoreImageHardwareInfo::openGLRenderer(),
            ZpCoreImageHardwareInfo::openGLVersion(),
            ZpCoreImageHardwareInfo::openGLVersionEx(),
            ZpCoreImageHardwareInfo::openGLShadingLanguageVersion(),
            ZpCoreImageHardwareInfo::openGLMaxTextureSize()};
}

} // namespace

// Whatever the platform offers, the answers describe one context or none.
TEST(ZpCoreImageHardwareInfo, AnswersAreAllThereOrAllEmpty)
{
    const Answer answer = ask();
    EXPECT_GE(answer.maxTextureSize, 0);
    const bool none = answer.maxTextureSize == 0;
    EXPECT_EQ(answer.vendor.isEmpty(), none);
    EXPECT_EQ(answer.renderer.isEmpty(), none);
    EXPECT_EQ(answer.version.isEmpty(), none);
    EXPECT_EQ(answer.versionEx.isEmpty(), none);
    EXPECT_EQ(answer.shadingLanguage.isEmpty(), none);
    // Qt's offscreen platform makes OpenGL contexts only through an X display.
    if (QGuiApplication::platformName() == QLatin1String("offscreen") && qEnvironmentVariableIsEmpty("DISPLAY")) {
        EXPECT_TRUE(none);
    }
}
