// CrashReportController on its own: what startup arms and records, what
// shutdown forgets, the product log, and the client settings of a service start.
#include "WorkflowFixture.h"

#include "AppCenter/AppCenter.h"
#include "CrashReport/CrashReportEventFilter.h"
#include "CrashReport/Crashes.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtPathUtils.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QLocale>
#include <QMainWindow>
#include <QPointer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString pathOf(CFURLRef url)
{
    return ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
}

// Makes `locale` the default for the life of the guard.
class DefaultLocale {
public:
    explicit DefaultLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(QLocale::system()); }
};

class CrashReportControllerTest : public WorkflowFixture {
protected:
    // Starts with an owned, non-constant product string, so that its retain
    // count shows what the controller holds.
    void startWithProduct(const QString& product, int32_t productType, int32_t editionType, bool alwaysSend,
                          CFURLRef location)
    {
        CFStringRef name = ZpQtStringUtils::createCFStringRefFromQString(product);
        CFStringRef userId = ZpQtStringUtils::createCFStringRefFromQString(kUserId);
        controller().startup(userId, name, productType, editionType, alwaysSend, location);
        CFRelease(userId);
        CFRelease(name);
    }

    QString countryCodeAfterStartWith(const QLocale& locale)
    {
        DefaultLocale guard(locale);
        startAlpha();
        announceLaunch();
        return AppCenter::instance().countryCode();
    }
};

} // namespace

TEST_F(CrashReportControllerTest, InstanceIsOneObjectForTheProcess)
{
    EXPECT_EQ(&CrashReportController::instance(), &CrashReportController::instance());
}

TEST_F(CrashReportControllerTest, StartupOfAKnownProductRecordsItsIdentityAndArms)
{
    CFStringRef product = ZpQtStringUtils::createCFStringRefFromQString(QStringLiteral("Alpha"));
    const CFIndex before = CFGetRetainCount(product);
    CFStringRef userId = ZpQtStringUtils::createCFStringRefFromQString(kUserId);
    controller().startup(userId, product, 0, 1, true, location());
    CFRelease(userId);

    EXPECT_EQ(controller().userId(), kUserId);
    EXPECT_EQ(controller().product(), product);
    EXPECT_EQ(CFGetRetainCount(product), before + 1);
    EXPECT_EQ(controller().productType(), 0);
    EXPECT_EQ(controller().editionType(), 1);
    EXPECT_TRUE(controller().alwaysSend());
    EXPECT_FALSE(controller().didSend());
    ASSERT_FALSE(alphaSecret().isEmpty());
    EXPECT_EQ(controller().appSecret(), alphaSecret());
    ASSERT_FALSE(alphaBundleIdentifier().isEmpty());
    EXPECT_EQ(controller().bundleIdentifier(), alphaBundleIdentifier());
    EXPECT_EQ(controller().userAppDataPath(), location());
    ASSERT_NE(controller().eventFilter(), nullptr);
    EXPECT_EQ(controller().eventFilter()->parent(), nullptr);
    EXPECT_TRUE(mLog->matching(QStringLiteral("Could not find")).isEmpty());
    // Armed but not started: only the launch event starts the service.
    EXPECT_EQ(AppCenter::instance().queue(), nullptr);

    controller().shutdown();
    EXPECT_EQ(CFGetRetainCount(product), before);
    CFRelease(product);
}

TEST_F(CrashReportControllerTest, AProductWithoutAnAppSecretLogsTheMissAndStaysUnarmed)
{
    // The standard edition of Delta has a bundle identifier but no variant-2 secret.
    startWithProduct(QStringLiteral("Delta"), 1, 1, false, location());
    EXPECT_EQ(mLog->matching(QStringLiteral("Could not find")),
              QStringList{QStringLiteral(
                  "Could not find application identifier for Delta, product type: 1, product edition type: 1")});
    EXPECT_TRUE(controller().appSecret().isEmpty());
    EXPECT_FALSE(controller().bundleIdentifier().isEmpty());
    EXPECT_EQ(controller().eventFilter(), nullptr);

    announceLaunch();
    EXPECT_EQ(AppCenter::instance().queue(), nullptr);
    EXPECT_TRUE(Crashes::instance().crashesDirectory().isEmpty());
}

TEST_F(CrashReportControllerTest, AnUnknownProductLogsBothMissesAndStaysUnarmed)
{
    startWithProduct(QStringLiteral("Omega"), 0, 1, false, location());
    EXPECT_EQ(mLog->matching(QStringLiteral("Could not find")),
              (QStringList{
                  QStringLiteral("Could not find application identifier for Omega, product type: 0, product "
                                 "edition type: 1"),
                  QStringLiteral("Could not find bundle identifier for Omega, product type: 0, product edition type: 1"),
              }));
    EXPECT_TRUE(controller().appSecret().isEmpty());
    EXPECT_TRUE(controller().bundleIdentifier().isEmpty());
    EXPECT_EQ(controller().eventFilter(), nullptr);
    announceLaunch();
    EXPECT_EQ(AppCenter::instance().queue(), nullptr);
}

