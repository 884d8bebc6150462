#include <ZpIngest/IngestSummary.h>

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>
#include <utility>

namespace {

QString field(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString();
}

void writeCounts(QTextStream& out, const QMap<QString, qint64>& counts)
{
    qsizetype width = 0;
    for (auto it = counts.constBegin(); it != counts.constEnd(); ++it)
        width = std::max(width, it.key().size());
    for (auto it = counts.constBegin(); it != counts.constEnd(); ++it)
        out << "  " << it.key().leftJustified(width) << "  " << it.value() << '\n';
}

} // namespace

IngestSummary::IngestSummary(const QList<IngestStore::StoredLog>& logs,
                             const QList<IngestStore::RequestRecord>& requests)
    : mLogCount(logs.size()), mRequestCount(requests.size())
{
    for (const IngestStore::RequestRecord& request : requests) {
        if (request.status != 200)
            ++mFailedRequestCount;
    }

    QHash<QString, qint64> idCounts;
    QHash<QString, qsizetype> crashIndexById;
    QList<QJsonObject> attachments;
    for (const IngestStore::StoredLog& log : logs) {
        ++mCountsByType[log.type];
        ++idCounts[log.logId];
        if (log.type == QLatin1String("event"))
            ++mCountsByEventName[log.name];
        if (log.type != QLatin1String("managedError") && log.type != QLatin1String("errorAttachment"))
            continue;
        const QJsonObject object = QJsonDocument::fromJson(log.json).object();
        if (log.type == QLatin1String("errorAttachment")) {
            attachments.append(object);
            continue;
        }
        CrashReport report;
        report.id = log.logId;
        report.sid = field(object, "sid");
        report.processName = field(object, "processName");
        report.timestamp = field(object, "timestamp");
        // A crash stored twice stays one report; its attachments go to the first.
        if (!crashIndexById.contains(report.id)) {
            crashIndexById.insert(report.id, mCrashReports.size());
            mCrashReports.append(report);
        }
    }
    for (auto it = idCounts.constBegin(); it != idCounts.constEnd(); ++it) {
        if (it.value() > 1)
            mDuplicateIds.insert(it.key(), it.value());
    }
    for (const QJsonObject& object : std::as_const(attachments)) {
        const auto crash = crashIndexById.constFind(field(object, "errorId"));
        if (crash == crashIndexById.constEnd()) {
            ++mOrphanAttachmentCount;
            continue;
        }
        Attachment attachment;
        attachment.fileName = field(object, "fileName");
        attachment.contentType = field(object, "contentType");
        attachment.decodedBytes = QByteArray::fromBase64(field(object, "data").toLatin1()).size();
        mCrashReports[*crash].attachments.append(attachment);
    }
}

qint64 IngestSummary::logCount() const
{
    return mLogCount;
}

qint64 IngestSummary::requestCount() const
{
    return mRequestCount;
}

qint64 IngestSummary::failedRequestCount() const
{
    return mFailedRequestCount;
}

QMap<QString, qint64> IngestSummary::countsByType() const
{
    return mCountsByType;
}

QMap<QString, qint64> IngestSummary::countsByEventName() const
{
    return mCountsByEventName;
}

QMap<QString, qint64> IngestSummary::duplicateIds() const
{
    return mDuplicateIds;
}

QList<IngestSummary::CrashReport> IngestSummary::crashReports() const
{
    return mCrashReports;
}

qint64 IngestSummary::orphanAttachmentCount() const
{
    return mOrphanAttachmentCount;
}

QString IngestSummary::toText() const
{
    QString text;
    QTextStream out(&text);
    out << "logs: " << mLogCount << '\n';
    out << "requests: " << mRequestCount << " (" << mFailedRequestCount << " answered other than 200)\n";
    out << "logs by type:" << (mCountsByType.isEmpty() ? " none" : "") << '\n';
    writeCounts(out, mCountsByType);
    out << "events by name:" << (mCountsByEventName.isEmpty() ? " none" : "") << '\n';
    writeCounts(out, mCountsByEventName);
    out << "duplicate ids:" << (mDuplicateIds.isEmpty() ? " none" : "") << '\n';
    for (auto it = mDuplicateIds.constBegin(); it != mDuplicateIds.constEnd(); ++it)
        out << "  " << it.key() << "  x" << it.value() << '\n';
    out << "crash reports: " << mCrashReports.size() << '\n';
    for (const CrashReport& report : mCrashReports) {
        out << "  " << report.id << "  sid " << report.sid << "  process " << report.processName << "  at "
            << report.timestamp << '\n';
        for (const Attachment& attachment : report.attachments) {
            out << "    attachment " << attachment.fileName << "  " << attachment.contentType << "  "
                << attachment.decodedBytes << " bytes\n";
        }
    }
    if (mOrphanAttachmentCount > 0)
        out << "attachments without a crash report: " << mOrphanAttachmentCount << '\n';
    out.flush();
    return text;
}
