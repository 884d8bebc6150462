#include "UrlRecorder.h"

#include <QDesktopServices>

UrlRecorder::UrlRecorder()
{
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "openUrl");
}

UrlRecorder::~UrlRecorder()
{
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
}

void UrlRecorder::openUrl(const QUrl& url)
{
    mUrls.append(url);
}
