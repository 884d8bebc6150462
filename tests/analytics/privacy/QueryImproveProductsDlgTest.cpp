// The dialog's make-up (objects, texts, flags, size, button order and default
// button), its meta-object, Learn More, and where it appears on show.
#include "PrivacyDialogDriver.h"
#include "UrlRecorder.h"

#include <ZpQtCoreLite/ZpQtSysInfo.h>

#include <QApplication>
#include <QBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QSpacerItem>
#include <QStyle>
#include <QTest>
#include <QTranslator>
#include <gtest/gtest.h>
#include <optional>

namespace {

const char* const kExplanation =
    "At Zephra, we work hard to build the best products for our customers.  You can help us build better products "
    "by sharing anonymous data about how you use your software.  This helps us learn which features are important "
    "to you and how we can make your software easier to use.  No personal information is collected and you will "
    "not be contacted.";

// Left edges of the three buttons in the row's coordinates.
struct ButtonColumns {
    int learnMore;
    int dontParticipate;
    int participate;
};

ButtonColumns buttonColumns(const QWidget& dialog)
{
    const QWidget* row = dialog.findChild<QWidget*>(QStringLiteral("mButtonsWidget"));
    EXPECT_NE(row, nullptr);
    auto column = [row](const QWidget* button) { return button->mapTo(row, QPoint(0, 0)).x(); };
    return {column(learnMoreButton(dialog)), column(dontParticipateButton(dialog)), column(participateButton(dialog))};
}

void showAndWait(QWidget& widget)
{
    widget.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
}

// A stand-in for a localisation: everything in the dialog's context gets a
// prefix, and the analytics page is replaced by another address.
class PrefixTranslator : public QTranslator {
public:
    static constexpr const char* kLocalPage = "http://www.example.com/de/analytics seite";

    QString translate(const char* context, const char* sourceText, const char* /*disambiguation*/,
                      int /*n*/) const override
    {
        if (qstrcmp(context, "QueryImproveProductsDlg") != 0)
            return QString();
        if (QByteArray(sourceText).startsWith("http://"))
            return QString::fromLatin1(kLocalPage);
        return QStringLiteral("DE ") + QString::fromUtf8(sourceText);
    }
    bool isEmpty() const override { return false; }
};

class QueryImproveProductsDlgTest : public ::testing::Test {
protected:
    UrlRecorder mBrowser;
};

TEST_F(QueryImproveProductsDlgTest, CreatesItsObjectsInOrderWithTheirNames)
{
    const QueryImproveProductsDlg dialog;
    QStringList names;
    QStringList classes;
    for (const QObject* object : dialog.findChildren<QObject*>()) {
        names << object->objectName();
        classes << QString::fromLatin1(object->metaObject()->className());
    }
    EXPECT_EQ(names, QStringList({"verticalLayout", "mThankYouLabel", "mExplainationLabel", "mButtonsWidget",
                                  "horizontalLayout", "mLearnMoreButton", "mSwapButtonsWidget",
                                  "mSwapButtonsWidgetLayout", "mDontParticipateButton", "mParticipateButton"}));
    EXPECT_EQ(classes, QStringList({"QVBoxLayout", "QLabel", "QLabel", "QWidget", "QHBoxLayout", "QPushButton",
                                    "QWidget", "QHBoxLayout", "QPushButton", "QPushButton"}));

    QStringList direct;
    for (const QObject* child : dialog.children())
        direct << child->objectName();
    EXPECT_EQ(direct, QStringList({"verticalLayout", "mThankYouLabel", "mExplainationLabel", "mButtonsWidget"}));
}

TEST_F(QueryImproveProductsDlgTest, DialogIsAModalQDialogOf524By184UntilLaidOut)
{
    QWidget host;
    const QueryImproveProductsDlg dialog(&host);
    EXPECT_EQ(dialog.objectName(), QStringLiteral("QueryImproveProductsDlg"));
    EXPECT_EQ(dialog.parentWidget(), &host);
    EXPECT_TRUE(dialog.isModal());
    EXPECT_TRUE(dialog.isWindow());
    EXPECT_EQ(dialog.size(), QSize(524, 184));
    EXPECT_NE(qobject_cast<const QDialog*>(&dialog), nullptr);
}

TEST_F(QueryImproveProductsDlgTest, HasATitleAndACloseButtonOnly)
{
    const QueryImproveProductsDlg dialog;
    // Qt adds the system-menu hint itself whenever a title-bar hint is given
    // without CustomizeWindowHint; the dialog asks for nothing else.
    EXPECT_EQ(dialog.windowFlags(),
              Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
    EXPECT_EQ(dialog.windowType(), Qt::Dialog);
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowMinimizeButtonHint);
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowMaximizeButtonHint);
    EXPECT_FALSE(dialog.windowFlags() & Qt::CustomizeWindowHint);
}

