// POSIX signals reach the event loop through a self-pipe: the handler may only
// call async-signal-safe functions, so it writes the signal number into a pipe
// and a QSocketNotifier reads it on the watcher's thread. Qt has no API of its
// own for this; the pattern is the one Qt's documentation describes for Unix
// signal handlers.
#include <ZpIngest/IngestSignalWatcher.h>

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

const int kWatchedSignals[] = {SIGINT, SIGTERM};

int gPipe[2] = {-1, -1};
struct sigaction gPrevious[2];

// Runs in signal context: async-signal-safe calls only.
void onSignal(int signalNumber)
{
    const int savedErrno = errno;
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    // A full pipe means a termination request is already pending; losing this
    // byte changes nothing.
    [[maybe_unused]] const ssize_t written = ::write(gPipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

IngestSignalWatcher::IngestSignalWatcher(QObject* parent) : QObject(parent)
{
    Q_ASSERT(gPipe[0] < 0);
    if (::pipe2(gPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        gPipe[0] = gPipe[1] = -1;
        return;
    }
    mNotifier = new QSocketNotifier(gPipe[0], QSocketNotifier::Read, this);
    connect(mNotifier, &QSocketNotifier::activated, this, &IngestSignalWatcher::readPending);

    struct sigaction action = {};
    action.sa_handler = &onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int i = 0; i < 2; ++i)
        ::sigaction(kWatchedSignals[i], &action, &gPrevious[i]);
    mActive = true;
}

IngestSignalWatcher::~IngestSignalWatcher()
{
    if (!mActive)
        return;
    for (int i = 0; i < 2; ++i)
        ::sigaction(kWatchedSignals[i], &gPrevious[i], nullptr);
    delete mNotifier;
    ::close(gPipe[0]);
    ::close(gPipe[1]);
    gPipe[0] = gPipe[1] = -1;
}

bool IngestSignalWatcher::isActive() const
{
    return mActive;
}

void IngestSignalWatcher::readPending()
{
    unsigned char byte = 0;
    while (::read(gPipe[0], &byte, 1) == 1)
        emit terminationRequested(byte);
}
