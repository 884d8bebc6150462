#pragma once

// What every benchmark host sets up the same way.

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <CoreFoundation/CoreFoundation.h>

#include <QStandardPaths>
#include <QString>
#include <QtGlobal>

namespace BenchHost {

// Before the application object: Qt's offscreen platform unless the caller
// chose one, and Qt's test folders, so no benchmark touches the user's own.
inline void prepareProcess()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
}

// Nothing listens on port 9 of the loopback: sends fail at once and the
// one-minute throttle keeps later ones from starting, so only the caller's
// side is measured.
inline void pointSendsNowhere()
{
    qputenv("ZP_INGESTION_BASE_URL", "http://127.0.0.1:9");
}

// A folder as the library takes it. The caller owns the URL.
inline CFURLRef newFolderUrl(const QString& path)
{
    CFStringRef text = ZpQtStringUtils::createCFStringRefFromQString(path);
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text, kCFURLPOSIXPathStyle, true);
    CFRelease(text);
    return url;
}

} // namespace BenchHost
