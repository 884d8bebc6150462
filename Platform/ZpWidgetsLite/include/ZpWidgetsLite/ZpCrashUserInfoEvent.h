#pragma once

#include <QEvent>
#include <QString>
#include <ZpWidgetsLite/ZpWidgetsLiteExport.h>

// Posted to the application object after the user answered the crash-report
// dialog, so that the host can remember who the user said they are (for
// example to prefill the next report). The application takes ownership.
class ZPWIDGETSLITE_EXPORT ZpCrashUserInfoEvent : public QEvent {
public:
    // Registered with QEvent::registerEventType when the library loads.
    static const QEvent::Type kEventType;

    ZpCrashUserInfoEvent(const QString& userId, const QString& userName, const QString& userEmail);
    ~ZpCrashUserInfoEvent() override;

    QString userId() const;
    QString userName() const;
    QString userEmail() const;

private:
    QString mUserId;
    QString mUserName;
    QString mUserEmail;
};
