#include "IngestTestSupport.h"

#include <ZpIngest/LogValidator.h>

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace ingest_test;

namespace {

QString reasonOf(const QJsonObject& log)
{
    return LogValidator::checkLog(log);
}

QJsonObject logOfType(const QString& type)
{
    for (const QJsonObject& log : oneOfEachType()) {
        if (log.value("type").toString() == type)
            return log;
    }
    ADD_FAILURE() << "no sample log of type " << type.toStdString();
    return {};
}

// `path` is "key" or "object.key" (one level, for device and exception).
QJsonObject withValue(QJsonObject log, const QString& path, const QJsonValue& value)
{
    const QStringList parts = path.split(QLatin1Char('.'));
    if (parts.size() == 1) {
        if (value.isUndefined())
            log.remove(path);
        else
            log.insert(path, value);
        return log;
    }
    QJsonObject inner = log.value(parts.at(0)).toObject();
    if (value.isUndefined())
        inner.remove(parts.at(1));
    else
        inner.insert(parts.at(1), value);
    log.insert(parts.at(0), inner);
    return log;
}

LogValidator::Result validateBody(const QByteArray& payload)
{
    return LogValidator::validate(headers(), payload);
}

} // namespace

// ---- every type passes as the product sends it -----------------------------------------------

class ZpIngestValidatorTypes : public ::testing::TestWithParam<const char*>
{
};

TEST_P(ZpIngestValidatorTypes, AcceptsAWellFormedLog)
{
    EXPECT_EQ(reasonOf(logOfType(QString::fromLatin1(GetParam()))), QString());
}

INSTANTIATE_TEST_SUITE_P(EachType, ZpIngestValidatorTypes,
                         ::testing::Values("startService", "startSession", "event", "managedError",
                                           "errorAttachment"));

TEST(ZpIngestValidator, AcceptedRequestCarriesEveryLogInOrderWithHashAndInstallId)
{
    const QList<QJsonObject> logs = oneOfEachType();
    const LogValidator::Result result = validateBody(body(logs));
    ASSERT_TRUE(result.ok) << result.reason.toStdString();
    EXPECT_TRUE(result.reason.isEmpty());
    ASSERT_EQ(result.logs.size(), logs.size());
    for (qsizetype i = 0; i < logs.size(); ++i) {
        EXPECT_EQ(result.logs.at(i).type, logs.at(i).value("type").toString());
        EXPECT_EQ(result.logs.at(i).id, logs.at(i).value("id").toString());
        EXPECT_EQ(result.logs.at(i).json, QJsonDocument(logs.at(i)).toJson(QJsonDocument::Compact));
    }
    EXPECT_EQ(result.logs.at(2).name, QStringLiteral("FeatureUsed"));
    EXPECT_TRUE(result.logs.at(0).name.isEmpty());
    EXPECT_EQ(result.appSecretSha256,
              QString::fromLatin1(QCryptographicHash::hash(kAppSecret, QCryptographicHash::Sha256).toHex()));
    EXPECT_EQ(result.installId, QString::fromLatin1(kInstallId));
}

TEST(ZpIngestValidator, StoredJsonIsCompactAndKeepsUnknownKeys)
{
    QJsonObject log = eventLog();
    log.insert("properties", QJsonObject{{"legacy", "yes"}});
    const QByteArray pretty = QJsonDocument(QJsonObject{{"logs", QJsonArray{log}}}).toJson(QJsonDocument::Indented);
    const LogValidator::Result result = validateBody(pretty);
    ASSERT_TRUE(result.ok) << result.reason.toStdString();
    EXPECT_FALSE(result.logs.at(0).json.contains('\n'));
    EXPECT_TRUE(result.logs.at(0).json.contains(R"("properties":{"legacy":"yes"})"));
}

// ---- each required key, missing ------------------------------------------------------------------

struct KeyCase
{
    const char* type;
    const char* path;
};

