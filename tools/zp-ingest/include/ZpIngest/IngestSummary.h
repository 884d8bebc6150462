#pragma once

#include <ZpIngest/IngestStore.h>

#include <QList>
#include <QMap>
#include <QString>

// What a store holds, condensed for a person: how much arrived, of which kinds,
// which ids came more than once, and the crash reports with their attachments.
//
// Plain value computed once from the rows it is given; const afterwards.
class IngestSummary
{
public:
    struct Attachment
    {
        QString fileName;
        QString contentType;
        qint64 decodedBytes = 0;
    };

    // One "managedError" log and the "errorAttachment" logs whose errorId is its id.
    struct CrashReport
    {
        QString id;
        QString sid;
        QString processName;
        QString timestamp;
        QList<Attachment> attachments;
    };

    IngestSummary(const QList<IngestStore::StoredLog>& logs, const QList<IngestStore::RequestRecord>& requests);

    qint64 logCount() const;
    qint64 requestCount() const;
    // Requests answered anything but 200, dropped ones included.
    qint64 failedRequestCount() const;
    QMap<QString, qint64> countsByType() const;
    QMap<QString, qint64> countsByEventName() const;
    // Log ids stored more than once, with how often.
    QMap<QString, qint64> duplicateIds() const;
    // In arrival order of the "managedError" logs.
    QList<CrashReport> crashReports() const;
    // Attachments whose errorId names no stored "managedError".
    qint64 orphanAttachmentCount() const;

    // The report printed by `zp-ingest summary`, one item per line, ending in a newline.
    QString toText() const;

private:
    qint64 mLogCount = 0;
    qint64 mRequestCount = 0;
    qint64 mFailedRequestCount = 0;
    QMap<QString, qint64> mCountsByType;
    QMap<QString, qint64> mCountsByEventName;
    QMap<QString, qint64> mDuplicateIds;
    QList<CrashReport> mCrashReports;
    qint64 mOrphanAttachmentCount = 0;
};
