// WinCrashManagerDelegate: every report is sent, with the product log and the
// crash description named after the product and the crash time in UTC.
#include "WorkflowFixture.h"

#include "CrashReport/Crashes.h"
#include "CrashReport/WinCrashManagerDelegate.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDate>
#include <QDateTime>
#include <QRegularExpression>
#include <QTime>
#include <QTimeZone>
#include <gtest/gtest.h>

namespace {

class WinCrashManagerDelegateTest : public WorkflowFixture {
protected:
    void startWithProduct(const QString& product)
    {
        CFStringRef name = ZpQtStringUtils::createCFStringRefFromQString(product);
        CFStringRef userId = ZpQtStringUtils::createCFStringRefFromQString(kUserId);
        controller().startup(userId, name, 0, 1, false, location());
        CFRelease(userId);
        CFRelease(name);
    }

    QList<ErrorAttachment> attachmentsFor(const QDateTime& crashTime)
    {
        return mDelegate.attachmentsForErrorReport(Crashes::instance(), MSErrorReport{QStringLiteral("s"), crashTime});
    }

    static QByteArray decoded(const ErrorAttachment& attachment)
    {
        return QByteArray::fromBase64(attachment.data.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    }

    WinCrashManagerDelegate mDelegate;
};

const QDateTime kCrashTime(QDate(2024, 3, 5), QTime(7, 8, 9, 250), Qt::UTC);

} // namespace

TEST_F(WinCrashManagerDelegateTest, ProcessesEveryReport)
{
    EXPECT_TRUE(mDelegate.shouldProcessErrorReport(Crashes::instance(), MSErrorReport{}));
    EXPECT_TRUE(mDelegate.shouldProcessErrorReport(Crashes::instance(), MSErrorReport{QStringLiteral("s"), kCrashTime}));
}

TEST_F(WinCrashManagerDelegateTest, AttachesTheProductLogThenTheDescription)
{
    startAlpha();
    const QByteArray log("line one\nline two \xe2\x82\xac\n\0binary", 30);
    writeProductLog(QStringLiteral("Alpha"), log);

    const QList<ErrorAttachment> attachments = attachmentsFor(kCrashTime);
    ASSERT_EQ(attachments.size(), 2);
    EXPECT_EQ(attachments.at(0).fileName, QStringLiteral("Alpha.2024-03-05_07-08-09Z.log"));
    EXPECT_EQ(attachments.at(0).contentType, QStringLiteral("application/octet-stream"));
    EXPECT_EQ(attachments.at(0).data, QString::fromLatin1(log.toBase64())); // padded, one line
    EXPECT_EQ(decoded(attachments.at(0)), log);

    EXPECT_EQ(attachments.at(1).fileName, QStringLiteral("Alpha.2024-03-05_07-08-09Z.txt"));
    EXPECT_EQ(attachments.at(1).contentType, QStringLiteral("text/plain"));
    EXPECT_FALSE(attachments.at(1).data.contains(QLatin1Char('\n')));
    const QString description = QString::fromUtf8(decoded(attachments.at(1)));
    EXPECT_TRUE(description.startsWith(QStringLiteral("User ID: user-42\nDate: "))) << description.toStdString();
    EXPECT_TRUE(description.contains(QStringLiteral("\nPackage: ") + alphaBundleIdentifier() + QLatin1Char('\n')));
}

TEST_F(WinCrashManagerDelegateTest, TheDescriptionIsSentAsUtf8OfItsLocalBytesReadAsUtf8)
{
    startAlpha();
    controller().setUserName(QStringLiteral("Zoë Ångström 名前"));
    const QByteArray local = controller().crashDescription();
    const QList<ErrorAttachment> attachments = attachmentsFor(kCrashTime);
    ASSERT_EQ(attachments.size(), 2);
    const QByteArray sent = decoded(attachments.at(1));
    // The dates are those of each making; the rest is the same bytes.
    static const QRegularExpression dates(QStringLiteral("Date: [^\n]*\n"));
    EXPECT_EQ(QString::fromUtf8(sent).replace(dates, QString()),
              QString::fromUtf8(QString::fromUtf8(local).toUtf8()).replace(dates, QString()));
    EXPECT_TRUE(QString::fromUtf8(sent).contains(QStringLiteral("User Name: Zoë Ångström 名前\n")));
}

TEST_F(WinCrashManagerDelegateTest, AMissingProductLogGivesAnEmptyLogAttachment)
{
    startAlpha();
    const QList<ErrorAttachment> attachments = attachmentsFor(kCrashTime);
    ASSERT_EQ(attachments.size(), 2);
    EXPECT_EQ(attachments.at(0).fileName, QStringLiteral("Alpha.2024-03-05_07-08-09Z.log"));
    EXPECT_TRUE(attachments.at(0).data.isEmpty());
}

TEST_F(WinCrashManagerDelegateTest, TheCrashTimeIsNamedInUtc)
{
    startAlpha();
    // 12:38:09 at +05:30 is 07:08:09 UTC.
    const QDateTime india(QDate(2024, 3, 5), QTime(12, 38, 9), QTimeZone(5 * 3600 + 30 * 60));
    const QDateTime newYork(QDate(2024, 3, 5), QTime(2, 8, 9), QTimeZone(-5 * 3600));
    for (const QDateTime& when : {india, newYork}) {
        const QList<ErrorAttachment> attachments = attachmentsFor(when);
        ASSERT_EQ(attachments.size(), 2);
        EXPECT_EQ(attachments.at(0).fileName, QStringLiteral("Alpha.2024-03-05_07-08-09Z.log"));
        EXPECT_EQ(attachments.at(1).fileName, QStringLiteral("Alpha.2024-03-05_07-08-09Z.txt"));
    }
    // Afternoon hours keep the 24-hour clock.
    EXPECT_EQ(attachmentsFor(kCrashTime.addSecs(9 * 3600)).at(0).fileName,
              QStringLiteral("Alpha.2024-03-05_16-08-09Z.log"));
}

TEST_F(WinCrashManagerDelegateTest, TwoReportsDifferOnlyInTheTimeOfTheirFileNames)
{
    startAlpha();
    writeProductLog(QStringLiteral("Alpha"), "the log");
    const QDateTime later = kCrashTime.addSecs(3 * 86400 + 3723);
    const QList<ErrorAttachment> first = attachmentsFor(kCrashTime);
    const QList<ErrorAttachment> second = attachmentsFor(later);
    ASSERT_EQ(first.size(), 2);
    ASSERT_EQ(second.size(), 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(QString(first.at(i).fileName).replace(QStringLiteral("2024-03-05_07-08-09Z"), QStringLiteral("T")),
                  QString(second.at(i).fileName).replace(QStringLiteral("2024-03-08_08-10-12Z"), QStringLiteral("T")));
        EXPECT_NE(first.at(i).fileName, second.at(i).fileName);
        EXPECT_EQ(first.at(i).contentType, second.at(i).contentType);
    }
    EXPECT_EQ(first.at(0).data, second.at(0).data);
}

TEST_F(WinCrashManagerDelegateTest, AProductNameWithPercentSignsAndDotsIsUsedAsItStands)
{
    const QString product = QStringLiteral("Pro%1 %2 v5.0.");
    startWithProduct(product);
    writeProductLog(product, "percent log");
    const QList<ErrorAttachment> attachments = attachmentsFor(kCrashTime);
    ASSERT_EQ(attachments.size(), 2);
    EXPECT_EQ(attachments.at(0).fileName, QStringLiteral("Pro%1 %2 v5.0..2024-03-05_07-08-09Z.log"));
    EXPECT_EQ(attachments.at(1).fileName, QStringLiteral("Pro%1 %2 v5.0..2024-03-05_07-08-09Z.txt"));
    EXPECT_EQ(decoded(attachments.at(0)), QByteArray("percent log"));
}

TEST_F(WinCrashManagerDelegateTest, TheFileNameTimeHasAFixedShape)
{
    startAlpha();
    const QDateTime now = QDateTime::currentDateTime();
    const QList<ErrorAttachment> attachments = attachmentsFor(now);
    ASSERT_EQ(attachments.size(), 2);
    static const QRegularExpression name(
        QStringLiteral("^Alpha\\.(\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\dZ)\\.(log|txt)$"));
    for (const ErrorAttachment& attachment : attachments) {
        const QRegularExpressionMatch match = name.match(attachment.fileName);
        ASSERT_TRUE(match.hasMatch()) << attachment.fileName.toStdString();
        EXPECT_EQ(match.captured(1), fileNameTime(now));
    }
}