void PrintTo(const KeyCase& c, std::ostream* out)
{
    *out << c.type << ':' << c.path;
}

class ZpIngestValidatorMissingKey : public ::testing::TestWithParam<KeyCase>
{
};

TEST_P(ZpIngestValidatorMissingKey, IsNamedAsMissing)
{
    const KeyCase& c = GetParam();
    const QJsonObject log = withValue(logOfType(QString::fromLatin1(c.type)), QString::fromLatin1(c.path),
                                      QJsonValue(QJsonValue::Undefined));
    EXPECT_EQ(reasonOf(log), QStringLiteral("\"%1\" is missing").arg(QString::fromLatin1(c.path)));
}

INSTANTIATE_TEST_SUITE_P(
    Keys, ZpIngestValidatorMissingKey,
    ::testing::Values(KeyCase{"event", "type"}, KeyCase{"event", "id"}, KeyCase{"event", "timestamp"},
                      KeyCase{"event", "device"}, KeyCase{"event", "device.sdkName"},
                      KeyCase{"event", "device.sdkVersion"}, KeyCase{"event", "device.model"},
                      KeyCase{"event", "device.oemName"}, KeyCase{"event", "device.osName"},
                      KeyCase{"event", "device.osVersion"}, KeyCase{"event", "device.osBuild"},
                      KeyCase{"event", "device.locale"}, KeyCase{"event", "device.carrierCountry"},
                      KeyCase{"event", "device.screenSize"}, KeyCase{"event", "device.appVersion"},
                      KeyCase{"event", "device.appBuild"}, KeyCase{"event", "device.appNamespace"},
                      KeyCase{"event", "device.timeZoneOffset"}, KeyCase{"startService", "services"},
                      KeyCase{"startService", "userId"}, KeyCase{"startSession", "sid"},
                      KeyCase{"startSession", "userId"}, KeyCase{"event", "name"},
                      KeyCase{"managedError", "sid"}, KeyCase{"managedError", "processId"},
                      KeyCase{"managedError", "processName"}, KeyCase{"managedError", "fatal"},
                      KeyCase{"managedError", "appLaunchTimestamp"}, KeyCase{"managedError", "architecture"},
                      KeyCase{"managedError", "userId"}, KeyCase{"managedError", "exception"},
                      KeyCase{"managedError", "exception.type"}, KeyCase{"errorAttachment", "errorId"},
                      KeyCase{"errorAttachment", "sid"}, KeyCase{"errorAttachment", "contentType"},
                      KeyCase{"errorAttachment", "fileName"}, KeyCase{"errorAttachment", "data"}));

// ---- each key with a wrong type or value -------------------------------------------------------

struct ValueCase
{
    const char* type;
    const char* path;
    QJsonValue value;
    const char* reason;
};

void PrintTo(const ValueCase& c, std::ostream* out)
{
    *out << c.type << ':' << c.path << '=' << QJsonDocument(QJsonArray{c.value}).toJson(QJsonDocument::Compact).toStdString();
}

class ZpIngestValidatorBadValue : public ::testing::TestWithParam<ValueCase>
{
};

TEST_P(ZpIngestValidatorBadValue, IsRefusedWithItsReason)
{
    const ValueCase& c = GetParam();
    const QJsonObject log = withValue(logOfType(QString::fromLatin1(c.type)), QString::fromLatin1(c.path), c.value);
    EXPECT_EQ(reasonOf(log), QString::fromUtf8(c.reason));
}

