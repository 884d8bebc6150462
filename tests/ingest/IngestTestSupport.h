#pragma once

// Builders for valid ingestion requests and helpers for talking to a receiver,
// shared by the zp-ingest tests. Everything here runs on the test's main thread.

#include <ZpIngest/LogValidator.h>

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QString>
#include <QUrl>

namespace ingest_test {

// Credentials of the requests the builders make. The secret is what must never
// show up in a database file.
inline constexpr char kAppSecret[] = "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0";
inline constexpr char kInstallId[] = "aaaaaaaa-bbbb-4ccc-8ddd-eeeeeeeeeeee";
inline constexpr char kSessionId[] = "5e55105e-0000-4000-8000-000000000001";
inline constexpr char kCrashId[] = "c0a5c0a5-1111-4222-8333-444455556666";

QJsonObject device();
// A log of `type` with "id", "timestamp" and "device" and nothing else.
QJsonObject commonLog(const QString& type, const QString& id);
QJsonObject startServiceLog(const QString& id = QStringLiteral("00000000-0000-4000-8000-000000000001"));
QJsonObject startSessionLog(const QString& id = QStringLiteral("00000000-0000-4000-8000-000000000002"));
QJsonObject eventLog(const QString& name = QStringLiteral("FeatureUsed"),
                     const QString& id = QStringLiteral("00000000-0000-4000-8000-000000000003"));
QJsonObject managedErrorLog(const QString& id = QString::fromLatin1(kCrashId));
QJsonObject errorAttachmentLog(const QByteArray& content, const QString& errorId = QString::fromLatin1(kCrashId),
                               const QString& id = QStringLiteral("00000000-0000-4000-8000-000000000005"));
// One log of each type.
QList<QJsonObject> oneOfEachType();

QByteArray body(const QList<QJsonObject>& logs);
LogValidator::HeaderList headers();

// The answer to one exchange; status 0 when no HTTP answer arrived.
struct Answer
{
    int status = 0;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QByteArray body;
};

// POSTs `payload` to `url` with the headers above and waits for the end of the
// exchange (bounded, for liveness only). `transferTimeoutMs` > 0 makes the
// client give up after that long without progress.
Answer post(const QUrl& url, const QByteArray& payload, const QList<QSslCertificate>& trusted = {},
            int transferTimeoutMs = 0);
Answer get(const QUrl& url);
Answer postControl(const QUrl& baseUrl, const QJsonObject& changes);

} // namespace ingest_test
