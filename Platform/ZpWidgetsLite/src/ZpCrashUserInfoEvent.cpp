#include <ZpWidgetsLite/ZpCrashUserInfoEvent.h>

const QEvent::Type ZpCrashUserInfoEvent::kEventType = static_cast<QEvent::Type>(QEvent::registerEventType());

ZpCrashUserInfoEvent::ZpCrashUserInfoEvent(const QString& userId, const QString& userName, const QString& userEmail)
    : QEvent(kEventType)
    , mUserId(userId)
    , mUserName(userName)
    , mUserEmail(userEmail)
{
}

ZpCrashUserInfoEvent::~ZpCrashUserInfoEvent() = default;

QString ZpCrashUserInfoEvent::userId() const
{
    return mUserId;
}

QString ZpCrashUserInfoEvent::userName() const
{
    return mUserName;
}

QString ZpCrashUserInfoEvent::userEmail() const
{
    return mUserEmail;
}
