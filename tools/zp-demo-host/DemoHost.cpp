#include "DemoHost.h"

#include "DemoApplication.h"
#include "DemoCrash.h"
#include "DemoWindow.h"

#include <ZpToolboxLite.h>

#include <ZpCore/ZpLog.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/ZpAppDidFinishLaunchingEvent.h>

#include <QCoreApplication>
#include <QTimer>

namespace {

CFOwned<CFStringRef> cfString(const QString& text)
{
    return CFOwned<CFStringRef>(ZpQtStringUtils::createCFStringRefFromQString(text));
}

CFOwned<CFURLRef> directoryUrl(const QString& path)
{
    if (path.isEmpty())
        return nullptr;
    const CFOwned<CFStringRef> cfPath = cfString(path);
    return CFOwned<CFURLRef>(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, cfPath.get(), kCFURLPOSIXPathStyle, true));
}

int milliseconds(double seconds)
{
    return int(seconds * 1000.0 + 0.5);
}

QString describeStep(const FeatureStep& step)
{
    switch (step.kind) {
    case FeatureStep::Kind::Plain:
        return step.properties.isEmpty() ? QStringLiteral("tracked \"%1\"").arg(step.code)
                                         : QStringLiteral("tracked %1").arg(step.toString());
    case FeatureStep::Kind::Once:
        return QStringLiteral("tracked \"%1\" once per run").arg(step.code);
    case FeatureStep::Kind::Start:
        return QStringLiteral("started \"%1\"").arg(step.code);
    case FeatureStep::Kind::Stop:
        return QStringLiteral("stopped \"%1\"").arg(step.code);
    case FeatureStep::Kind::Value:
        return QStringLiteral("tracked \"%1\" with value %2").arg(step.code).arg(step.number);
    case FeatureStep::Kind::Wait:
        return QStringLiteral("waited %1 ms").arg(step.number);
    }
    return QString();
}

} // namespace

DemoHost::DemoHost(const DemoOptions& options, const QList<FeatureStep>& script, DemoApplication& app)
    : mOptions(options)
    , mScript(script)
    , mUserId(cfString(options.userId))
    , mDataDir(directoryUrl(options.dataDir))
    , mScreenshots(options.screenshotDir)
    , mAutoAnswer(options, mScreenshots)
{
    connect(&app, &DemoApplication::launchFinished, this, &DemoHost::onLaunchFinished);
    connect(&app, &DemoApplication::crashUserInfo, this, &DemoHost::onCrashUserInfo);
    connect(&mAutoAnswer, &DialogAutoAnswer::answered, this, &DemoHost::say);
}

DemoHost::~DemoHost()
{
    // The shutdown a product does at exit: timed features still running end
    // as interrupted, the handle goes, crash reporting is disarmed.
    mAnalytics.shutdown();
    if (mCrashReportingStarted)
        ZpCrashReportShutdown();
    say(QStringLiteral("shut down; exiting normally"));
}

void DemoHost::start()
{
    mWindow = std::make_unique<DemoWindow>(QStringLiteral("zp-demo-host: %1").arg(mOptions.product));
    connect(mWindow.get(), &DemoWindow::stepRequested, this, &DemoHost::track);
    connect(mWindow.get(), &DemoWindow::crashRequested, this, &DemoHost::crash);
    connect(mWindow.get(), &DemoWindow::crashDialogTestRequested, this, &DemoHost::showCrashDialog);

    say(QStringLiteral("product %1, type %2, edition %3, user %4")
            .arg(mOptions.product)
            .arg(mOptions.productType)
            .arg(mOptions.editionType)
            .arg(mOptions.userId));
    ZpCrashReportStartupWithUserAppDataPath(mUserId.get(), mOptions.productConstant(), mOptions.productType,
                                            mOptions.editionType, mOptions.alwaysSend, mDataDir.get());
    mCrashReportingStarted = true;
    // What the product knows about its signed-in user prefills the crash dialog.
    if (!mOptions.userName.isEmpty())
        ZpCrashReportSetUserName(cfString(mOptions.userName).get());
    if (!mOptions.userEmail.isEmpty())
        ZpCrashReportSetUserEmail(cfString(mOptions.userEmail).get());
    say(QStringLiteral("crash reporting started"));

    updateSummary();
    mWindow->show();
    mAutoAnswer.start();
    // From the event loop, so that the window is on screen under the question.
    QTimer::singleShot(0, this, &DemoHost::askPrivacyAndLaunch);
}

