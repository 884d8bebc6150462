// The host program of the kill trials: a Qt application that uses the library
// through its exported functions, as a product does, and leaves behind a record
// of every tracking call that returned. See TrialHostProtocol.h for the usage.
#include "TrialHostProtocol.h"

#include "ZpToolboxLite.h"

#include "AppCenter/AppCenterQueue.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QThreadPool>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

CFURLRef folderUrl(const QString& path)
{
    const QByteArray utf8 = path.toUtf8();
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, utf8.constData(), kCFStringEncodingUTF8);
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text, kCFURLPOSIXPathStyle, true);
    CFRelease(text);
    return url;
}

// One write(2) per line: SIGKILL cannot leave half of a line this short, and
// nothing is buffered in the process where a kill would lose it.
bool appendLine(int fd, const QByteArray& line)
{
    const QByteArray bytes = line + '\n';
    ssize_t written;
    do {
        written = ::write(fd, bytes.constData(), size_t(bytes.size()));
    } while (written < 0 && errno == EINTR);
    return written == ssize_t(bytes.size());
}

int track(const QString& folder, const QString& recordPath, qint64 first, qint64 throttleMs)
{
    const int fd = ::open(recordPath.toLocal8Bit().constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        return 3;
    if (throttleMs >= 0)
        AppCenterQueue::setSendThrottleForTesting(throttleMs);

    CFURLRef location = folderUrl(folder);
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, location);
    if (!appendLine(fd, TrialHost::kStartedLine))
        return 4;

    QElapsedTimer running;
    running.start();
    for (qint64 k = first; running.elapsed() < TrialHost::kMaxTrackingMs; ++k) {
        const QByteArray code = QByteArray(TrialHost::kEventName) + '.' + TrialHost::kNumberProperty + '.'
            + QByteArray::number(k);
        CFStringRef featureCode = CFStringCreateWithCString(kCFAllocatorDefault, code.constData(), kCFStringEncodingUTF8);
        ZpAnalyticsTrackFeature(analytics, featureCode);
        CFRelease(featureCode);
        // Only now has the library accepted the event.
        if (!appendLine(fd, QByteArray::number(k)))
            return 4;
        QThread::usleep(TrialHost::kPauseUs);
    }
    // Nobody killed this run: leave as a host does at its end.
    ZpAnalyticsShutdown(analytics);
    ZpAnalyticsRelease(analytics);
    CFRelease(location);
    ::close(fd);
    return 0;
}

int deliver(const QString& folder)
{
    CFURLRef location = folderUrl(folder);
    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, location);
    // The send that start-up began carries everything earlier runs left;
    // leaving before it ends would cut it short.
    QThreadPool::globalInstance()->waitForDone();
    ZpAnalyticsShutdown(analytics);
    ZpAnalyticsRelease(analytics);
    CFRelease(location);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 6 && args.at(1) == QLatin1String(TrialHost::kTrack))
        return track(args.at(2), args.at(3), args.at(4).toLongLong(), args.at(5).toLongLong());
    if (args.size() == 3 && args.at(1) == QLatin1String(TrialHost::kDeliver))
        return deliver(args.at(2));
    return 2;
}
