#include "ZpToolboxUtils.h"

#include <ZpCore/ZpProcess.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <CoreFoundation/CoreFoundation.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QSysInfo>

QMutex ZpToolboxUtils::sManagerLock;
QNetworkAccessManager* ZpToolboxUtils::sNetworkAccessManager = nullptr;

ZpToolboxUtils& ZpToolboxUtils::operator=(const ZpToolboxUtils&) = default;
ZpToolboxUtils& ZpToolboxUtils::operator=(ZpToolboxUtils&&) noexcept = default;

QNetworkAccessManager* ZpToolboxUtils::sharedNetworkAccessManager()
{
    QMutexLocker locker(&sManagerLock);
    if (!sNetworkAccessManager)
        sNetworkAccessManager = new QNetworkAccessManager(QCoreApplication::instance());
    return sNetworkAccessManager;
}

const QString ZpToolboxUtils::timestamp()
{
    // ISODateWithMs keeps trailing zeros (".000") and writes "Z" for UTC.
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
}

const QString ZpToolboxUtils::processName()
{
    CFURLRef path = ZpProcessCreateCurrentProcessPath();
    if (!path)
        return QString();
    CFStringRef lastComponent = CFURLCopyLastPathComponent(path);
    CFRelease(path);
    if (!lastComponent)
        return QString();
    const QString name = ZpQtStringUtils::createQStringFromCFStringRef(lastComponent);
    CFRelease(lastComponent);
    return name;
}

int32_t ZpToolboxUtils::processPID()
{
    return ZpProcessGetPID();
}

const QString ZpToolboxUtils::processArchitecture()
{
    return QSysInfo::currentCpuArchitecture();
}
