#pragma once

// C++ only: the library's umbrella header is also read by C hosts, which must
// not see this class.
#ifdef __cplusplus

#include "ZpToolboxLiteExport.h"

#include <QMutex>
#include <QString>
#include <cstdint>

class QNetworkAccessManager;

// Static helpers that the library's hosts share: one network access manager for
// the whole process, a UTC timestamp in a fixed form, and facts about the
// running process. Instances carry nothing; they exist only so that hosts can
// hold and copy them.
//
// Thread safety: every function may be called from any thread.
class ZPTOOLBOX_EXPORT ZpToolboxUtils {
public:
    ZpToolboxUtils() = default;
    ZpToolboxUtils(const ZpToolboxUtils&) = default;
    ZpToolboxUtils(ZpToolboxUtils&&) = default;
    // Out of line so that hosts link against the library's copies.
    ZpToolboxUtils& operator=(const ZpToolboxUtils&);
    ZpToolboxUtils& operator=(ZpToolboxUtils&&) noexcept;
    ~ZpToolboxUtils() = default;

    // The process's one manager, made by the first call with the application
    // object (QCoreApplication::instance(), possibly null) as its parent. Never
    // null. The library does not delete it: it goes with the application
    // object, or lives until the process ends when there was none. Like any
    // QObject it belongs to the thread of that first call, and Qt refuses a
    // parent living in another thread, so make the first call on the
    // application's thread.
    static QNetworkAccessManager* sharedNetworkAccessManager();

    // The current time in UTC with milliseconds, e.g. "2024-05-01T09:03:07.040Z":
    // always three digits of milliseconds and a closing "Z".
    static const QString timestamp();

    // The file name of the running executable, extension included; empty when
    // the system does not tell the executable's path.
    static const QString processName();

    // The operating system's id of this process.
    static int32_t processPID();

    // The processor architecture of this process, as QSysInfo names it
    // (e.g. "x86_64", "arm64").
    static const QString processArchitecture();

    // Serialises the creation of the shared manager.
    static QMutex sManagerLock;
    // Null until sharedNetworkAccessManager() is first called, then never
    // changed. Written only under sManagerLock.
    static QNetworkAccessManager* sNetworkAccessManager;
};

#endif // __cplusplus