INSTANTIATE_TEST_SUITE_P(
    Common, ZpIngestValidatorBadValue,
    ::testing::Values(ValueCase{"event", "type", 7, R"("type" is not a string)"},
                      ValueCase{"event", "type", "crash", R"(unknown log type "crash")"},
                      ValueCase{"event", "id", 12, R"("id" is not a string)"},
                      ValueCase{"event", "id", "not-a-uuid", R"("id" is not a UUID)"},
                      ValueCase{"event", "id", "{00000000-0000-4000-8000-000000000003}", R"("id" is not a UUID)"},
                      ValueCase{"event", "id", "00000000-0000-4000-8000-00000000000g", R"("id" is not a UUID)"},
                      ValueCase{"event", "timestamp", 1714558830,
                                R"("timestamp" is not a string)"},
                      ValueCase{"event", "device", "Linux", R"("device" is not an object)"},
                      ValueCase{"event", "device.osName", QJsonValue::Null, R"("device.osName" is not a string)"},
                      ValueCase{"event", "device.locale", 1, R"("device.locale" is not a string)"},
                      ValueCase{"event", "device.timeZoneOffset", "60",
                                R"("device.timeZoneOffset" is not a number)"},
                      ValueCase{"event", "device.timeZoneOffset", 60.5,
                                R"("device.timeZoneOffset" is not an integer)"},
                      ValueCase{"event", "device.timeZoneOffset", 841,
                                R"("device.timeZoneOffset" is outside -840..840)"},
                      ValueCase{"event", "device.timeZoneOffset", -841,
                                R"("device.timeZoneOffset" is outside -840..840)"},
                      ValueCase{"event", "device.wrapperSdkName", false,
                                R"("device.wrapperSdkName" is not a string)"}));

INSTANTIATE_TEST_SUITE_P(
    PerType, ZpIngestValidatorBadValue,
    ::testing::Values(
        ValueCase{"startService", "services", "Analytics", R"("services" is not an array)"},
        ValueCase{"startService", "services", QJsonArray{}, R"("services" is empty)"},
        ValueCase{"startService", "services", QJsonArray{"Analytics", 2}, R"("services[1]" is not a string)"},
        ValueCase{"startService", "userId", QJsonValue::Null, R"("userId" is not a string)"},
        ValueCase{"startSession", "sid", "session-1", R"("sid" is not a UUID)"},
        ValueCase{"startSession", "userId", 5, R"("userId" is not a string)"},
        ValueCase{"event", "name", "", R"("name" is empty)"},
        ValueCase{"event", "name", 3, R"("name" is not a string)"},
        ValueCase{"event", "sid", kSessionId, R"(an event must not carry "sid")"},
        ValueCase{"event", "userId", "user-1", R"(an event must not carry "userId")"},
        ValueCase{"event", "typedProperties", QJsonObject{}, R"("typedProperties" is not an array)"},
        ValueCase{"event", "typedProperties", QJsonArray{"tool=crop"}, R"("typedProperties[0]" is not an object)"},
        ValueCase{"event", "typedProperties", QJsonArray{QJsonObject{{"type", "string"}, {"name", "tool"}}},
                  R"("typedProperties[0]" must have exactly "type", "name" and "value")"},
        ValueCase{"event", "typedProperties",
                  QJsonArray{QJsonObject{{"type", "string"}, {"name", "a"}, {"value", "b"}, {"extra", "c"}}},
                  R"("typedProperties[0]" must have exactly "type", "name" and "value")"},
        ValueCase{"event", "typedProperties",
                  QJsonArray{QJsonObject{{"type", "string"}, {"name", "a"}, {"value", "b"}},
                             QJsonObject{{"type", "long"}, {"name", "n"}, {"value", "1"}}},
                  R"("typedProperties[1].type" is not "string")"},
        ValueCase{"event", "typedProperties", QJsonArray{QJsonObject{{"type", "string"}, {"name", 1}, {"value", "b"}}},
                  R"("typedProperties[0].name" is not a string)"},
        ValueCase{"event", "typedProperties",
                  QJsonArray{QJsonObject{{"type", "string"}, {"name", "a"}, {"value", true}}},
                  R"("typedProperties[0].value" is not a string)"},
        ValueCase{"managedError", "sid", "", R"("sid" is not a UUID)"},
        ValueCase{"managedError", "processId", "4242", R"("processId" is not a number)"},
        ValueCase{"managedError", "processName", 1, R"("processName" is not a string)"},
        ValueCase{"managedError", "fatal", "true", R"("fatal" is not a boolean)"},
        ValueCase{"managedError", "appLaunchTimestamp", "2024-05-01T10:00:00Z",
                  R"("appLaunchTimestamp" is not ISO 8601 with milliseconds)"},
        ValueCase{"managedError", "architecture", QJsonArray{}, R"("architecture" is not a string)"},
        ValueCase{"managedError", "userId", 0, R"("userId" is not a string)"},
        ValueCase{"managedError", "exception", "SIGSEGV", R"("exception" is not an object)"},
        ValueCase{"managedError", "exception.type", 11, R"("exception.type" is not a string)"},
        ValueCase{"managedError", "exception.wrapperSdkName", 1, R"("exception.wrapperSdkName" is not a string)"},
        ValueCase{"errorAttachment", "errorId", "crash-1", R"("errorId" is not a UUID)"},
        ValueCase{"errorAttachment", "sid", 1, R"("sid" is not a string)"},
        ValueCase{"errorAttachment", "contentType", QJsonValue::Null, R"("contentType" is not a string)"},
        ValueCase{"errorAttachment", "fileName", 2, R"("fileName" is not a string)"},
        ValueCase{"errorAttachment", "data", "TURNUA", R"("data" is not padded standard Base64)"},
        ValueCase{"errorAttachment", "data", "TU-N_A==", R"("data" is not padded standard Base64)"},
        ValueCase{"errorAttachment", "data", "TURN\nUA==", R"("data" is not padded standard Base64)"},
        ValueCase{"errorAttachment", "data", 77, R"("data" is not a string)"}));

