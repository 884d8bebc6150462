#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QByteArray>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <memory>

class CrashReportEventFilter;

// The host's crash-reporting identity and the workflow around the "Crashes"
// service: arms itself at startup when the product is known, starts the
// service when the host has finished launching, asks the user about pending
// reports, and writes the crash description and reads the product log that
// every report carries.
//
// One per process (instance()); GUI thread only.
class CrashReportController {
public:
    static CrashReportController& instance();
    virtual ~CrashReportController();
    CrashReportController(const CrashReportController&) = delete;
    CrashReportController& operator=(const CrashReportController&) = delete;

    // `product` and `userAppDataPath` are retained (a null path means the
    // product's default folder). Installs the launch event filter on the
    // application object only when both the app secret and the bundle
    // identifier are known and there is an application object.
    void startup(CFStringRef userId, CFStringRef product, int32_t productType, int32_t editionType, bool alwaysSend,
                 CFURLRef userAppDataPath);
    // Called by the launch event filter.
    void startService();
    // Shows the crash dialog; true when the report goes with what the user typed.
    bool askUser();
    // The description attachment, in the local 8-bit encoding.
    QByteArray crashDescription() const;
    // "<user data folder>/<product> Log.txt", or empty.
    QByteArray productLog() const;
    // Forgets the identity and removes the event filter; the rest stays.
    void shutdown();

    void setUserName(const QString& name);
    void setUserEmail(const QString& email);
    bool didSend() const;
    void setParentWidget(QWidget* parent);

    QString userId() const;
    // Borrowed: valid while the controller holds it (until shutdown or the next startup).
    CFStringRef product() const;
    int32_t productType() const;
    int32_t editionType() const;
    bool alwaysSend() const;
    QString appSecret() const;
    QString bundleIdentifier() const;
    // Borrowed, like product(); may be null when the product has no folder.
    CFURLRef userAppDataPath() const;
    QString userName() const;
    QString userEmail() const;
    QString description() const;
    // Null while unarmed.
    CrashReportEventFilter* eventFilter() const;
    QWidget* parentWidget() const;

    // Tests only: shuts down, then forgets everything else, as in a new process.
    static void resetForTesting();

private:
    CrashReportController();

    // The "Crashes" confirmation handler: asks, sends at once when the user
    // agreed, and tells the host who the user said they are.
    bool confirmPendingReports();
    void installEventFilter();
    void removeEventFilter();

    QString mUserId;
    CFStringRef mProduct = nullptr;
    int32_t mProductType = 0;
    int32_t mEditionType = 0;
    bool mAlwaysSend = false;
    bool mDidSend = false;
    // Deployment data: goes to the App Center client only, never into a log
    // line or the description.
    QString mAppSecret;
    QString mBundleIdentifier;
    CFURLRef mUserAppDataPath = nullptr;
    QString mUserName;
    QString mUserEmail;
    QString mDescription;
    std::unique_ptr<CrashReportEventFilter> mEventFilter;
    // The host's main window; not owned, and forgotten if the host destroys it.
    QPointer<QWidget> mParentWidget;
};
