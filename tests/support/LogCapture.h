#pragma once

#include <QMutex>
#include <QStringList>

// Collects the messages of the vendor log while it exists (lines from any
// thread), so that a test can check what the code under test logged.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList messages() const;
    // Messages that contain `fragment`.
    QStringList matching(const QString& fragment) const;

private:
    static void receive(void* context, const struct ZpLogRecord* record);

    mutable QMutex mMutex;
    QStringList mMessages;
};