TEST_F(CrashReportControllerTest, WithoutAPathTheProductsOwnFolderIsUsed)
{
    startWithProduct(QStringLiteral("Alpha"), 0, 1, false, nullptr);
    CFURLRef expected = ZpQtPathUtils::getUserAppDataPathForProduct(kZpProductAlpha);
    ASSERT_NE(expected, nullptr);
    ASSERT_NE(controller().userAppDataPath(), nullptr);
    EXPECT_EQ(pathOf(controller().userAppDataPath()), pathOf(expected));
    CFRelease(expected);
}

TEST_F(CrashReportControllerTest, ARepeatedStartupReplacesTheProductAndThePathAndKeepsOneFilter)
{
    CFStringRef first = ZpQtStringUtils::createCFStringRefFromQString(QStringLiteral("Alpha"));
    const CFIndex firstBefore = CFGetRetainCount(first);
    CFURLRef firstPath = createFileUrl(mDir.filePath(QStringLiteral("first")));
    const CFIndex pathBefore = CFGetRetainCount(firstPath);
    controller().startup(nullptr, first, 0, 1, false, firstPath);
    CrashReportEventFilter* firstFilter = controller().eventFilter();
    ASSERT_NE(firstFilter, nullptr);

    startAlpha();
    EXPECT_EQ(CFGetRetainCount(first), firstBefore);
    EXPECT_EQ(CFGetRetainCount(firstPath), pathBefore);
    EXPECT_EQ(controller().product(), kZpProductAlpha);
    EXPECT_EQ(controller().userAppDataPath(), location());
    EXPECT_EQ(controller().userId(), kUserId);
    ASSERT_NE(controller().eventFilter(), nullptr);

    // One filter answers the launch: the service starts once.
    announceLaunch();
    EXPECT_EQ(select(storedLogs(), QStringLiteral("startService")).size(), 1);
    CFRelease(first);
    CFRelease(firstPath);
}

TEST_F(CrashReportControllerTest, ShutdownForgetsTheIdentityAndDisarmsButKeepsTheRest)
{
    CFStringRef product = ZpQtStringUtils::createCFStringRefFromQString(QStringLiteral("Alpha"));
    const CFIndex before = CFGetRetainCount(product);
    CFStringRef userId = ZpQtStringUtils::createCFStringRefFromQString(kUserId);
    controller().startup(userId, product, 0, 1, false, location());
    CFRelease(userId);
    controller().setUserName(QStringLiteral("Ann"));
    controller().setUserEmail(QStringLiteral("ann@example.com"));
    {
        DialogUser user(DialogUser::submit(QStringLiteral("Ann"), QStringLiteral("ann@example.com"),
                                           QStringLiteral("It froze")));
        ASSERT_TRUE(controller().askUser());
    }
    ASSERT_NE(controller().eventFilter(), nullptr);

    controller().shutdown();
    EXPECT_TRUE(controller().userId().isEmpty());
    EXPECT_TRUE(controller().appSecret().isEmpty());
    EXPECT_TRUE(controller().bundleIdentifier().isEmpty());
    EXPECT_EQ(controller().product(), nullptr);
    EXPECT_EQ(CFGetRetainCount(product), before);
    EXPECT_EQ(controller().eventFilter(), nullptr);
    EXPECT_EQ(controller().userAppDataPath(), location());
    EXPECT_EQ(controller().userName(), QStringLiteral("Ann"));
    EXPECT_EQ(controller().userEmail(), QStringLiteral("ann@example.com"));
    EXPECT_EQ(controller().description(), QStringLiteral("It froze"));
    EXPECT_TRUE(controller().didSend());

    // Removed from the application: a launch starts nothing now.
    announceLaunch();
    EXPECT_EQ(AppCenter::instance().queue(), nullptr);
    CFRelease(product);
}

TEST_F(CrashReportControllerTest, ShutdownLeavesARunningServiceAsItIs)
{
    startAlpha();
    announceLaunch();
    const QString directory = Crashes::instance().crashesDirectory();
    ASSERT_EQ(directory, crashesDirectory());

    controller().shutdown();
    EXPECT_EQ(Crashes::instance().crashesDirectory(), directory);
    EXPECT_NE(AppCenter::instance().queue(), nullptr);
    EXPECT_NE(Crashes::instance().queue(), nullptr);
}

TEST_F(CrashReportControllerTest, SettersReplaceNameAndEmail)
{
    controller().setUserName(QStringLiteral("First"));
    controller().setUserName(QStringLiteral("Second"));
    controller().setUserEmail(QStringLiteral("one@example.com"));
    EXPECT_EQ(controller().userName(), QStringLiteral("Second"));
    EXPECT_EQ(controller().userEmail(), QStringLiteral("one@example.com"));
    controller().setUserEmail(QString());
    EXPECT_TRUE(controller().userEmail().isEmpty());
}

