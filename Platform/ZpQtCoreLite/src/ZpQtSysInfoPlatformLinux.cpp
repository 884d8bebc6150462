// Linux: the firmware's DMI strings from /sys/class/dmi/id, display adapters from
// /sys/bus/pci/devices (PCI base class 0x03), their names from the pci.ids
// database that pciutils and hwdata install.

#include "ZpQtSysInfoPlatform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>

namespace {

constexpr quint32 kDisplayBaseClass = 0x03;

QString readAttribute(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).trimmed();
}

// sysfs writes numbers as "0x" hex.
bool readHexAttribute(const QString& path, quint32* value)
{
    QString text = readAttribute(path);
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        text = text.mid(2);
    bool ok = false;
    *value = text.toUInt(&ok, 16);
    return ok && !text.isEmpty();
}

QString className(quint32 classCode)
{
    switch ((classCode >> 8) & 0xff) {
    case 0x00: return QStringLiteral("VGA compatible controller");
    case 0x01: return QStringLiteral("XGA compatible controller");
    case 0x02: return QStringLiteral("3D controller");
    default: return QStringLiteral("Display controller");
    }
}

QString pciIdsPath(const QDir& root)
{
    for (const char* candidate : {"usr/share/misc/pci.ids", "usr/share/hwdata/pci.ids"}) {
        const QString path = root.filePath(QLatin1String(candidate));
        if (QFileInfo::exists(path))
            return path;
    }
    return {};
}

quint32 deviceKey(quint16 vendorId, quint16 deviceId)
{
    return (quint32(vendorId) << 16) | deviceId;
}

// Fills in the names pci.ids has for `adapters`. The file lists each vendor on
// an unindented "vvvv  Name" line followed by its devices on "\tdddd  Name"
// lines (deeper indents are subsystems); the device classes follow after the
// first line starting with "C ".
void nameAdapters(const QDir& root, QList<ZpDisplayAdapter>& adapters)
{
    QFile file(pciIdsPath(root));
    if (adapters.isEmpty() || file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly))
        return;

    QSet<quint16> wantedVendors;
    QSet<quint32> wantedDevices;
    for (const ZpDisplayAdapter& adapter : std::as_const(adapters)) {
        wantedVendors.insert(adapter.vendorId);
        wantedDevices.insert(deviceKey(adapter.vendorId, adapter.deviceId));
    }

    QHash<quint16, QString> vendorNames;
    QHash<quint32, QString> deviceNames;
    int vendor = -1; // the vendor whose devices follow, when it is a wanted one
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (line.isEmpty() || line.startsWith('#') || line.trimmed().isEmpty())
            continue;
        if (line.startsWith("C "))
            break;
        bool ok = false;
        if (line.at(0) != '\t') {
            const quint16 id = line.left(4).toUShort(&ok, 16);
            vendor = ok && wantedVendors.contains(id) ? id : -1;
            if (vendor >= 0)
                vendorNames.insert(id, QString::fromUtf8(line.mid(4).trimmed()));
        } else if (vendor >= 0 && line.size() > 1 && line.at(1) != '\t') {
            const quint16 id = line.mid(1, 4).toUShort(&ok, 16);
            const quint32 key = deviceKey(quint16(vendor), id);
            if (ok && wantedDevices.contains(key))
                deviceNames.insert(key, QString::fromUtf8(line.mid(5).trimmed()));
        }
    }

    for (ZpDisplayAdapter& adapter : adapters) {
        adapter.vendorName = vendorNames.value(adapter.vendorId);
        adapter.deviceName = deviceNames.value(deviceKey(adapter.vendorId, adapter.deviceId));
    }
}

} // namespace

QString ZpQtSysInfoPlatform::platformWord()
{
    return QStringLiteral("Linux");
}

bool ZpQtSysInfoPlatform::isWindows()
{
    return false;
}

QString ZpQtSysInfoPlatform::defaultRoot()
{
    return QStringLiteral("/");
}

QString ZpQtSysInfoPlatform::hwModel(const QString& root)
{
    return readAttribute(QDir(root).filePath(QStringLiteral("sys/class/dmi/id/product_name")));
}

QString ZpQtSysInfoPlatform::hwManufacture(const QString& root)
{
    return readAttribute(QDir(root).filePath(QStringLiteral("sys/class/dmi/id/sys_vendor")));
}

QList<ZpDisplayAdapter> ZpQtSysInfoPlatform::displayAdapters(const QString& root)
{
    const QDir rootDir(root);
    const QDir devices(rootDir.filePath(QStringLiteral("sys/bus/pci/devices")));

    QList<ZpDisplayAdapter> adapters;
    const QStringList busAddresses =
        devices.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& slot : busAddresses) {
        const QDir device(devices.filePath(slot));
        quint32 classCode = 0;
        quint32 vendorId = 0;
        quint32 deviceId = 0;
        if (!readHexAttribute(device.filePath(QStringLiteral("class")), &classCode)
            || (classCode >> 16) != kDisplayBaseClass
            || !readHexAttribute(device.filePath(QStringLiteral("vendor")), &vendorId)
            || !readHexAttribute(device.filePath(QStringLiteral("device")), &deviceId))
            continue;

        ZpDisplayAdapter adapter;
        adapter.slot = slot;
        adapter.className = className(classCode);
        adapter.vendorId = quint16(vendorId);
        adapter.deviceId = quint16(deviceId);
        const QFileInfo driver(device.filePath(QStringLiteral("driver")));
        if (driver.isSymLink())
            adapter.driver = QFileInfo(driver.symLinkTarget()).fileName();
        adapter.primary = readAttribute(device.filePath(QStringLiteral("boot_vga"))) == QLatin1String("1");
        adapters.append(adapter);
    }

    std::stable_partition(adapters.begin(), adapters.end(),
                          [](const ZpDisplayAdapter& adapter) { return adapter.primary; });
    nameAdapters(rootDir, adapters);
    return adapters;
}
