#include "AppCenter/AppCenterEndpoint.h"

QString AppCenterEndpoint::baseUrl()
{
    QString base = qEnvironmentVariable("ZP_INGESTION_BASE_URL");
    if (base.isEmpty())
        base = QStringLiteral(ZP_INGESTION_BASE_URL_DEFAULT);
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    return base;
}

QString AppCenterEndpoint::logsUrl()
{
    return baseUrl() + QStringLiteral("/logs?api-version=1.0.0");
}
