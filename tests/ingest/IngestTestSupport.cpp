#include "IngestTestSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSignalSpy>
#include <QSslConfiguration>

namespace ingest_test {

namespace {

// Long enough for a loaded machine; only there so that a hang fails the test.
constexpr int kExchangeLimitMs = 20000;

Answer finish(QNetworkReply* reply)
{
    QSignalSpy finished(reply, &QNetworkReply::finished);
    if (!reply->isFinished())
        finished.wait(kExchangeLimitMs);
    Answer answer;
    answer.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    answer.error = reply->isFinished() ? reply->error() : QNetworkReply::TimeoutError;
    answer.body = reply->readAll();
    reply->abort();
    reply->deleteLater();
    return answer;
}

QNetworkAccessManager& manager()
{
    static QNetworkAccessManager* nam = new QNetworkAccessManager;
    return *nam;
}

} // namespace

QJsonObject device()
{
    return QJsonObject{
        {"sdkName", "appcenter.custom"}, {"sdkVersion", "4.4.0"},     {"model", "Standard PC"},
        {"oemName", "QEMU"},             {"osName", "Linux"},         {"osVersion", "6.1"},
        {"osBuild", "6.1.0-18-amd64"},   {"locale", "en_US"},         {"carrierCountry", ""},
        {"screenSize", "1920x1080"},     {"appVersion", "24.1"},      {"appBuild", "2401"},
        {"appNamespace", "com.example.photo"}, {"timeZoneOffset", 120},
    };
}

QJsonObject commonLog(const QString& type, const QString& id)
{
    return QJsonObject{
        {"type", type},
        {"id", id},
        {"timestamp", "2024-05-01T10:20:30.123Z"},
        {"device", device()},
    };
}

QJsonObject startServiceLog(const QString& id)
{
    QJsonObject log = commonLog(QStringLiteral("startService"), id);
    log.insert("services", QJsonArray{"Analytics", "Crashes"});
    log.insert("userId", "");
    return log;
}

QJsonObject startSessionLog(const QString& id)
{
    QJsonObject log = commonLog(QStringLiteral("startSession"), id);
    log.insert("sid", kSessionId);
    log.insert("userId", "user-1");
    return log;
}

QJsonObject eventLog(const QString& name, const QString& id)
{
    QJsonObject log = commonLog(QStringLiteral("event"), id);
    log.insert("name", name);
    log.insert("typedProperties", QJsonArray{QJsonObject{{"type", "string"}, {"name", "tool"}, {"value", "crop"}}});
    return log;
}

QJsonObject managedErrorLog(const QString& id)
{
    QJsonObject log = commonLog(QStringLiteral("managedError"), id);
    log.insert("sid", kSessionId);
    log.insert("processId", 4242);
    log.insert("processName", "PhotoEditor");
    log.insert("fatal", true);
    log.insert("appLaunchTimestamp", "2024-05-01T10:00:00.000Z");
    log.insert("architecture", "x86_64");
    log.insert("userId", "");
    log.insert("exception", QJsonObject{{"type", "SIGSEGV"}, {"message", "segmentation fault"}});
    return log;
}

QJsonObject errorAttachmentLog(const QByteArray& content, const QString& errorId, const QString& id)
{
    QJsonObject log = commonLog(QStringLiteral("errorAttachment"), id);
    log.insert("errorId", errorId);
    log.insert("sid", kSessionId);
    log.insert("contentType", "application/octet-stream");
    log.insert("fileName", "minidump.dmp");
    log.insert("data", QString::fromLatin1(content.toBase64()));
    return log;
}

QList<QJsonObject> oneOfEachType()
{
    return {startServiceLog(), startSessionLog(), eventLog(), managedErrorLog(), errorAttachmentLog("MDMP")};
}

QByteArray body(const QList<QJsonObject>& logs)
{
    QJsonArray array;
    for (const QJsonObject& log : logs)
        array.append(log);
    return QJsonDocument(QJsonObject{{"logs", array}}).toJson(QJsonDocument::Compact);
}

LogValidator::HeaderList headers()
{
    return {
        {"Content-Type", "application/json"},
        {"App-Secret", kAppSecret},
        {"Install-ID", kInstallId},
    };
}

Answer post(const QUrl& url, const QByteArray& payload, const QList<QSslCertificate>& trusted, int transferTimeoutMs)
{
    QNetworkRequest request(url);
    for (const auto& header : headers())
        request.setRawHeader(header.first, header.second);
    if (!trusted.isEmpty()) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(trusted);
        request.setSslConfiguration(configuration);
    }
    if (transferTimeoutMs > 0)
        request.setTransferTimeout(transferTimeoutMs);
    return finish(manager().post(request, payload));
}

Answer get(const QUrl& url)
{
    return finish(manager().get(QNetworkRequest(url)));
}

Answer postControl(const QUrl& baseUrl, const QJsonObject& changes)
{
    QNetworkRequest request(baseUrl.resolved(QUrl(QStringLiteral("/zp-ingest/control"))));
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    return finish(manager().post(request, QJsonDocument(changes).toJson(QJsonDocument::Compact)));
}

} // namespace ingest_test
