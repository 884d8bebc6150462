#pragma once

#include <QApplication>
#include <QString>

// The demo's application object. It turns the two application events of the
// widget library into signals:
//
// - launchFinished: the host's own ZpAppDidFinishLaunchingEvent has been
//   delivered. The application object receives an event after every filter
//   installed on it, so by then the library's crash reporting has started on
//   it and any crash dialog it showed has been answered.
// - crashUserInfo: the library's ZpCrashUserInfoEvent, posted once the user
//   answered the crash dialog, with who they said they are (a product would
//   remember it to prefill the next report).
//
// GUI thread only.
class DemoApplication : public QApplication {
    Q_OBJECT

public:
    DemoApplication(int& argc, char** argv);
    ~DemoApplication() override;

signals:
    void launchFinished();
    void crashUserInfo(const QString& userId, const QString& userName, const QString& userEmail);

protected:
    bool event(QEvent* event) override;
};
