#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QDir>
#include <QFile>
#include <QFuture>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QtConcurrent/QtConcurrentRun>

#include <gtest/gtest.h>

namespace {

QString readTrimmed(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

// A system tree with a firmware identity, three PCI functions (two display
// adapters, one sound card) and a pci.ids that names some of them.
class FakeSystem
{
public:
    FakeSystem() { EXPECT_TRUE(mDir.isValid()); }
    ~FakeSystem() { ZpQtSysInfo::setSystemRootOverride(std::nullopt); }

    QString root() const { return mDir.path(); }

    void write(const QString& relativePath, const QByteArray& content)
    {
        const QString path = mDir.filePath(relativePath);
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    void addPciFunction(const QString& slot, const QByteArray& classCode, const QByteArray& vendor,
                        const QByteArray& device, const QString& driver = {}, bool bootVga = false)
    {
        const QString base = QStringLiteral("sys/bus/pci/devices/") + slot + QLatin1Char('/');
        write(base + QStringLiteral("class"), classCode + '\n');
        write(base + QStringLiteral("vendor"), vendor + '\n');
        write(base + QStringLiteral("device"), device + '\n');
        write(base + QStringLiteral("boot_vga"), bootVga ? "1\n" : "0\n");
        if (!driver.isEmpty()) {
            const QString driverDir = mDir.filePath(QStringLiteral("sys/bus/pci/drivers/") + driver);
            ASSERT_TRUE(QDir().mkpath(driverDir));
            ASSERT_TRUE(QFile::link(driverDir, mDir.filePath(base + QStringLiteral("driver"))));
        }
    }

    void addStandardAdapters()
    {
        addPciFunction(QStringLiteral("0000:00:01.0"), "0x030200", "0x10de", "0x1f9d");
        addPciFunction(QStringLiteral("0000:00:02.0"), "0x030000", "0x8086", "0x9a49",
                       QStringLiteral("i915"), true);
        addPciFunction(QStringLiteral("0000:00:1f.3"), "0x040380", "0x8086", "0xa0c8",
                       QStringLiteral("snd_hda_intel"));
    }

    void addPciIds(const QString& relativePath)
    {
        write(relativePath,
              "#\tList of PCI ID's\n"
              "#\n"
              "\n"
              "10de  NVIDIA Corporation\n"
              "\t1f95  TU117M [GeForce GTX 1650 Ti Mobile]\n"
              "8086  Intel Corporation\n"
              "\t9a49  TigerLake-LP GT2 [Iris Xe Graphics]\n"
              "\t\t1028 0a1f  Latitude 5420\n"
              "\ta0c8  Tiger Lake-LP Smart Sound Technology Audio Controller\n"
              "9a49  Not Intel, a vendor whose id equals the device id\n"
              "\n"
              "C 03  Display controller\n"
              "\t00  VGA compatible controller\n");
    }

private:
    QTemporaryDir mDir;
};

} // namespace

TEST(ZpQtSysInfo, OperatingSystemFacts)
{
    EXPECT_EQ(ZpQtSysInfo::osPlatform(), QStringLiteral("Linux"));
    // The kernel's own record of its release, read independently of Qt.
    EXPECT_EQ(ZpQtSysInfo::osBuildVersion(), readTrimmed(QStringLiteral("/proc/sys/kernel/osrelease")));
    EXPECT_FALSE(ZpQtSysInfo::osBuildVersion().isEmpty());

    if (QFile::exists(QStringLiteral("/etc/os-release"))) {
        const QSettings osRelease(QStringLiteral("/etc/os-release"), QSettings::IniFormat);
        EXPECT_EQ(ZpQtSysInfo::osVersion(), osRelease.value(QStringLiteral("VERSION_ID")).toString());
        EXPECT_EQ(ZpQtSysInfo::osName(), osRelease.value(QStringLiteral("PRETTY_NAME")).toString());
    }
    EXPECT_FALSE(ZpQtSysInfo::osVersion().isEmpty());
    EXPECT_FALSE(ZpQtSysInfo::osName().isEmpty());
}

TEST(ZpQtSysInfo, PrimaryScreenResolutionAndRefreshRate)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    ASSERT_NE(screen, nullptr);
    const QString resolution = ZpQtSysInfo::resolution();
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("^(\\d+)x(\\d+)$")).match(resolution);
    ASSERT_TRUE(match.hasMatch()) << resolution.toStdString();
    const qreal ratio = screen->devicePixelRatio();
    EXPECT_EQ(match.captured(1).toInt(), qRound(screen->geometry().width() * ratio));
    EXPECT_EQ(match.captured(2).toInt(), qRound(screen->geometry().height() * ratio));
    EXPECT_GT(match.captured(1).toInt(), 0);
    EXPECT_GT(ZpQtSysInfo::refreshRate(), 0.0);
    EXPECT_DOUBLE_EQ(ZpQtSysInfo::refreshRate(), screen->refreshRate());
}

TEST(ZpQtSysInfo, ScreenIsNotReadFromOtherThreads)
{
    QFuture<QPair<QString, double>> future = QtConcurrent::run([] {
        return qMakePair(ZpQtSysInfo::resolution(), ZpQtSysInfo::refreshRate());
    });
    const auto [resolution, refreshRate] = future.result();
    EXPECT_TRUE(resolution.isEmpty());
    EXPECT_EQ(refreshRate, 0.0);
    EXPECT_FALSE(ZpQtSysInfo::resolution().isEmpty()); // while the GUI thread still gets it
}

