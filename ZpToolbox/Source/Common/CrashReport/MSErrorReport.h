#pragma once

#include <QDateTime>
#include <QString>

// A crash left by an earlier run, found at start-up.
struct MSErrorReport {
    // The crashed run's session id: its files are <sessionId>.json and .dmp.
    QString sessionId;
    // When the crash happened: the birth time of its ".json" file.
    QDateTime crashTime;
};
