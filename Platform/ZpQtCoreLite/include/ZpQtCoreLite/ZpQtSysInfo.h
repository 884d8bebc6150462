#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <QString>

#include <optional>

// Facts about the machine, the operating system and the display, read from Qt and
// from the system (on Linux /sys and the PCI id database). A fact that cannot be
// read is an empty text (0 for numbers), never a guess.
//
// Thread safety: every member may be called from any thread, except that
// resolution() and refreshRate() read QScreen and so belong on the GUI thread
// (other threads get "" / 0).
class ZPQTCORELITE_EXPORT ZpQtSysInfo
{
public:
    ZpQtSysInfo() = delete;

    // The operating system's product version, e.g. "12" (Debian), "10" (Windows),
    // "14.2" (macOS).
    static QString osVersion();
    // The kernel or build version, e.g. "6.1.0-18-amd64" (Linux), "10.0.22631".
    static QString osBuildVersion();
    // One word for the platform: "Linux", "Windows" or "macOS".
    static QString osPlatform();
    // A human name for the system, e.g. "Debian GNU/Linux 12 (bookworm)".
    static QString osName();

    // The primary screen in device pixels as "<width>x<height>", e.g. "1920x1080";
    // empty without a QGuiApplication or a screen.
    static QString resolution();
    // The primary screen's refresh rate in Hz; 0 without a QGuiApplication or a
    // screen.
    static double refreshRate();

    // The machine's model and maker as its firmware reports them (Linux: the DMI
    // product_name and sys_vendor); empty when unreadable.
    static QString hwModel();
    static QString hwManufacture();

    // The primary display adapter's name, e.g. "NVIDIA Corporation GA104 [GeForce
    // RTX 3070]", or "PCI 10de:2484" when the PCI id database has no name for it;
    // empty when no display adapter is visible.
    static QString videoCard();
    // One line per display adapter:
    //   "<slot> <class>: <vendor> <device> [<vendor id>:<device id>] (driver <name>)"
    // the primary one first; the driver part only when a driver is bound. Empty when
    // no display adapter is visible.
    static QString videoDescription();

    // True when this library was compiled without NDEBUG, i.e. as a debug build.
    static bool isDebugBuild();
    // True on Windows, false elsewhere. Dialogs choose their button order by it.
    static bool isWinPlatform();

    // For tests: force isWinPlatform() / isDebugBuild() to a value, or restore the
    // real one with std::nullopt.
    static void setWinPlatformOverride(std::optional<bool> value);
    static void setDebugBuildOverride(std::optional<bool> value);
    // For tests: read the hardware facts (hwModel, hwManufacture, videoCard,
    // videoDescription) from a fake system tree laid out like the real root ("/"),
    // e.g. <root>/sys/class/dmi/id/product_name and
    // <root>/usr/share/misc/pci.ids; std::nullopt restores the real root.
    static void setSystemRootOverride(std::optional<QString> root);
};