TEST(ZpQtSysInfo, FirmwareIdentityFromDmi)
{
    FakeSystem system;
    system.write(QStringLiteral("sys/class/dmi/id/product_name"), "ThinkPad X1 Carbon Gen 9\n");
    system.write(QStringLiteral("sys/class/dmi/id/sys_vendor"), "LENOVO\n");
    ZpQtSysInfo::setSystemRootOverride(system.root());
    EXPECT_EQ(ZpQtSysInfo::hwModel(), QStringLiteral("ThinkPad X1 Carbon Gen 9"));
    EXPECT_EQ(ZpQtSysInfo::hwManufacture(), QStringLiteral("LENOVO"));
}

TEST(ZpQtSysInfo, MissingDmiGivesEmptyTexts)
{
    FakeSystem system;
    system.write(QStringLiteral("sys/class/dmi/id/board_name"), "unrelated\n");
    ZpQtSysInfo::setSystemRootOverride(system.root());
    EXPECT_TRUE(ZpQtSysInfo::hwModel().isEmpty());
    EXPECT_TRUE(ZpQtSysInfo::hwManufacture().isEmpty());
}

TEST(ZpQtSysInfo, DisplayAdaptersNamedFromPciIds)
{
    FakeSystem system;
    system.addStandardAdapters();
    system.addPciIds(QStringLiteral("usr/share/misc/pci.ids"));
    ZpQtSysInfo::setSystemRootOverride(system.root());

    EXPECT_EQ(ZpQtSysInfo::videoCard(), QStringLiteral("Intel Corporation TigerLake-LP GT2 [Iris Xe Graphics]"));
    EXPECT_EQ(ZpQtSysInfo::videoDescription(),
              QStringLiteral("0000:00:02.0 VGA compatible controller: Intel Corporation TigerLake-LP GT2 "
                             "[Iris Xe Graphics] [8086:9a49] (driver i915)\n"
                             "0000:00:01.0 3D controller: NVIDIA Corporation device 1f9d [10de:1f9d]"));
}

TEST(ZpQtSysInfo, PciIdsFromHwdataLocation)
{
    FakeSystem system;
    system.addStandardAdapters();
    system.addPciIds(QStringLiteral("usr/share/hwdata/pci.ids"));
    ZpQtSysInfo::setSystemRootOverride(system.root());
    EXPECT_EQ(ZpQtSysInfo::videoCard(), QStringLiteral("Intel Corporation TigerLake-LP GT2 [Iris Xe Graphics]"));
}

TEST(ZpQtSysInfo, DisplayAdaptersWithoutPciIdsShowIds)
{
    FakeSystem system;
    system.addStandardAdapters();
    ZpQtSysInfo::setSystemRootOverride(system.root());

    EXPECT_EQ(ZpQtSysInfo::videoCard(), QStringLiteral("PCI 8086:9a49"));
    EXPECT_EQ(ZpQtSysInfo::videoDescription(),
              QStringLiteral("0000:00:02.0 VGA compatible controller: PCI 8086:9a49 [8086:9a49] (driver i915)\n"
                             "0000:00:01.0 3D controller: PCI 10de:1f9d [10de:1f9d]"));
}

TEST(ZpQtSysInfo, NoDisplayAdapterGivesEmptyTexts)
{
    FakeSystem system;
    system.addPciFunction(QStringLiteral("0000:00:1f.3"), "0x040380", "0x8086", "0xa0c8");
    system.addPciFunction(QStringLiteral("0000:00:03.0"), "0x020000", "0x1af4", "0x1041");
    system.addPciIds(QStringLiteral("usr/share/misc/pci.ids"));
    ZpQtSysInfo::setSystemRootOverride(system.root());
    EXPECT_TRUE(ZpQtSysInfo::videoCard().isEmpty());
    EXPECT_TRUE(ZpQtSysInfo::videoDescription().isEmpty());
}

TEST(ZpQtSysInfo, SystemRootOverrideIsRestored)
{
    {
        FakeSystem system;
        system.write(QStringLiteral("sys/class/dmi/id/product_name"), "Fake Model\n");
        ZpQtSysInfo::setSystemRootOverride(system.root());
        ASSERT_EQ(ZpQtSysInfo::hwModel(), QStringLiteral("Fake Model"));
    }
    EXPECT_EQ(ZpQtSysInfo::hwModel(), readTrimmed(QStringLiteral("/sys/class/dmi/id/product_name")));
    EXPECT_EQ(ZpQtSysInfo::hwManufacture(), readTrimmed(QStringLiteral("/sys/class/dmi/id/sys_vendor")));
}

TEST(ZpQtSysInfo, WinPlatformIsFalseOnLinuxAndOverridable)
{
    EXPECT_FALSE(ZpQtSysInfo::isWinPlatform());
    ZpQtSysInfo::setWinPlatformOverride(true);
    EXPECT_TRUE(ZpQtSysInfo::isWinPlatform());
    ZpQtSysInfo::setWinPlatformOverride(false);
    EXPECT_FALSE(ZpQtSysInfo::isWinPlatform());
    ZpQtSysInfo::setWinPlatformOverride(true);
    ZpQtSysInfo::setWinPlatformOverride(std::nullopt);
    EXPECT_FALSE(ZpQtSysInfo::isWinPlatform());
}

TEST(ZpQtSysInfo, DebugBuildFollowsNdebugAndIsOverridable)
{
    // The tests are compiled in the library's configuration.
#ifdef NDEBUG
    const bool builtAsDebug = false;
#else
    const bool builtAsDebug = true;
#endif
    EXPECT_EQ(ZpQtSysInfo::isDebugBuild(), builtAsDebug);
    ZpQtSysInfo::setDebugBuildOverride(!builtAsDebug);
    EXPECT_EQ(ZpQtSysInfo::isDebugBuild(), !builtAsDebug);
    ZpQtSysInfo::setDebugBuildOverride(std::nullopt);
    EXPECT_EQ(ZpQtSysInfo::isDebugBuild(), builtAsDebug);
}