TEST(ZpIngestValidator, OptionalKeysPassWhenPresentWithTheRightType)
{
    QJsonObject log = eventLog();
    QJsonObject device = log.value("device").toObject();
    device.insert("wrapperSdkName", "appcenter.qt");
    log.insert("device", device);
    EXPECT_EQ(reasonOf(log), QString());

    QJsonObject crash = managedErrorLog();
    crash.insert("exception", QJsonObject{{"type", "SIGABRT"}, {"wrapperSdkName", "appcenter.qt"}});
    EXPECT_EQ(reasonOf(crash), QString());

    QJsonObject withoutProperties = eventLog();
    withoutProperties.remove("typedProperties");
    EXPECT_EQ(reasonOf(withoutProperties), QString());
}

TEST(ZpIngestValidator, TimeZoneOffsetLimitsAreInclusive)
{
    EXPECT_EQ(reasonOf(withValue(eventLog(), "device.timeZoneOffset", 840)), QString());
    EXPECT_EQ(reasonOf(withValue(eventLog(), "device.timeZoneOffset", -840)), QString());
}

TEST(ZpIngestValidator, UnknownTypeEchoIsShortened)
{
    const QString longType(500, QLatin1Char('x'));
    const QString reason = reasonOf(withValue(eventLog(), "type", longType));
    EXPECT_TRUE(reason.startsWith(QStringLiteral("unknown log type \"xxxx")));
    EXPECT_LT(reason.size(), 80);
}

// ---- the building blocks ---------------------------------------------------------------------

TEST(ZpIngestValidator, TimestampNeedsMillisecondsAndZ)
{
    EXPECT_TRUE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.123Z"));
    EXPECT_TRUE(LogValidator::isTimestamp(u"1999-12-31T23:59:59.999Z"));
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30Z"));         // no milliseconds
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.123"));      // no Z
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.123+02:00")); // offset instead of Z
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.12Z"));      // two digits
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.1234Z"));    // four digits
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01 10:20:30.123Z"));     // space for T
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.123z"));     // lower-case z
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-02-30T10:20:30.123Z"));     // no such day
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:61:30.123Z"));     // no such minute
    EXPECT_FALSE(LogValidator::isTimestamp(u" 2024-05-01T10:20:30.123Z"));
    EXPECT_FALSE(LogValidator::isTimestamp(u"2024-05-01T10:20:30.123Z\n"));
    EXPECT_FALSE(LogValidator::isTimestamp(u""));
}

