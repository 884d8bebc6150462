#include "CrashReport/WinCrashManagerDelegate.h"

#include "CrashReport/CrashReportController.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace {

// Qt 6.4 gives 'Z' no meaning in a date-time pattern and writes it as it
// stands, so the time is converted to UTC first to make that "Z" true. With
// no AM/PM marker, "hh" is the 24-hour clock. The result holds only digits,
// '-', '_' and 'Z', which every file system accepts in a name.
const QString kCrashTimePattern = QStringLiteral("yyyy-MM-dd_hh-mm-ssZ");

} // namespace

WinCrashManagerDelegate::WinCrashManagerDelegate() = default;

WinCrashManagerDelegate::~WinCrashManagerDelegate() = default;

bool WinCrashManagerDelegate::shouldProcessErrorReport(Crashes& /*crashes*/, const MSErrorReport& /*report*/)
{
    return true;
}

QList<ErrorAttachment> WinCrashManagerDelegate::attachmentsForErrorReport(Crashes& /*crashes*/,
                                                                          const MSErrorReport& report)
{
    const CrashReportController& controller = CrashReportController::instance();
    const QString productName = ZpQtStringUtils::createQStringFromCFStringRef(controller.product());
    const QString crashTime = report.crashTime.toUTC().toString(kCrashTimePattern);
    // The two-argument arg() does not look for markers inside what it inserts:
    // a product name such as "50%1 Off" stays as it is.
    const QString baseName = QStringLiteral("%1.%2").arg(productName, crashTime);

    // The description comes as local 8-bit bytes and is read as UTF-8 on
    // purpose: where the local encoding is not UTF-8, its non-ASCII characters
    // arrive garbled. That is the established form of this attachment, so the
    // conversion stays as it is.
    const QByteArray description = QString::fromUtf8(controller.crashDescription()).toUtf8();

    QList<ErrorAttachment> attachments;
    attachments.append(ErrorAttachment{baseName + QStringLiteral(".log"), QStringLiteral("application/octet-stream"),
                                       QString::fromLatin1(controller.productLog().toBase64())});
    attachments.append(ErrorAttachment{baseName + QStringLiteral(".txt"), QStringLiteral("text/plain"),
                                       QString::fromLatin1(description.toBase64())});
    return attachments;
}
