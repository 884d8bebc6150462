#pragma once

// The operating-system half of ZpQtSysInfo, one implementation file per system
// (ZpQtSysInfoPlatform<OS>.cpp, chosen by CMake). The hardware probes read the
// tree under `root`, which is "/" in production and a fake tree in tests.

#include <QList>
#include <QString>

// One display adapter as the system lists it.
struct ZpDisplayAdapter
{
    QString slot;        // bus address, e.g. "0000:01:00.0"
    QString className;   // e.g. "VGA compatible controller"
    quint16 vendorId = 0;
    quint16 deviceId = 0;
    QString vendorName;  // from the PCI id database; empty when it has none
    QString deviceName;  // likewise
    QString driver;      // the bound kernel driver; empty when none is bound
    bool primary = false; // the adapter the firmware booted on
};

class ZpQtSysInfoPlatform
{
public:
    ZpQtSysInfoPlatform() = delete;

    static QString platformWord();
    static bool isWindows();

    static QString defaultRoot();
    static QString hwModel(const QString& root);
    static QString hwManufacture(const QString& root);
    // The primary adapter first, then in bus order.
    static QList<ZpDisplayAdapter> displayAdapters(const QString& root);
};
