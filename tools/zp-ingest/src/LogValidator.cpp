#include <ZpIngest/LogValidator.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>
#include <QRegularExpression>

#include <cmath>
#include <utility>

namespace {

// The device keys that must be present as strings (possibly empty).
const char* const kDeviceStringKeys[] = {
    "sdkName",   "sdkVersion",     "model",      "oemName",    "osName",   "osVersion",    "osBuild",
    "locale",    "carrierCountry", "screenSize", "appVersion", "appBuild", "appNamespace",
};

constexpr int kMaxTimeZoneOffsetMinutes = 840;

// Echoed log types are cut so that a hostile request cannot make the reason (and
// the requests table) arbitrarily long.
constexpr qsizetype kMaxEchoedChars = 40;

QString quoted(const QString& key)
{
    return QLatin1Char('"') + key + QLatin1Char('"');
}

// Checks keys of one JSON object and keeps the first problem. `prefix` names the
// object inside its log ("device.", "typedProperties[2]."), so that every reason
// points at one key.
class FieldChecker
{
public:
    FieldChecker(const QJsonObject& object, QString prefix) : mObject(object), mPrefix(std::move(prefix)) {}

    bool ok() const { return mReason.isEmpty(); }
    QString reason() const { return mReason; }

    bool string(const char* key) { return value(key, QJsonValue::String, "a string"); }

    bool nonEmptyString(const char* key)
    {
        if (!string(key))
            return false;
        if (mObject.value(QLatin1String(key)).toString().isEmpty())
            return fail(key, QStringLiteral("is empty"));
        return true;
    }

    bool optionalString(const char* key)
    {
        return !mObject.contains(QLatin1String(key)) || string(key);
    }

    bool boolean(const char* key) { return value(key, QJsonValue::Bool, "a boolean"); }
    bool number(const char* key) { return value(key, QJsonValue::Double, "a number"); }
    bool object(const char* key) { return value(key, QJsonValue::Object, "an object"); }
    bool array(const char* key) { return value(key, QJsonValue::Array, "an array"); }

    bool integerWithin(const char* key, int low, int high)
    {
        if (!number(key))
            return false;
        const double number = mObject.value(QLatin1String(key)).toDouble();
        if (std::trunc(number) != number)
            return fail(key, QStringLiteral("is not an integer"));
        if (number < low || number > high)
            return fail(key, QStringLiteral("is outside %1..%2").arg(low).arg(high));
        return true;
    }

    bool uuid(const char* key)
    {
        if (!string(key))
            return false;
        if (!LogValidator::isUuid(mObject.value(QLatin1String(key)).toString()))
            return fail(key, QStringLiteral("is not a UUID"));
        return true;
    }

    bool timestamp(const char* key)
    {
        if (!string(key))
            return false;
        if (!LogValidator::isTimestamp(mObject.value(QLatin1String(key)).toString()))
            return fail(key, QStringLiteral("is not ISO 8601 with milliseconds"));
        return true;
    }

    bool base64(const char* key)
    {
        if (!string(key))
            return false;
        if (!LogValidator::isPaddedBase64(mObject.value(QLatin1String(key)).toString()))
            return fail(key, QStringLiteral("is not padded standard Base64"));
        return true;
    }

    bool absent(const char* key, const QString& why)
    {
        if (mObject.contains(QLatin1String(key))) {
            mReason = why;
            return false;
        }
        return true;
    }

    bool fail(const char* key, const QString& what)
    {
        mReason = quoted(mPrefix + QLatin1String(key)) + QLatin1Char(' ') + what;
        return false;
    }

private:
    bool value(const char* key, QJsonValue::Type type, const char* typeName)
    {
        const auto it = mObject.constFind(QLatin1String(key));
        if (it == mObject.constEnd())
            return fail(key, QStringLiteral("is missing"));
        if (it->type() != type)
            return fail(key, QStringLiteral("is not ") + QLatin1String(typeName));
        return true;
    }

