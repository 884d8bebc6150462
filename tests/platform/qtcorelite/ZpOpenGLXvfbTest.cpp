// Run by CTest under xvfb-run on the xcb platform, where Mesa's software
// renderer gives a real OpenGL context (the zpqt_opengl_xvfb test).
#include "ZpOpenGLFacts.h"

#include <QFuture>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QtConcurrent/QtConcurrentRun>

#include <gtest/gtest.h>

using zpqt_test::OpenGLFacts;
using zpqt_test::readOpenGLFacts;

namespace {

OpenGLFacts askFromWorker()
{
    return QtConcurrent::run(readOpenGLFacts).result();
}

} // namespace

TEST(ZpCoreImageHardwareInfoXvfb, ReadsARealContextOnTheGuiThreadOnly)
{
    ASSERT_EQ(QGuiApplication::platformName(), QStringLiteral("xcb"));

    // Nothing is kept yet, and a worker thread must not make a context itself.
    const OpenGLFacts early = askFromWorker();
    EXPECT_TRUE(early.vendor.isEmpty());
    EXPECT_TRUE(early.version.isEmpty());
    EXPECT_EQ(early.maxTextureSize, 0);

    const OpenGLFacts answer = readOpenGLFacts();
    EXPECT_FALSE(answer.vendor.isEmpty());
    EXPECT_FALSE(answer.renderer.isEmpty());
    EXPECT_FALSE(answer.version.isEmpty());
    EXPECT_FALSE(answer.shadingLanguage.isEmpty());
    EXPECT_GT(answer.maxTextureSize, 0);
    EXPECT_TRUE(answer.versionEx.startsWith(answer.version + QStringLiteral(" [OpenGL")))
        << answer.versionEx.toStdString();
    EXPECT_TRUE(answer.versionEx.contains(QStringLiteral("profile"))) << answer.versionEx.toStdString();

    // Kept after the first read, and handed to other threads as it is.
    const OpenGLFacts later = askFromWorker();
    EXPECT_EQ(later.vendor, answer.vendor);
    EXPECT_EQ(later.renderer, answer.renderer);
    EXPECT_EQ(later.version, answer.version);
    EXPECT_EQ(later.versionEx, answer.versionEx);
    EXPECT_EQ(later.shadingLanguage, answer.shadingLanguage);
    EXPECT_EQ(later.maxTextureSize, answer.maxTextureSize);
}

TEST(ZpCoreImageHardwareInfoXvfb, HostContextStaysCurrent)
{
    QOpenGLContext host;
    ASSERT_TRUE(host.create());
    QOffscreenSurface surface;
    surface.setFormat(host.format());
    surface.create();
    ASSERT_TRUE(host.makeCurrent(&surface));

    EXPECT_GT(ZpCoreImageHardwareInfo::openGLMaxTextureSize(), 0);
    EXPECT_EQ(QOpenGLContext::currentContext(), &host);
    host.doneCurrent();
}