TEST_F(QueryImproveProductsDlgTest, ShowsTheTextsExactly)
{
    const QueryImproveProductsDlg dialog;
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Help Improve Zephra Products"));
    EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("mThankYouLabel"))->text(),
              QStringLiteral("Thank You for Helping to Improve Zephra's Products"));
    const QString explanation = dialog.findChild<QLabel*>(QStringLiteral("mExplainationLabel"))->text();
    EXPECT_EQ(explanation, QString::fromLatin1(kExplanation));
    EXPECT_EQ(explanation.count(QStringLiteral(".  ")), 3); // the double blanks survive
    EXPECT_EQ(learnMoreButton(dialog)->text(), QStringLiteral("Learn More"));
    EXPECT_EQ(dontParticipateButton(dialog)->text(), QStringLiteral("Don't Participate"));
    EXPECT_EQ(participateButton(dialog)->text(), QStringLiteral("Participate"));
}

TEST_F(QueryImproveProductsDlgTest, TranslatesEveryTextAndThePageInItsOwnContext)
{
    PrefixTranslator translator;
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    {
        QueryImproveProductsDlg dialog;
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("DE Help Improve Zephra Products"));
        EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("mThankYouLabel"))->text(),
                  QStringLiteral("DE Thank You for Helping to Improve Zephra's Products"));
        EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("mExplainationLabel"))->text(),
                  QStringLiteral("DE ") + QString::fromLatin1(kExplanation));
        EXPECT_EQ(learnMoreButton(dialog)->text(), QStringLiteral("DE Learn More"));
        EXPECT_EQ(dontParticipateButton(dialog)->text(), QStringLiteral("DE Don't Participate"));
        EXPECT_EQ(participateButton(dialog)->text(), QStringLiteral("DE Participate"));

        dialog.onLearnMoreButtonClicked();
    }
    QCoreApplication::removeTranslator(&translator);
    // The translated address is parsed tolerantly: the blank is escaped
    // rather than making the address invalid.
    ASSERT_EQ(mBrowser.urls().size(), 1);
    EXPECT_TRUE(mBrowser.urls().first().isValid());
    EXPECT_EQ(mBrowser.urls().first().toString(QUrl::FullyEncoded),
              QStringLiteral("http://www.example.com/de/analytics%20seite"));
}

