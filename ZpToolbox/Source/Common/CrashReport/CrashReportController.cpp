#include "CrashReport/CrashReportController.h"

#include "Analytics/BundleIdentifierMap.h"
#include "Analytics/CrashAppIdentiferMap.h"
#include "AppCenter/AppCenter.h"
#include "CrashReport/CrashReportDialog.h"
#include "CrashReport/CrashReportEventFilter.h"
#include "CrashReport/Crashes.h"
#include "CrashReport/WinCrashManagerDelegate.h"
#include "Toolbox/CFReferences.h"
#include "ZpToolboxUtils.h"

#include <ZpCore/ZpProcess.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpQtCoreLite/ZpQtSysInfo.h>
#include <ZpWidgetsLite/ZpCrashUserInfoEvent.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QDialog>
#include <QFile>
#include <QLocale>

namespace {

QString text(CFStringRef string)
{
    return ZpQtStringUtils::createQStringFromCFStringRef(string);
}

QString fileSystemPath(CFURLRef url)
{
    return ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
}

QString executablePath()
{
    CFURLRef path = ZpProcessCreateCurrentProcessPath();
    const QString result = fileSystemPath(path);
    if (path)
        CFRelease(path);
    return result;
}

// The country of a locale name such as "en_US": as many characters from the
// end as there are before the first "_". A name without "_" gives -1, which
// QString::right() takes as "everything".
QString countryCodeOf(const QString& localeName)
{
    return localeName.right(localeName.indexOf(QLatin1Char('_')));
}

} // namespace

CrashReportController& CrashReportController::instance()
{
    static CrashReportController controller;
    return controller;
}

CrashReportController::CrashReportController() = default;

CrashReportController::~CrashReportController()
{
    removeEventFilter();
    releaseInto(&mProduct);
    releaseInto(&mUserAppDataPath);
}

void CrashReportController::startup(CFStringRef userId, CFStringRef product, int32_t productType,
                                    int32_t editionType, bool alwaysSend, CFURLRef userAppDataPath)
{
    mUserId = text(userId);
    retainInto(&mProduct, product);
    keepUserAppDataPath(&mUserAppDataPath, userAppDataPath, mProduct);
    mProductType = productType;
    mEditionType = editionType;
    mAlwaysSend = alwaysSend;

    // The tables log a miss themselves; a miss leaves the field as it was.
    const CFStringRef secret = crashAppIdentiferMap().findAppSecret(mProduct, mProductType, mEditionType,
                                                                    CrashAppIdentiferMap::kLookupVariant);
    if (secret)
        mAppSecret = text(secret);
    const CFStringRef bundle = bundleIdentifierMap().findBundleIdentifier(mProduct, mProductType, mEditionType);
    if (bundle)
        mBundleIdentifier = text(bundle);

    if (!mAppSecret.isEmpty() && !mBundleIdentifier.isEmpty())
        installEventFilter();
}

void CrashReportController::installEventFilter()
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return; // no launch event can come: crash reporting stays unarmed
    // A repeated startup replaces the filter: one launch event, one service start.
    removeEventFilter();
    mEventFilter = std::make_unique<CrashReportEventFilter>();
    application->installEventFilter(mEventFilter.get());
}

void CrashReportController::removeEventFilter()
{
    // After the application object is gone (at unload, say) there is nothing
    // to remove the filter from.
    if (mEventFilter && QCoreApplication::instance())
        QCoreApplication::instance()->removeEventFilter(mEventFilter.get());
    mEventFilter.reset();
}

void CrashReportController::startService()
{
    Crashes& crashes = Crashes::instance();
    crashes.setDelegate(std::make_unique<WinCrashManagerDelegate>());
    crashes.setUserConfirmationHandler([this](const QList<MSErrorReport>&) { return confirmPendingReports(); });

    AppCenter& client = AppCenter::instance();
    if (!client.queue()) // otherwise another service already fixed the secret and the storage
        AppCenter::start(mAppSecret, fileSystemPath(mUserAppDataPath));
    client.setUserId(mUserId);
    client.setCountryCode(countryCodeOf(QLocale().name()));
    // Crashes::start, inside, may ask the user before this returns.
    client.startService(QStringLiteral("Crashes"));
}

bool CrashReportController::confirmPendingReports()
{
    const bool accepted = askUser();
    if (accepted)
        Crashes::instance().sendPendingReports();
    // Declined reports are sent too, by Crashes once this returns false; the
    // answer only decides whether what the user typed goes with them.
    QCoreApplication::postEvent(QCoreApplication::instance(),
                                new ZpCrashUserInfoEvent(mUserId, mUserName, mUserEmail), Qt::NormalEventPriority);
    return accepted;
}