TEST(ZpIngestValidator, TimestampReasonNamesTheKey)
{
    for (const char* bad : {"2024-05-01T10:20:30Z", "2024-05-01T10:20:30.123", "2024-05-01T10:20:30.123+02:00"}) {
        EXPECT_EQ(reasonOf(withValue(eventLog(), "timestamp", bad)),
                  QStringLiteral(R"("timestamp" is not ISO 8601 with milliseconds)"))
            << bad;
    }
}

TEST(ZpIngestValidator, UuidIsExactlyEightFourFourFourTwelveHex)
{
    EXPECT_TRUE(LogValidator::isUuid(u"01234567-89ab-cdef-0123-456789abcdef"));
    EXPECT_TRUE(LogValidator::isUuid(u"01234567-89AB-CDEF-0123-456789ABCDEF"));
    EXPECT_FALSE(LogValidator::isUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"));
    EXPECT_FALSE(LogValidator::isUuid(u"0123456789abcdef0123456789abcdef"));
    EXPECT_FALSE(LogValidator::isUuid(u"01234567-89ab-cdef-0123-456789abcde"));
    EXPECT_FALSE(LogValidator::isUuid(u"01234567-89ab-cdef-0123-456789abcdef0"));
    EXPECT_FALSE(LogValidator::isUuid(u"0123456g-89ab-cdef-0123-456789abcdef"));
    EXPECT_FALSE(LogValidator::isUuid(u"01234567-89ab-cdef-0123-456789abcdef\n"));
    EXPECT_FALSE(LogValidator::isUuid(u""));
}

TEST(ZpIngestValidator, Base64MustBeStandardAndPadded)
{
    EXPECT_TRUE(LogValidator::isPaddedBase64(u"aGVsbG8="));
    EXPECT_TRUE(LogValidator::isPaddedBase64(u"aGVsbA=="));
    EXPECT_TRUE(LogValidator::isPaddedBase64(u"aGVs"));
    EXPECT_TRUE(LogValidator::isPaddedBase64(u"+/+/"));
    EXPECT_TRUE(LogValidator::isPaddedBase64(u""));
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"aGVsbG8"));   // padding left off
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"aGVsbG8=="));  // too much padding
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"aGVs bG8="));  // white space
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"-_-_"));       // URL alphabet
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"aG=sbG8="));   // '=' inside
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"aGVsbG8=aGVs")); // data after padding
    EXPECT_FALSE(LogValidator::isPaddedBase64(u"aGVsbMO\u00e9")); // not Latin-1 Base64
}

// ---- headers ------------------------------------------------------------------------------------

namespace {

LogValidator::HeaderList headersWith(const QByteArray& name, const QByteArray& value)
{
    LogValidator::HeaderList list;
    for (const auto& header : headers()) {
        if (header.first.compare(name, Qt::CaseInsensitive) != 0)
            list.append(header);
    }
    if (!value.isNull())
        list.append(qMakePair(name, value));
    return list;
}

QString headerReason(const LogValidator::HeaderList& list)
{
    const LogValidator::Result result = LogValidator::validate(list, body({eventLog()}));
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.logs.isEmpty());
    EXPECT_TRUE(result.appSecretSha256.isEmpty());
    return result.reason;
}

} // namespace

TEST(ZpIngestValidator, HeaderNamesAreCaseInsensitiveAndSecretMayBeUpperCase)
{
    const LogValidator::HeaderList list{
        {"content-type", "Application/JSON; charset=utf-8"},
        {"APP-SECRET", QByteArray(kAppSecret).toUpper()},
        {"install-id", kInstallId},
    };
    const LogValidator::Result result = LogValidator::validate(list, body({eventLog()}));
    EXPECT_TRUE(result.ok) << result.reason.toStdString();
}