TEST_F(QueryImproveProductsDlgTest, LaysOutTheRowAsDescribed)
{
    const QueryImproveProductsDlg dialog;
    auto* vertical = qobject_cast<QVBoxLayout*>(dialog.layout());
    ASSERT_NE(vertical, nullptr);
    EXPECT_EQ(vertical->objectName(), QStringLiteral("verticalLayout"));
    EXPECT_EQ(vertical->sizeConstraint(), QLayout::SetFixedSize);
    const QMargins margins = vertical->contentsMargins();
    EXPECT_EQ(margins.left(), dialog.style()->pixelMetric(QStyle::PM_LayoutLeftMargin, nullptr, &dialog));
    EXPECT_EQ(margins.top(), dialog.style()->pixelMetric(QStyle::PM_LayoutTopMargin, nullptr, &dialog));
    EXPECT_EQ(margins.right(), dialog.style()->pixelMetric(QStyle::PM_LayoutRightMargin, nullptr, &dialog));
    EXPECT_EQ(margins.bottom(), 12);

    ASSERT_EQ(vertical->count(), 3);
    EXPECT_EQ(vertical->itemAt(0)->widget()->objectName(), QStringLiteral("mThankYouLabel"));
    EXPECT_EQ(vertical->itemAt(1)->widget()->objectName(), QStringLiteral("mExplainationLabel"));
    QWidget* row = vertical->itemAt(2)->widget();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->objectName(), QStringLiteral("mButtonsWidget"));

    auto* horizontal = qobject_cast<QHBoxLayout*>(row->layout());
    ASSERT_NE(horizontal, nullptr);
    EXPECT_EQ(horizontal->objectName(), QStringLiteral("horizontalLayout"));
    EXPECT_EQ(horizontal->contentsMargins(), QMargins(0, 0, 0, 0));
    ASSERT_EQ(horizontal->count(), 3);
    EXPECT_EQ(horizontal->itemAt(0)->widget(), learnMoreButton(dialog));
    QSpacerItem* spacer = horizontal->itemAt(1)->spacerItem();
    ASSERT_NE(spacer, nullptr);
    EXPECT_EQ(spacer->sizeHint(), QSize(66, 20));
    EXPECT_EQ(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    EXPECT_EQ(spacer->sizePolicy().verticalPolicy(), QSizePolicy::Minimum);
    QWidget* swap = horizontal->itemAt(2)->widget();
    ASSERT_NE(swap, nullptr);
    EXPECT_EQ(swap->objectName(), QStringLiteral("mSwapButtonsWidget"));

    auto* swapLayout = qobject_cast<QHBoxLayout*>(swap->layout());
    ASSERT_NE(swapLayout, nullptr);
    EXPECT_EQ(swapLayout->objectName(), QStringLiteral("mSwapButtonsWidgetLayout"));
    EXPECT_EQ(swapLayout->contentsMargins(), QMargins(0, 0, 0, 0));
    ASSERT_EQ(swapLayout->count(), 2);
    EXPECT_EQ(swapLayout->itemAt(0)->widget(), dontParticipateButton(dialog));
    EXPECT_EQ(swapLayout->itemAt(1)->widget(), participateButton(dialog));
}

TEST_F(QueryImproveProductsDlgTest, LabelsAndRowKeepTheirHeight)
{
    const QueryImproveProductsDlg dialog;
    for (const char* name : {"mThankYouLabel", "mExplainationLabel", "mButtonsWidget"}) {
        const QWidget* widget = dialog.findChild<QWidget*>(QLatin1String(name));
        ASSERT_NE(widget, nullptr) << name;
        const QSizePolicy policy = widget->sizePolicy();
        EXPECT_EQ(policy.horizontalPolicy(), QSizePolicy::Preferred) << name;
        EXPECT_EQ(policy.verticalPolicy(), QSizePolicy::Fixed) << name;
        EXPECT_EQ(policy.horizontalStretch(), 0) << name;
        EXPECT_EQ(policy.verticalStretch(), 0) << name;
    }
    const auto* thanks = dialog.findChild<QLabel*>(QStringLiteral("mThankYouLabel"));
    const auto* explanation = dialog.findChild<QLabel*>(QStringLiteral("mExplainationLabel"));
    EXPECT_FALSE(thanks->wordWrap());
    EXPECT_FALSE(thanks->sizePolicy().hasHeightForWidth());
    EXPECT_TRUE(explanation->wordWrap());
    EXPECT_EQ(explanation->textFormat(), Qt::AutoText);
    // Word wrap makes the label's height depend on its width.
    EXPECT_TRUE(explanation->sizePolicy().hasHeightForWidth());
}

