#include "ZpOpenGLFacts.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

using zpqt_test::OpenGLFacts;
using zpqt_test::readOpenGLFacts;

// Whatever the platform offers, the answers describe one context or none.
TEST(ZpCoreImageHardwareInfo, AnswersAreAllThereOrAllEmpty)
{
    const OpenGLFacts answer = readOpenGLFacts();
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