void DemoHost::askPrivacyAndLaunch()
{
    bool agreed = false;
    switch (mOptions.privacy) {
    case DemoOptions::Privacy::Ask:
    case DemoOptions::Privacy::Participate:
    case DemoOptions::Privacy::Decline:
        say(QStringLiteral("asking the privacy question"));
        agreed = mAnalytics.askPrivacy(mWindow.get());
        say(agreed ? QStringLiteral("the user agreed to send usage data")
                   : QStringLiteral("the user declined to send usage data"));
        break;
    case DemoOptions::Privacy::Given:
        agreed = true;
        say(QStringLiteral("privacy question answered in an earlier run: agreed"));
        break;
    case DemoOptions::Privacy::Off:
        say(QStringLiteral("privacy question not asked; analytics stays off in this run"));
        break;
    }
    if (agreed) {
        mAnalytics.start(mOptions.productConstant(), mOptions.productType, mOptions.editionType, mDataDir.get());
        say(QStringLiteral("analytics started"));
    }
    updateSummary();

    // The main window is up: crash reporting starts now and offers the
    // reports of earlier crashes.
    say(QStringLiteral("posting the launch event"));
    QCoreApplication::postEvent(QCoreApplication::instance(), new ZpAppDidFinishLaunchingEvent(mWindow.get()));
}

void DemoHost::onLaunchFinished()
{
    say(QStringLiteral("launch finished"));
    if (mOptions.quitAfterSeconds >= 0) {
        QTimer::singleShot(milliseconds(mOptions.quitAfterSeconds), this, [this] {
            say(QStringLiteral("quitting after %1 s").arg(mOptions.quitAfterSeconds));
            QCoreApplication::quit();
        });
    }
    runStepsFrom(0);
}

void DemoHost::onCrashUserInfo(const QString& userId, const QString& userName, const QString& userEmail)
{
    say(QStringLiteral("crash dialog answered: user %1, name \"%2\", e-mail \"%3\"; "
                       "the report goes with what they typed: %4")
            .arg(userId, userName, userEmail,
                 ZpCrashReportDidSendCrashReport() ? QStringLiteral("yes") : QStringLiteral("no")));
}

void DemoHost::runStepsFrom(int index)
{
    for (; index < mScript.size(); ++index) {
        const FeatureStep& step = mScript.at(index);
        if (step.kind == FeatureStep::Kind::Wait) {
            say(describeStep(step));
            // The event loop runs meanwhile, as it would while a user works.
            QTimer::singleShot(step.number, this, [this, index] { runStepsFrom(index + 1); });
            return;
        }
        track(step);
    }
    onScriptFinished();
}

void DemoHost::onScriptFinished()
{
    if (!mScript.isEmpty()) {
        const QString path = mScreenshots.save(mWindow.get(), QStringLiteral("main-window"));
        if (!path.isEmpty())
            say(QStringLiteral("saved %1").arg(path));
    }
    if (mOptions.crashAfterSeconds >= 0) {
        const DemoOptions::CrashKind kind = mOptions.crashKind;
        QTimer::singleShot(milliseconds(mOptions.crashAfterSeconds), this, [this, kind] { crash(kind); });
    }
}

void DemoHost::track(const FeatureStep& step)
{
    if (mAnalytics.track(step))
        say(describeStep(step));
    else
        say(QStringLiteral("not tracked (analytics is off): %1").arg(step.toString()));
}

void DemoHost::crash(DemoOptions::CrashKind kind)
{
    say(kind == DemoOptions::CrashKind::TestCrash ? QStringLiteral("crashing through ZpCrashReportTestCrash")
                                                   : QStringLiteral("crashing: a store through a null pointer"));
    DemoCrash::crash(kind);
}

void DemoHost::showCrashDialog()
{
    const bool agreed = ZpCrashReportTestUI();
    say(QStringLiteral("test crash dialog answered: %1 (nothing is sent)")
            .arg(agreed ? QStringLiteral("send") : QStringLiteral("don't send")));
}

void DemoHost::updateSummary()
{
    const QByteArray endpoint = qgetenv("ZP_INGESTION_BASE_URL");
    mWindow->setSummary(
        tr("<b>%1</b> &nbsp;product type %2, edition %3, user <i>%4</i><br>"
           "Analytics: <b>%5</b> &nbsp;&middot;&nbsp; Crash reporting: <b>armed</b><br>"
           "Logs go to %6<br>Data in %7")
            .arg(mOptions.product.toHtmlEscaped())
            .arg(mOptions.productType)
            .arg(mOptions.editionType)
            .arg(mOptions.userId.toHtmlEscaped(), mAnalytics.isStarted() ? tr("on") : tr("off"),
                 endpoint.isEmpty() ? tr("the built-in endpoint") : QString::fromUtf8(endpoint).toHtmlEscaped(),
                 mOptions.dataDir.isEmpty() ? tr("the product's own folder") : mOptions.dataDir.toHtmlEscaped()));
}

void DemoHost::say(const QString& line)
{
    if (mWindow)
        mWindow->appendActivity(line);
    // Through the vendor log, as a product logs: standard error and the
    // product log file, which every crash report carries.
    const CFOwned<CFStringRef> text = cfString(line);
    ZpLogWithParams(kZpLogLevelInfo, CFSTR("zp-demo-host"), 0, CFSTR("%@"), text.get());
}