bool CrashReportController::askUser()
{
    // On the heap and watched: the parent is the host's window, and the
    // dialog's event loop could let the host destroy it, and the dialog with it.
    QPointer<CrashReportDialog> dialog = new CrashReportDialog(text(mProduct), mParentWidget);
    if (!mUserName.isEmpty())
        dialog->setUserName(mUserName);
    if (!mUserEmail.isEmpty())
        dialog->setUserEmail(mUserEmail);
    const int result = dialog->exec();

    if (result != QDialog::Accepted && !mAlwaysSend) {
        mDidSend = false;
    } else {
        mDidSend = true;
        if (dialog) {
            mUserName = dialog->userName();
            mUserEmail = dialog->userEmail();
            const QString description = dialog->description();
            if (!description.isEmpty())
                mDescription = description;
        }
    }
    delete dialog;
    return mDidSend;
}

QByteArray CrashReportController::crashDescription() const
{
    // One instant for both date lines, so that they name the same moment.
    const QDateTime now = QDateTime::currentDateTime();

    QString result = QStringLiteral("User ID: %1\n").arg(mUserId);
    if (!mUserName.isEmpty())
        result += QStringLiteral("User Name: %1\n").arg(mUserName);
    if (!mUserEmail.isEmpty())
        result += QStringLiteral("User Email: %1\n").arg(mUserEmail);
    if (!mDescription.isEmpty())
        result += QStringLiteral("Description: %1\n\n").arg(mDescription);
    result += QStringLiteral("Date: %1\n").arg(now.toString());
    result += QStringLiteral("Date: %1\n\n").arg(now.toUTC().toString());
    result += QStringLiteral("Package: %1\n").arg(mBundleIdentifier);
    result += QStringLiteral("Process: %1\n").arg(ZpToolboxUtils::processName());
    result += QStringLiteral("Path: %1\n").arg(executablePath());
    result += QStringLiteral("Version: %1\n\n").arg(text(ZpProcessGetBuildString()));
    result += QStringLiteral("OS: %1\n").arg(ZpQtSysInfo::osName());
    result += QStringLiteral("OS Version: %1 (%2)\n\n").arg(ZpQtSysInfo::osVersion(), ZpQtSysInfo::osBuildVersion());
    result += QStringLiteral("Manufacturer: %1\n").arg(ZpQtSysInfo::hwManufacture());
    result += QStringLiteral("Model: %1\n").arg(ZpQtSysInfo::hwModel());
    result += QStringLiteral("CPU Architecture: %1\n\n").arg(ZpToolboxUtils::processArchitecture());
    result += QStringLiteral("Video Card: %1\n").arg(ZpQtSysInfo::videoCard());
    result += ZpQtSysInfo::videoDescription();
    return result.toLocal8Bit();
}

QByteArray CrashReportController::productLog() const
{
    QFile log(QStringLiteral("%1/%2 Log.txt").arg(fileSystemPath(mUserAppDataPath), text(mProduct)));
    if (!log.open(QIODevice::ReadOnly))
        return QByteArray();
    return log.readAll();
}

void CrashReportController::shutdown()
{
    mUserId.clear();
    mAppSecret.clear();
    mBundleIdentifier.clear();
    releaseInto(&mProduct);
    removeEventFilter();
}

void CrashReportController::setUserName(const QString& name)
{
    mUserName = name;
}

void CrashReportController::setUserEmail(const QString& email)
{
    mUserEmail = email;
}

bool CrashReportController::didSend() const
{
    return mDidSend;
}

void CrashReportController::setParentWidget(QWidget* parent)
{
    mParentWidget = parent;
}

QString CrashReportController::userId() const
{
    return mUserId;
}

CFStringRef CrashReportController::product() const
{
    return mProduct;
}

int32_t CrashReportController::productType() const
{
    return mProductType;
}

int32_t CrashReportController::editionType() const
{
    return mEditionType;
}

bool CrashReportController::alwaysSend() const
{
    return mAlwaysSend;
}

QString CrashReportController::appSecret() const
{
    return mAppSecret;
}

QString CrashReportController::bundleIdentifier() const
{
    return mBundleIdentifier;
}

CFURLRef CrashReportController::userAppDataPath() const
{
    return mUserAppDataPath;
}

QString CrashReportController::userName() const
{
    return mUserName;
}

QString CrashReportController::userEmail() const
{
    return mUserEmail;
}

QString CrashReportController::description() const
{
    return mDescription;
}

CrashReportEventFilter* CrashReportController::eventFilter() const
{
    return mEventFilter.get();
}

QWidget* CrashReportController::parentWidget() const
{
    return mParentWidget;
}

void CrashReportController::resetForTesting()
{
    CrashReportController& controller = instance();
    controller.shutdown();
    releaseInto(&controller.mUserAppDataPath);
    controller.mProductType = 0;
    controller.mEditionType = 0;
    controller.mAlwaysSend = false;
    controller.mDidSend = false;
    controller.mUserName.clear();
    controller.mUserEmail.clear();
    controller.mDescription.clear();
    controller.mParentWidget = nullptr;
}
