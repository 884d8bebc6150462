#pragma once

#include <QList>
#include <QObject>
#include <QUrl>

// Takes the place of the system browser for "http" while it lives: every URL
// QDesktopServices::openUrl is given is recorded instead of opened, so no test
// starts a browser. One at a time; GUI thread only.
class UrlRecorder : public QObject {
    Q_OBJECT

public:
    UrlRecorder();
    ~UrlRecorder() override;

    const QList<QUrl>& urls() const { return mUrls; }

public slots:
    void openUrl(const QUrl& url);

private:
    QList<QUrl> mUrls;
};
