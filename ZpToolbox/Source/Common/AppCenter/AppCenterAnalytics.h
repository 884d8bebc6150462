#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QJsonObject>
#include <QString>
#include <functional>
#include <memory>

class AppCenterQueue;

// The "Analytics" service of the App Center client: writes the session log
// and turns tracked events into event logs on the shared queue.
//
// One per process (instance()). startSession runs during start-up on the
// GUI thread; trackEvent may be called from any thread afterwards.
class AppCenterAnalytics {
public:
    static AppCenterAnalytics& instance();

    // Takes the queue (empty while the client is not started) and, with a
    // queue, stores a "startSession" log.
    void startSession(const QString& sessionId, const QString& userId, std::shared_ptr<AppCenterQueue> queue);

    // Stores an event log named `name` with the string pairs of `properties`
    // (may be null; other entries are dropped). Does nothing before
    // startSession gave a queue. Neither argument is retained or released.
    void trackEvent(CFStringRef name, CFDictionaryRef properties);

    // Tests only: sees every event log as it is handed to the queue, for
    // orders that the stored timestamps (milliseconds) cannot show.
    using EventObserver = std::function<void(const QJsonObject& log)>;
    void setEventObserverForTesting(EventObserver observer);

private:
    AppCenterAnalytics() = default;

    std::shared_ptr<AppCenterQueue> mQueue;
    EventObserver mObserver;
};