TEST(ZpIngestValidator, ContentTypeMustBeJson)
{
    EXPECT_EQ(headerReason(headersWith("Content-Type", QByteArray())), QStringLiteral("missing header Content-Type"));
    EXPECT_EQ(headerReason(headersWith("Content-Type", "text/plain")),
              QStringLiteral("header Content-Type is not application/json"));
}

TEST(ZpIngestValidator, AppSecretMustBeOneUuid)
{
    EXPECT_EQ(headerReason(headersWith("App-Secret", QByteArray())), QStringLiteral("missing header App-Secret"));
    EXPECT_EQ(headerReason(headersWith("App-Secret", "secret")), QStringLiteral("header App-Secret is not a UUID"));
    LogValidator::HeaderList twice = headers();
    twice.append(qMakePair(QByteArray("app-secret"), QByteArray(kAppSecret)));
    EXPECT_EQ(headerReason(twice), QStringLiteral("header App-Secret appears more than once"));
}

TEST(ZpIngestValidator, InstallIdMustBeOneUuid)
{
    EXPECT_EQ(headerReason(headersWith("Install-ID", QByteArray())), QStringLiteral("missing header Install-ID"));
    EXPECT_EQ(headerReason(headersWith("Install-ID", "install-1")), QStringLiteral("header Install-ID is not a UUID"));
}

TEST(ZpIngestValidator, ReasonsNeverQuoteTheSecret)
{
    const QByteArray almostUuid = QByteArray(kAppSecret).replace('0', 'z');
    const QString reason = headerReason(headersWith("App-Secret", almostUuid));
    EXPECT_FALSE(reason.contains(QString::fromLatin1(almostUuid)));
    EXPECT_FALSE(reason.contains(QString::fromLatin1(kAppSecret)));
}

// ---- the body as a whole -----------------------------------------------------------------------

TEST(ZpIngestValidator, BodyMustBeAJsonObjectWithANonEmptyLogsArray)
{
    EXPECT_TRUE(validateBody("{\"logs\":[").reason.startsWith(QStringLiteral("body is not valid JSON: ")));
    EXPECT_EQ(validateBody("[]").reason, QStringLiteral("body is not a JSON object"));
    EXPECT_EQ(validateBody("{}").reason, QStringLiteral(R"("logs" is missing)"));
    EXPECT_EQ(validateBody(R"({"logs":{}})").reason, QStringLiteral(R"("logs" is not an array)"));
    EXPECT_EQ(validateBody(R"({"logs":[]})").reason, QStringLiteral(R"("logs" is empty)"));
    EXPECT_EQ(validateBody(R"({"logs":[1]})").reason, QStringLiteral("log 0 is not a JSON object"));
    EXPECT_FALSE(validateBody("").ok);
}

TEST(ZpIngestValidator, OneBadLogRefusesTheWholeRequestAndNamesItsIndex)
{
    QList<QJsonObject> logs = oneOfEachType();
    logs[3] = withValue(logs.at(3), "timestamp", "2024-05-01T10:20:30Z");
    const LogValidator::Result result = validateBody(body(logs));
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.logs.isEmpty());
    EXPECT_EQ(result.reason, QStringLiteral(R"(log 3: "timestamp" is not ISO 8601 with milliseconds)"));
}

TEST(ZpIngestValidator, FirstProblemWins)
{
    QList<QJsonObject> logs = {eventLog(), withValue(eventLog(), "id", "x"), withValue(eventLog(), "name", "")};
    EXPECT_EQ(validateBody(body(logs)).reason, QStringLiteral(R"(log 1: "id" is not a UUID)"));
    // Headers are checked before the body.
    EXPECT_EQ(LogValidator::validate(headersWith("Install-ID", QByteArray()), "not json").reason,
              QStringLiteral("missing header Install-ID"));
}