TEST_F(CrashReportControllerTest, TheProductLogIsTheFileNamedAfterTheProductInTheDataFolder)
{
    startAlpha();
    const QByteArray content("first line\nsecond\0line \xff\xfe", 25);
    writeProductLog(QStringLiteral("Alpha"), content);
    writeProductLog(QStringLiteral("Beta"), "another product's log");
    EXPECT_EQ(controller().productLog(), content);
}

TEST_F(CrashReportControllerTest, AMissingProductLogIsEmpty)
{
    startAlpha();
    writeProductLog(QStringLiteral("Alpha Log"), "not the product log"); // "Alpha Log Log.txt"
    EXPECT_TRUE(controller().productLog().isEmpty());
}

TEST_F(CrashReportControllerTest, TheServiceStartSetsTheClientsUserAndStorage)
{
    startAlpha();
    announceLaunch();
    EXPECT_EQ(AppCenter::instance().userId(), kUserId);
    EXPECT_EQ(AppCenter::instance().storageDirectory(), storageDirectory());
    const QList<QJsonObject> starts = select(storedLogs(), QStringLiteral("startService"));
    ASSERT_EQ(starts.size(), 1);
    EXPECT_EQ(starts.first().value(QStringLiteral("services")).toArray(), QJsonArray{QStringLiteral("Crashes")});
    EXPECT_EQ(starts.first().value(QStringLiteral("userId")).toString(), kUserId);
}

TEST_F(CrashReportControllerTest, AClientAlreadyStartedKeepsItsStorage)
{
    QTemporaryDir other;
    ASSERT_TRUE(other.isValid());
    AppCenter::start(QStringLiteral("00000000-0000-4000-8000-000000000000"), other.path());
    startAlpha();
    announceLaunch();
    EXPECT_EQ(AppCenter::instance().storageDirectory(), other.path() + QStringLiteral("/AppCenter"));
    EXPECT_EQ(Crashes::instance().crashesDirectory(), other.path() + QStringLiteral("/AppCenter/crashes"));
}

TEST_F(CrashReportControllerTest, TheCountryCodeIsTheLocaleNamesEndAsLongAsItsLanguagePart)
{
    EXPECT_EQ(countryCodeAfterStartWith(QLocale(QStringLiteral("en_US"))), QStringLiteral("US"));
    AppCenter::resetForTesting();
    EXPECT_EQ(countryCodeAfterStartWith(QLocale(QStringLiteral("de_CH"))), QStringLiteral("CH"));
    AppCenter::resetForTesting();
    // Three letters of language, so three letters from the end.
    const QLocale filipino(QLocale::Filipino, QLocale::Philippines);
    ASSERT_EQ(filipino.name(), QStringLiteral("fil_PH"));
    EXPECT_EQ(countryCodeAfterStartWith(filipino), QStringLiteral("_PH"));
}

TEST_F(CrashReportControllerTest, ALocaleNameWithoutUnderscoreIsKeptWhole)
{
    ASSERT_EQ(QLocale::c().name(), QStringLiteral("C"));
    EXPECT_EQ(countryCodeAfterStartWith(QLocale::c()), QStringLiteral("C"));
}

TEST_F(CrashReportControllerTest, TheDialogNamesTheProductAsItStands)
{
    startWithProduct(QStringLiteral("50%1 Off %2"), 0, 1, false, location());
    DialogUser user(DialogUser::cancel());
    EXPECT_FALSE(controller().askUser());
    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_EQ(user.seen().first().message, QStringLiteral("50%1 Off %2 quit unexpectedly."));
    EXPECT_EQ(user.seen().first().parent, nullptr);
}

TEST_F(CrashReportControllerTest, TheDialogIsParentedToTheWindowSetForIt)
{
    startAlpha();
    QMainWindow window;
    controller().setParentWidget(&window);
    EXPECT_EQ(controller().parentWidget(), &window);
    DialogUser user(DialogUser::cancel());
    EXPECT_FALSE(controller().askUser());
    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_EQ(user.seen().first().parent, &window);
}

TEST_F(CrashReportControllerTest, ADestroyedParentWindowIsForgotten)
{
    auto* window = new QMainWindow;
    controller().setParentWidget(window);
    delete window;
    EXPECT_EQ(controller().parentWidget(), nullptr);
}

TEST_F(CrashReportControllerTest, AParentDestroyedWhileAskingTakesTheDialogWithItAndKeepsTheEntries)
{
    startAlpha(true);
    controller().setUserName(QStringLiteral("Kept Name"));
    QPointer<QMainWindow> window = new QMainWindow;
    controller().setParentWidget(window);
    DialogUser user([](CrashReportDialog& dialog) { delete dialog.parentWidget(); });
    // Counts as accepted (always-send), but there is no dialog left to read.
    EXPECT_TRUE(controller().askUser());
    ASSERT_EQ(user.seen().size(), 1);
    EXPECT_TRUE(window.isNull());
    EXPECT_EQ(controller().userName(), QStringLiteral("Kept Name"));
    EXPECT_EQ(controller().parentWidget(), nullptr);
}
