#include <ZpIngest/IngestFaults.h>

#include <QHttpServerResponder>
#include <QJsonValue>
#include <QMetaEnum>

#include <cmath>
#include <limits>

namespace {

bool readInteger(const QJsonObject& object, const char* key, int minimum, int* value, QString* reason)
{
    const auto it = object.constFind(QLatin1String(key));
    if (it == object.constEnd())
        return true;
    const double number = it->toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!it->isDouble() || std::trunc(number) != number || number < minimum
        || number > std::numeric_limits<int>::max()) {
        *reason = QStringLiteral(R"("%1" must be an integer >= %2)").arg(QLatin1String(key)).arg(minimum);
        return false;
    }
    *value = int(number);
    return true;
}

// Counts share one rule: -1 (or any negative) means "always", 0 "off", n "the next n".
bool takeOne(int* count)
{
    if (*count == 0)
        return false;
    if (*count > 0)
        --*count;
    return true;
}

} // namespace

bool IngestFaults::isAnswerableStatus(int status)
{
    if (status < 200)
        return false;
    // QHttpServerResponder looks the reason phrase up by enum value and has none
    // for codes it does not name, so only named codes may be configured.
    return QMetaEnum::fromType<QHttpServerResponder::StatusCode>().valueToKey(status) != nullptr;
}

bool IngestFaults::fromJson(const QJsonObject& changes, const IngestFaults& current, IngestFaults* result,
                            QString* reason)
{
    static const char* const kKeys[] = {"failStatus", "failCount", "delayMs", "closeCount"};
    for (auto it = changes.constBegin(); it != changes.constEnd(); ++it) {
        bool known = false;
        for (const char* key : kKeys)
            known = known || it.key() == QLatin1String(key);
        if (!known) {
            *reason = QStringLiteral(R"(unknown key "%1")").arg(it.key().left(40));
            return false;
        }
    }
    IngestFaults next = current;
    const int anyCount = std::numeric_limits<int>::min();
    if (!readInteger(changes, "failStatus", 0, &next.failStatus, reason)
        || !readInteger(changes, "failCount", anyCount, &next.failCount, reason)
        || !readInteger(changes, "delayMs", 0, &next.delayMs, reason)
        || !readInteger(changes, "closeCount", anyCount, &next.closeCount, reason))
        return false;
    if (next.failStatus != 0 && !isAnswerableStatus(next.failStatus)) {
        *reason = QStringLiteral(R"("failStatus" %1 is not an HTTP status zp-ingest can answer)").arg(next.failStatus);
        return false;
    }
    *result = next;
    return true;
}

QJsonObject IngestFaults::toJson() const
{
    return QJsonObject{
        {QStringLiteral("failStatus"), failStatus},
        {QStringLiteral("failCount"), failCount},
        {QStringLiteral("delayMs"), delayMs},
        {QStringLiteral("closeCount"), closeCount},
    };
}

bool IngestFaults::takeFailure()
{
    return failStatus != 0 && takeOne(&failCount);
}

bool IngestFaults::takeClose()
{
    return takeOne(&closeCount);
}