TEST_F(QueryImproveProductsDlgTest, CannotBeResizedOnceShown)
{
    QueryImproveProductsDlg dialog;
    showAndWait(dialog);
    const QSize shown = dialog.size();
    EXPECT_EQ(dialog.minimumSize(), shown);
    EXPECT_EQ(dialog.maximumSize(), shown);
    dialog.resize(shown + QSize(200, 150));
    QApplication::processEvents();
    EXPECT_EQ(dialog.size(), shown);
}

TEST_F(QueryImproveProductsDlgTest, AnswerButtonsFollowThisPlatformByDefault)
{
    // No override: the real platform decides, and these tests run on Linux.
    ASSERT_FALSE(ZpQtSysInfo::isWinPlatform());
    QueryImproveProductsDlg dialog;
    showAndWait(dialog);
    const ButtonColumns columns = buttonColumns(dialog);
    EXPECT_LT(columns.learnMore, columns.dontParticipate);
    EXPECT_LT(columns.dontParticipate, columns.participate);
}

TEST_F(QueryImproveProductsDlgTest, AnswerButtonsReadDontParticipateThenParticipateElsewhere)
{
    const WinPlatformOverride other(false);
    QueryImproveProductsDlg dialog;
    showAndWait(dialog);
    EXPECT_EQ(dialog.findChild<QWidget*>(QStringLiteral("mSwapButtonsWidget"))->layoutDirection(), Qt::LeftToRight);
    const ButtonColumns columns = buttonColumns(dialog);
    EXPECT_LT(columns.learnMore, columns.dontParticipate);
    EXPECT_LT(columns.dontParticipate, columns.participate);
}

TEST_F(QueryImproveProductsDlgTest, AnswerButtonsReadParticipateThenDontParticipateOnWindows)
{
    const WinPlatformOverride windows(true);
    QueryImproveProductsDlg dialog;
    showAndWait(dialog);
    EXPECT_EQ(dialog.findChild<QWidget*>(QStringLiteral("mSwapButtonsWidget"))->layoutDirection(), Qt::RightToLeft);
    // Only the pair turns: the rest of the dialog reads left to right.
    EXPECT_EQ(dialog.layoutDirection(), Qt::LeftToRight);
    EXPECT_EQ(dialog.findChild<QWidget*>(QStringLiteral("mButtonsWidget"))->layoutDirection(), Qt::LeftToRight);
    const ButtonColumns columns = buttonColumns(dialog);
    EXPECT_LT(columns.learnMore, columns.participate);
    EXPECT_LT(columns.participate, columns.dontParticipate);
}

TEST_F(QueryImproveProductsDlgTest, ButtonOrderIsDecidedAtConstruction)
{
    std::optional<QueryImproveProductsDlg> dialog;
    {
        const WinPlatformOverride windows(true);
        dialog.emplace();
    }
    const WinPlatformOverride other(false);
    showAndWait(*dialog);
    const ButtonColumns columns = buttonColumns(*dialog);
    EXPECT_LT(columns.participate, columns.dontParticipate);
}

TEST_F(QueryImproveProductsDlgTest, ParticipateIsTheOnlyAutoDefaultAndBecomesTheDefault)
{
    for (const bool windows : {false, true}) {
        const WinPlatformOverride platform(windows);
        QueryImproveProductsDlg dialog;
        QStringList autoDefaults;
        for (const QPushButton* button : dialog.findChildren<QPushButton*>()) {
            if (button->autoDefault())
                autoDefaults << button->objectName();
        }
        EXPECT_EQ(autoDefaults, QStringList({"mParticipateButton"})) << windows;

        showAndWait(dialog);
        EXPECT_TRUE(participateButton(dialog)->isDefault()) << windows;
        EXPECT_FALSE(dontParticipateButton(dialog)->isDefault()) << windows;
        EXPECT_FALSE(learnMoreButton(dialog)->isDefault()) << windows;

        // Focus on Don't Participate does not make it the default either.
        dontParticipateButton(dialog)->setFocus(Qt::TabFocusReason);
        QApplication::processEvents();
        EXPECT_FALSE(dontParticipateButton(dialog)->isDefault()) << windows;
        EXPECT_TRUE(participateButton(dialog)->isDefault()) << windows;
    }
}

