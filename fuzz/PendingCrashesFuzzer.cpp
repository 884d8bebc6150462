// The crash files an earlier run left, read by the "Crashes" service when it
// starts: the input becomes a ".json" crash record and/or a ".dmp" minidump in
// the crashes folder of a started App Center client (sends refused), then the
// service starts with the crash workflow's own delegate and a confirmation
// handler in place of the dialog, and sends what it found.
//
// An input:
//
//   byte 0     bit 0: write the ".json"; bit 1: write the ".dmp"; bit 2: the
//              confirmation handler takes over (the reports are sent after it
//              returned, as once the user answered) rather than answering that
//              they go at once; bit 3: a second crashed run leaves the same
//              files; bit 4: the files are named by the first line of the rest
//              instead of a session id; bit 5: no delegate
//   the rest   the ".json" bytes up to the first "MDMP", the ".dmp" bytes from
//              there (all of it for a ".dmp" alone)
//
// Checked per input: every ".json" file is one pending report under its file
// name, the confirmation handler sees them all, and once they are sent no
// crash file is left. Every few hundred inputs every stored record is checked
// (a JSON object in Qt's compact form under its own id) and the store starts
// over.
#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterQueue.h"
#include "CrashReport/CrashReportController.h"
#include "CrashReport/Crashes.h"
#include "CrashReport/WinCrashManagerDelegate.h"

#include "FuzzApplication.h"
#include "StoredLogs.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSet>
#include <QThreadPool>
#include <QUuid>

#include <cstddef>
#include <cstdint>

namespace {

const QString kSecret = QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f");
constexpr int kInputsPerStore = 500;
// A file name has at most 255 bytes; ".json" and a UTF-8 character take some.
constexpr int kMaxNameChars = 60;

QString gFolder;
int gInputs = 0;

QString storageDirectory()
{
    return gFolder + QStringLiteral("/AppCenter");
}

QString crashesDirectory()
{
    return storageDirectory() + QStringLiteral("/crashes");
}

void startClient()
{
    AppCenter::resetForTesting();
    AppCenter::start(kSecret, gFolder);
    const std::shared_ptr<AppCenterQueue> queue = AppCenter::instance().queue();
    FuzzApplication::require(queue && queue->hasDatabase(), "the client's store did not open");
}

void checkStoreAndStartOver()
{
    AppCenter::resetForTesting();
    Crashes::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();
    StoredLogs::checkAll(storageDirectory());
    QDir(storageDirectory()).removeRecursively();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    startClient();
}

// The name a crashed run's files get: a session id, or text from the input
// made into one file name (no separators, no NUL, not hidden).
QString fileBaseName(const QByteArray& line, bool fromInput)
{
    if (!fromInput)
        return QUuid::createUuid().toString(QUuid::WithoutBraces);
    QString name = QString::fromUtf8(line).left(kMaxNameChars);
    name.replace(QLatin1Char('/'), QLatin1Char('_')).replace(QChar(0), QLatin1Char('_'));
    if (name.isEmpty() || name.startsWith(QLatin1Char('.')))
        name.prepend(QLatin1Char('x'));
    return name;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

QStringList crashFiles()
{
    return QDir(crashesDirectory()).entryList({QStringLiteral("*.dmp"), QStringLiteral("*.json")}, QDir::Files);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzApplication::start();
    gFolder = FuzzApplication::scratchDirectory();
    // The workflow's controller armed as a host arms it, so that the delegate's
    // attachments (product log, crash description) have a product.
    CFStringRef path = ZpQtStringUtils::createCFStringRefFromQString(gFolder);
    CFURLRef location = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
    CrashReportController::instance().startup(CFSTR("user-7"), kZpProductDelta, 0, 3, false, location);
    CFRelease(location);
    CFRelease(path);
    startClient();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const uint8_t flags = data[0];
    QByteArray rest(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    const bool writeJson = flags & 0x01;
    const bool writeDump = flags & 0x02;
    const bool handlerTakesOver = flags & 0x04;
    const int runs = (flags & 0x08) ? 2 : 1;
    const bool namedByInput = flags & 0x10;
    const bool withDelegate = !(flags & 0x20);

    QByteArray nameLine;
    if (namedByInput) {
        const qsizetype newline = rest.indexOf('\n');
        nameLine = rest.left(newline < 0 ? rest.size() : newline);
        rest = newline < 0 ? QByteArray() : rest.mid(newline + 1);
    }
    QByteArray json = rest;
    QByteArray dump;
    const qsizetype signature = rest.indexOf("MDMP");
    if (writeJson && signature >= 0) {
        json = rest.left(signature);
        dump = rest.mid(signature);
    } else if (!writeJson) {
        dump = rest;
    }

    FuzzApplication::require(QDir().mkpath(crashesDirectory()), "cannot make the crashes folder");
    QSet<QString> expected; // session ids of the ".json" files
    for (int run = 0; run < runs; ++run) {
        QString base = fileBaseName(nameLine, namedByInput);
        if (run > 0)
            base += QStringLiteral("-2");
        const QString stem = crashesDirectory() + QLatin1Char('/') + base;
        if (writeJson) {
            FuzzApplication::require(writeFile(stem + QStringLiteral(".json"), json), "cannot write a crash record");
            expected.insert(base);
        }
        if (writeDump)
            FuzzApplication::require(writeFile(stem + QStringLiteral(".dmp"), dump), "cannot write a minidump");
    }

    Crashes::resetForTesting();
    Crashes& crashes = Crashes::instance();
    if (withDelegate)
        crashes.setDelegate(std::make_unique<WinCrashManagerDelegate>());
    int asked = 0;
    crashes.setUserConfirmationHandler([&asked, &expected, handlerTakesOver](const QList<MSErrorReport>& reports) {
        ++asked;
        FuzzApplication::require(reports.size() == expected.size(), "the handler was not shown every report");
        return handlerTakesOver;
    });
    crashes.start(QUuid::createUuid(), QStringLiteral("user-7"), AppCenter::instance().queue(),
                  AppCenter::instance().storageDirectory());

    QSet<QString> pending;
    for (const MSErrorReport& report : crashes.pendingReports())
        pending.insert(report.sessionId);
    FuzzApplication::require(pending == expected, "the pending reports are not the crash records",
                             QStringList(pending.values()).join(QLatin1Char(' ')));
    FuzzApplication::require(asked == (expected.isEmpty() ? 0 : 1), "the confirmation handler was not asked once");
    if (handlerTakesOver && !expected.isEmpty())
        crashes.sendPendingReports();
    if (!expected.isEmpty())
        FuzzApplication::require(crashFiles().isEmpty(), "crash files are left after sending",
                                 crashFiles().join(QLatin1Char(' ')));

    // The handler holds references into this input.
    crashes.setUserConfirmationHandler(nullptr);
    // A minidump without a record is never sent; it goes with the next send.
    for (const QString& name : crashFiles())
        QFile::remove(crashesDirectory() + QLatin1Char('/') + name);
    if (++gInputs % kInputsPerStore == 0)
        checkStoreAndStartOver();
    return 0;
}
