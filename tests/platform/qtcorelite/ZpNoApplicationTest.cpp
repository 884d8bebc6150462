// Runs without any Q(Core)Application, the way a host may call the library
// before it has made one: the answers must be empty, never a crash.
#include <ZpQtCoreLite/ZpCoreImageHardwareInfo.h>
#include <ZpQtCoreLite/ZpHttp.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QCoreApplication>

#include <gtest/gtest.h>

TEST(ZpNoApplication, ThereIsNoApplication)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
}

TEST(ZpNoApplication, ScreenFactsAreEmpty)
{
    EXPECT_TRUE(ZpQtSysInfo::resolution().isEmpty());
    EXPECT_EQ(ZpQtSysInfo::refreshRate(), 0.0);
    EXPECT_EQ(ZpQtSysInfo::osPlatform(), QStringLiteral("Linux"));
}

TEST(ZpNoApplication, OpenGLFactsAreEmpty)
{
    EXPECT_TRUE(ZpCoreImageHardwareInfo::openGLVendor().isEmpty());
    EXPECT_TRUE(ZpCoreImageHardwareInfo::openGLRenderer().isEmpty());
    EXPECT_TRUE(ZpCoreImageHardwareInfo::openGLVersion().isEmpty());
    EXPECT_TRUE(ZpCoreImageHardwareInfo::openGLVersionEx().isEmpty());
    EXPECT_TRUE(ZpCoreImageHardwareInfo::openGLShadingLanguageVersion().isEmpty());
    EXPECT_EQ(ZpCoreImageHardwareInfo::openGLMaxTextureSize(), 0);
}

TEST(ZpNoApplication, PostFailsCleanly)
{
    ZpHttp http;
    http.setUrl(QUrl(QStringLiteral("http://127.0.0.1:9/")));
    EXPECT_FALSE(http.post("x"));
    EXPECT_EQ(http.httpResultCode(), 0);
    EXPECT_TRUE(http.errorString().contains(QStringLiteral("QCoreApplication")));
}