TEST_F(QueryImproveProductsDlgTest, LearnMoreNeverTakesFocus)
{
    QueryImproveProductsDlg dialog;
    EXPECT_EQ(learnMoreButton(dialog)->focusPolicy(), Qt::NoFocus);
    EXPECT_FALSE(learnMoreButton(dialog)->autoDefault());
    showAndWait(dialog);
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QWidget* before = dialog.focusWidget();
    QTest::mouseClick(learnMoreButton(dialog), Qt::LeftButton);
    EXPECT_FALSE(learnMoreButton(dialog)->hasFocus());
    EXPECT_EQ(dialog.focusWidget(), before);
    // Tabbing through the dialog never lands on it either.
    for (int i = 0; i < 4; ++i) {
        pressKey(dialog, Qt::Key_Tab);
        EXPECT_NE(QApplication::focusWidget(), learnMoreButton(dialog));
    }
}

TEST_F(QueryImproveProductsDlgTest, LearnMoreOpensTheAnalyticsPageAndStaysOpen)
{
    QueryImproveProductsDlg dialog;
    showAndWait(dialog);
    QTest::mouseClick(learnMoreButton(dialog), Qt::LeftButton);
    QTest::mouseClick(learnMoreButton(dialog), Qt::LeftButton);
    ASSERT_EQ(mBrowser.urls().size(), 2);
    const QUrl page = mBrowser.urls().first();
    EXPECT_EQ(page, QUrl(QStringLiteral("http://www.example.com/analytics")));
    EXPECT_EQ(page.scheme(), QStringLiteral("http"));
    EXPECT_EQ(mBrowser.urls().last(), page);
    EXPECT_TRUE(dialog.isVisible());
}

TEST_F(QueryImproveProductsDlgTest, IsAMetaObjectClassOfItsOwn)
{
    QueryImproveProductsDlg dialog;
    const QMetaObject* meta = dialog.metaObject();
    EXPECT_EQ(meta, &QueryImproveProductsDlg::staticMetaObject);
    EXPECT_STREQ(meta->className(), "QueryImproveProductsDlg");
    EXPECT_EQ(meta->superClass(), &QDialog::staticMetaObject);

    EXPECT_EQ(dialog.qt_metacast("QueryImproveProductsDlg"), static_cast<void*>(&dialog));
    EXPECT_EQ(dialog.qt_metacast("QDialog"), static_cast<void*>(static_cast<QDialog*>(&dialog)));
    EXPECT_NE(dialog.qt_metacast("QWidget"), nullptr);
    EXPECT_EQ(dialog.qt_metacast(nullptr), nullptr);
    EXPECT_EQ(dialog.qt_metacast("QPushButton"), nullptr);

    // One slot and nothing else of its own: no signals, no properties.
    ASSERT_EQ(meta->methodCount() - meta->methodOffset(), 1);
    const QMetaMethod slot = meta->method(meta->methodOffset());
    EXPECT_EQ(slot.methodSignature(), QByteArray("onLearnMoreButtonClicked()"));
    EXPECT_EQ(slot.methodType(), QMetaMethod::Slot);
    EXPECT_EQ(slot.access(), QMetaMethod::Public);
    EXPECT_EQ(meta->propertyCount(), meta->propertyOffset());
    EXPECT_GE(meta->indexOfSlot("onLearnMoreButtonClicked()"), 0);
}