    const QJsonObject& mObject;
    const QString mPrefix;
    QString mReason;
};

QString checkDevice(const QJsonObject& device)
{
    FieldChecker check(device, QStringLiteral("device."));
    for (const char* key : kDeviceStringKeys) {
        if (!check.string(key))
            return check.reason();
    }
    if (!check.integerWithin("timeZoneOffset", -kMaxTimeZoneOffsetMinutes, kMaxTimeZoneOffsetMinutes)
        || !check.optionalString("wrapperSdkName"))
        return check.reason();
    return {};
}

QString checkTypedProperties(const QJsonArray& properties)
{
    for (qsizetype i = 0; i < properties.size(); ++i) {
        const QString where = QStringLiteral("typedProperties[%1]").arg(i);
        const QJsonValue element = properties.at(i);
        if (!element.isObject())
            return quoted(where) + QStringLiteral(" is not an object");
        const QJsonObject property = element.toObject();
        if (property.size() != 3 || !property.contains(QLatin1String("type"))
            || !property.contains(QLatin1String("name")) || !property.contains(QLatin1String("value")))
            return quoted(where) + QStringLiteral(R"( must have exactly "type", "name" and "value")");
        FieldChecker check(property, where + QLatin1Char('.'));
        if (!check.string("type") || !check.string("name") || !check.string("value"))
            return check.reason();
        if (property.value(QLatin1String("type")).toString() != QLatin1String("string"))
            return quoted(where + QStringLiteral(".type")) + QStringLiteral(R"( is not "string")");
    }
    return {};
}

QString checkStartService(const QJsonObject& log)
{
    FieldChecker check(log, QString());
    if (!check.array("services") || !check.string("userId"))
        return check.reason();
    const QJsonArray services = log.value(QLatin1String("services")).toArray();
    if (services.isEmpty())
        return QStringLiteral(R"("services" is empty)");
    for (qsizetype i = 0; i < services.size(); ++i) {
        if (!services.at(i).isString())
            return QStringLiteral(R"("services[%1]" is not a string)").arg(i);
    }
    return {};
}

QString checkStartSession(const QJsonObject& log)
{
    FieldChecker check(log, QString());
    if (!check.uuid("sid") || !check.string("userId"))
        return check.reason();
    return {};
}

QString checkEvent(const QJsonObject& log)
{
    FieldChecker check(log, QString());
    if (!check.nonEmptyString("name")
        || !check.absent("sid", QStringLiteral(R"(an event must not carry "sid")"))
        || !check.absent("userId", QStringLiteral(R"(an event must not carry "userId")")))
        return check.reason();
    if (log.contains(QLatin1String("typedProperties"))) {
        if (!check.array("typedProperties"))
            return check.reason();
        return checkTypedProperties(log.value(QLatin1String("typedProperties")).toArray());
    }
    return {};
}

QString checkManagedError(const QJsonObject& log)
{
    FieldChecker check(log, QString());
    if (!check.uuid("sid") || !check.number("processId") || !check.string("processName")
        || !check.boolean("fatal") || !check.timestamp("appLaunchTimestamp") || !check.string("architecture")
        || !check.string("userId") || !check.object("exception"))
        return check.reason();
    FieldChecker exception(log.value(QLatin1String("exception")).toObject(), QStringLiteral("exception."));
    if (!exception.string("type") || !exception.optionalString("wrapperSdkName"))
        return exception.reason();
    return {};
}

QString checkErrorAttachment(const QJsonObject& log)
{
    FieldChecker check(log, QString());
    if (!check.uuid("errorId") || !check.uuid("sid") || !check.string("contentType") || !check.string("fileName")
        || !check.base64("data"))
        return check.reason();
    return {};
}

using TypeCheck = QString (*)(const QJsonObject&);

TypeCheck checkForType(const QString& type)
{
    struct Entry
    {
        const char* type;
        TypeCheck check;
    };
    static const Entry kEntries[] = {
        {"startService", &checkStartService}, {"startSession", &checkStartSession},
        {"event", &checkEvent},               {"managedError", &checkManagedError},
        {"errorAttachment", &checkErrorAttachment},
    };
    for (const Entry& entry : kEntries) {
        if (type == QLatin1String(entry.type))
            return entry.check;
    }
    return nullptr;
}

// The value of the one header named `name`; sets `reason` when it is missing or
// repeated (two App-Secret headers would leave the owner ambiguous).
bool singleHeader(const LogValidator::HeaderList& headers, const char* name, QByteArray* value, QString* reason)
{
    int found = 0;
    for (const auto& header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0) {
            ++found;
            *value = header.second.trimmed();
        }
    }
    if (found == 0)
        *reason = QStringLiteral("missing header %1").arg(QLatin1String(name));
    else if (found > 1)
        *reason = QStringLiteral("header %1 appears more than once").arg(QLatin1String(name));
    return found == 1;
}

QString checkHeaders(const LogValidator::HeaderList& headers, QByteArray* appSecret, QByteArray* installId)
{
    QString reason;
    QByteArray contentType;
    if (!singleHeader(headers, "Content-Type", &contentType, &reason))
        return reason;
    // Parameters such as "; charset=utf-8" are allowed; the media type is not.
    const QByteArray mediaType = contentType.split(';').constFirst().trimmed();
    if (mediaType.compare("application/json", Qt::CaseInsensitive) != 0)
        return QStringLiteral("header Content-Type is not application/json");
    if (!singleHeader(headers, "App-Secret", appSecret, &reason))
        return reason;
    if (!LogValidator::isUuid(QString::fromLatin1(*appSecret)))
        return QStringLiteral("header App-Secret is not a UUID");
    if (!singleHeader(headers, "Install-ID", installId, &reason))
        return reason;
    if (!LogValidator::isUuid(QString::fromLatin1(*installId)))
        return QStringLiteral("header Install-ID is not a UUID");
    return {};
}

