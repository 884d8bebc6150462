#pragma once

#include <QObject>

class QSocketNotifier;

// Turns the termination requests of the operating system (SIGINT and SIGTERM on
// POSIX) into a Qt signal, so that zp-ingest can leave its event loop and close
// the database like on any other way out.
//
// At most one watcher may exist per process (the operating-system hook is
// process-wide); it lives on the thread whose event loop receives the signal.
class IngestSignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit IngestSignalWatcher(QObject* parent = nullptr);
    // Restores the previous handlers.
    ~IngestSignalWatcher() override;

    // False when the hook could not be installed; the process then ends the
    // default way on those signals.
    bool isActive() const;

signals:
    // Emitted from the event loop, never from the handler itself.
    void terminationRequested(int signalNumber);

private:
    void readPending();

    QSocketNotifier* mNotifier = nullptr;
    bool mActive = false;
};