TEST_F(QueryImproveProductsDlgTest, SlotIsInvokableByName)
{
    QueryImproveProductsDlg dialog;
    EXPECT_TRUE(QMetaObject::invokeMethod(&dialog, "onLearnMoreButtonClicked"));
    ASSERT_EQ(mBrowser.urls().size(), 1);
    EXPECT_EQ(mBrowser.urls().first(), QUrl(QStringLiteral("http://www.example.com/analytics")));
}

TEST_F(QueryImproveProductsDlgTest, MetaCallsReachTheSlotAndQDialog)
{
    QueryImproveProductsDlg dialog;
    const int slot = dialog.metaObject()->methodOffset();

    void* noArguments[] = {nullptr};
    EXPECT_LT(dialog.qt_metacall(QMetaObject::InvokeMetaMethod, slot, noArguments), 0);
    EXPECT_EQ(mBrowser.urls().size(), 1);

    QMetaType type = QMetaType::fromType<int>();
    int argument = 0;
    void* typeQuery[] = {&type, &argument};
    EXPECT_LT(dialog.qt_metacall(QMetaObject::RegisterMethodArgumentMetaType, slot, typeQuery), 0);
    EXPECT_FALSE(type.isValid());

    // QDialog's own methods go to QDialog.
    const int accept = dialog.metaObject()->indexOfSlot("accept()");
    ASSERT_GE(accept, 0);
    ASSERT_LT(accept, slot);
    dialog.setResult(QDialog::Rejected);
    dialog.qt_metacall(QMetaObject::InvokeMetaMethod, accept, noArguments);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(mBrowser.urls().size(), 1);
}

class QueryImproveProductsDlgPlacementTest : public ::testing::Test {
protected:
    // Where the dialog's frame ends up when shown over `host` with the given
    // platform.
    static QPoint shownAt(QWidget* host, bool windows)
    {
        const WinPlatformOverride platform(windows);
        QueryImproveProductsDlg dialog(host);
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
        centredAt = centredOn(dialog, host ? host->screen() : dialog.screen());
        return dialog.frameGeometry().topLeft();
    }

    static QPoint centredOn(const QWidget& dialog, const QScreen* screen)
    {
        const QPoint centre = screen->availableGeometry().center();
        const QSize frame = dialog.frameSize();
        return QPoint(centre.x() - frame.width() / 2, centre.y() - frame.height() / 2);
    }

    // Set by shownAt(): where centring on the screen would have put it.
    static inline QPoint centredAt;
};

TEST_F(QueryImproveProductsDlgPlacementTest, CentresOnTheScreenOfAHiddenParentOnWindows)
{
    // A host that asks before its main window is shown: the window has a
    // geometry in the screen's corner but is not visible.
    QWidget host;
    host.setGeometry(0, 0, 200, 100);
    ASSERT_FALSE(host.isVisible());

    const QPoint windows = shownAt(&host, true);
    EXPECT_EQ(windows, centredAt);
    const QRect area = host.screen()->availableGeometry();
    EXPECT_TRUE(area.contains(windows));

    // Elsewhere Qt's own placement stands, which goes by the hidden parent.
    const QPoint other = shownAt(&host, false);
    EXPECT_NE(other, centredAt);
}

TEST_F(QueryImproveProductsDlgPlacementTest, LeavesPlacementToQtOverAVisibleParent)
{
    QWidget host;
    host.setGeometry(10, 20, 240, 160);
    showAndWait(host);
    const QPoint windows = shownAt(&host, true);
    EXPECT_NE(windows, centredAt);
    EXPECT_EQ(windows, shownAt(&host, false));
}

TEST_F(QueryImproveProductsDlgPlacementTest, LeavesPlacementToQtWithoutAParent)
{
    EXPECT_EQ(shownAt(nullptr, true), shownAt(nullptr, false));
}

} // namespace