LogValidator::Result rejected(QString reason)
{
    LogValidator::Result result;
    result.reason = std::move(reason);
    return result;
}

} // namespace

LogValidator::Result LogValidator::validate(const HeaderList& headers, const QByteArray& body)
{
    QByteArray appSecret;
    QByteArray installId;
    QString reason = checkHeaders(headers, &appSecret, &installId);
    if (!reason.isEmpty())
        return rejected(reason);

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        return rejected(QStringLiteral("body is not valid JSON: %1 at offset %2")
                            .arg(parseError.errorString())
                            .arg(parseError.offset));
    }
    if (!document.isObject())
        return rejected(QStringLiteral("body is not a JSON object"));
    const QJsonObject root = document.object();
    const auto logsValue = root.constFind(QLatin1String("logs"));
    if (logsValue == root.constEnd())
        return rejected(QStringLiteral(R"("logs" is missing)"));
    if (!logsValue->isArray())
        return rejected(QStringLiteral(R"("logs" is not an array)"));
    const QJsonArray logs = logsValue->toArray();
    if (logs.isEmpty())
        return rejected(QStringLiteral(R"("logs" is empty)"));

    Result result;
    result.logs.reserve(logs.size());
    for (qsizetype i = 0; i < logs.size(); ++i) {
        const QJsonValue element = logs.at(i);
        if (!element.isObject())
            return rejected(QStringLiteral("log %1 is not a JSON object").arg(i));
        const QJsonObject log = element.toObject();
        reason = checkLog(log);
        if (!reason.isEmpty())
            return rejected(QStringLiteral("log %1: %2").arg(i).arg(reason));
        Log accepted;
        accepted.type = log.value(QLatin1String("type")).toString();
        accepted.id = log.value(QLatin1String("id")).toString();
        if (accepted.type == QLatin1String("event"))
            accepted.name = log.value(QLatin1String("name")).toString();
        accepted.json = QJsonDocument(log).toJson(QJsonDocument::Compact);
        result.logs.append(std::move(accepted));
    }
    result.ok = true;
    result.appSecretSha256 = QString::fromLatin1(QCryptographicHash::hash(appSecret, QCryptographicHash::Sha256).toHex());
    result.installId = QString::fromLatin1(installId);
    return result;
}

QString LogValidator::checkLog(const QJsonObject& log)
{
    FieldChecker check(log, QString());
    if (!check.string("type"))
        return check.reason();
    const QString type = log.value(QLatin1String("type")).toString();
    const TypeCheck checkType = checkForType(type);
    if (!checkType) {
        const QString shown = type.size() > kMaxEchoedChars ? type.left(kMaxEchoedChars) + QStringLiteral("...") : type;
        return QStringLiteral("unknown log type %1").arg(quoted(shown));
    }
    if (!check.uuid("id") || !check.timestamp("timestamp") || !check.object("device"))
        return check.reason();
    QString reason = checkDevice(log.value(QLatin1String("device")).toObject());
    if (!reason.isEmpty())
        return reason;
    return checkType(log);
}

bool LogValidator::isUuid(QStringView text)
{
    // anchoredPattern(), not ^...$: '$' would also match before a final newline.
    static const QRegularExpression pattern(QRegularExpression::anchoredPattern(
        QStringLiteral("[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}")));
    return pattern.match(text).hasMatch();
}

bool LogValidator::isTimestamp(QStringView text)
{
    // The pattern fixes the exact form; QDateTime then rejects impossible dates
    // (February 30th, minute 61) that the pattern lets through.
    static const QRegularExpression pattern(QRegularExpression::anchoredPattern(
        QStringLiteral("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z")));
    if (!pattern.match(text).hasMatch())
        return false;
    return QDateTime::fromString(text.toString(), Qt::ISODateWithMs).isValid();
}

bool LogValidator::isPaddedBase64(QStringView text)
{
    // Qt's decoder rejects foreign characters and misplaced '=' but accepts input
    // whose padding was left off, so the length check is ours.
    if (text.size() % 4 != 0)
        return false;
    const auto decoded =
        QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    return decoded.decodingStatus == QByteArray::Base64DecodingStatus::Ok;
}
