// CrashReportDialog: its widgets, texts and window, and the answers a user
// gives it through the keyboard and the mouse.
#include "CrashReport/CrashReportDialog.h"
#include "KeyboardTyping.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/VantroBorderStyle.h>
#include <ZpWidgetsLite/VantroLineEdit.h>
#include <ZpWidgetsLite/VantroTextEdit.h>

#include <QApplication>
#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTranslator>
#include <QWindow>
#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

namespace {

const QString kQuery = QStringLiteral(
    "Would you like to send a crash report to Zephra? This will help us identify issues so we can fix them "
    "in the future.");

// exec() results that no button gives: the dialog never became the modal
// window, or the simulated user never answered.
constexpr int kNeverShown = 100;
constexpr int kNoAnswer = 101;

template <typename T>
T* part(const QWidget& dialog, const char* name)
{
    return dialog.findChild<T*>(QLatin1String(name));
}

QPushButton* buttonTitled(const QWidget& dialog, const QString& title)
{
    for (QAbstractButton* button : part<QDialogButtonBox>(dialog, "buttonBox")->buttons()) {
        if (button->text() == title)
            return qobject_cast<QPushButton*>(button);
    }
    return nullptr;
}

// Runs dialog.exec() as the crash workflow does and lets `user` act on the
// dialog once it is the application's modal window. Gives up after a while
// (kNoAnswer) so that a dialog that ignores the user fails the test instead of
// hanging it.
int execAnsweredBy(CrashReportDialog& dialog, const std::function<void(CrashReportDialog&)>& user)
{
    QTimer::singleShot(0, &dialog, [&dialog, &user] {
        auto* modal = qobject_cast<CrashReportDialog*>(QApplication::activeModalWidget());
        if (modal != &dialog) {
            ADD_FAILURE() << "the dialog is not the active modal window";
            dialog.done(kNeverShown);
            return;
        }
        user(*modal);
    });
    QTimer::singleShot(10000, &dialog, [&dialog] {
        if (dialog.isVisible()) {
            ADD_FAILURE() << "the dialog was still open after the user's answer";
            dialog.done(kNoAnswer);
        }
    });
    return dialog.exec();
}

void clickSubmit(CrashReportDialog& dialog)
{
    QPushButton* submit = buttonTitled(dialog, QStringLiteral("Submit"));
    ASSERT_NE(submit, nullptr);
    QTest::mouseClick(submit, Qt::LeftButton);
}

// Answers every translation in one context with the source text in angle
// brackets, and nothing in any other context.
class BracketingTranslator : public QTranslator {
public:
    explicit BracketingTranslator(const char* context)
        : mContext(context)
    {
    }

    QString translate(const char* context, const char* sourceText, const char* /*disambiguation*/,
                      int /*n*/) const override
    {
        if (qstrcmp(context, mContext) != 0)
            return {};
        return QLatin1Char('<') + QString::fromUtf8(sourceText) + QLatin1Char('>');
    }

    bool isEmpty() const override { return false; }

private:
    const char* mContext;
};

} // namespace

TEST(CrashReportDialogForm, CreatesItsPartsInOrderWithTheirNamesAndClasses)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    EXPECT_EQ(dialog.objectName(), QStringLiteral("CrashReportDialog"));
    EXPECT_STREQ(dialog.metaObject()->className(), "CrashReportDialog");

    // Depth first, as the parts were made; Qt's own internals ("qt_…" and
    // unnamed helpers such as the buttons) are left out.
    std::vector<std::pair<QString, QString>> parts;
    for (QObject* object : dialog.findChildren<QObject*>()) {
        const QString name = object->objectName();
        if (!name.isEmpty() && !name.startsWith(QLatin1String("qt_")))
            parts.emplace_back(name, QString::fromLatin1(object->metaObject()->className()));
    }
    const std::vector<std::pair<QString, QString>> expected = {
        {"verticalLayout", "QVBoxLayout"},
        {"message", "QLabel"},
        {"queryMessage", "QLabel"},
        {"userNameAndEmailWidget", "QWidget"},
        {"horizontalLayout", "QHBoxLayout"},
        {"userNameEdit", "VantroLineEdit"},
        {"userEmailEdit", "VantroLineEdit"},
        {"descriptionEdit", "VantroTextEdit"},
        {"buttonBox", "QDialogButtonBox"},
    };
    EXPECT_EQ(parts, expected);
}

TEST(CrashReportDialogForm, LaysThePartsOutTopToBottomWithNameLeftOfEmail)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    auto* vertical = part<QVBoxLayout>(dialog, "verticalLayout");
    ASSERT_NE(vertical, nullptr);
    EXPECT_EQ(dialog.layout(), vertical);
    EXPECT_EQ(vertical->sizeConstraint(), QLayout::SetFixedSize);

    const std::vector<QWidget*> column = {
        part<QLabel>(dialog, "message"),          part<QLabel>(dialog, "queryMessage"),
        part<QWidget>(dialog, "userNameAndEmailWidget"), part<VantroTextEdit>(dialog, "descriptionEdit"),
        part<QDialogButtonBox>(dialog, "buttonBox"),
    };
    ASSERT_EQ(vertical->count(), static_cast<int>(column.size()));
    for (int i = 0; i < vertical->count(); ++i)
        EXPECT_EQ(vertical->itemAt(i)->widget(), column[i]) << "row " << i;

    auto* row = part<QHBoxLayout>(dialog, "horizontalLayout");
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(part<QWidget>(dialog, "userNameAndEmailWidget")->layout(), row);
    EXPECT_EQ(row->contentsMargins(), QMargins(0, 0, 0, 0));
    ASSERT_EQ(row->count(), 2);
    EXPECT_EQ(row->itemAt(0)->widget(), part<VantroLineEdit>(dialog, "userNameEdit"));
    EXPECT_EQ(row->itemAt(1)->widget(), part<VantroLineEdit>(dialog, "userEmailEdit"));
}

TEST(CrashReportDialogForm, SetsUpEachPart)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    EXPECT_TRUE(part<QLabel>(dialog, "message")->wordWrap());
    EXPECT_TRUE(part<QLabel>(dialog, "queryMessage")->wordWrap());

    const QLineEdit plain;
    for (const char* name : {"userNameEdit", "userEmailEdit"}) {
        SCOPED_TRACE(name);
        auto* edit = part<VantroLineEdit>(dialog, name);
        ASSERT_NE(edit, nullptr);
        const QSizePolicy policy = edit->sizePolicy();
        EXPECT_EQ(policy.horizontalPolicy(), QSizePolicy::Preferred);
        EXPECT_EQ(policy.verticalPolicy(), QSizePolicy::Preferred);
        EXPECT_EQ(policy.horizontalStretch(), 0);
        EXPECT_EQ(policy.verticalStretch(), 0);
        EXPECT_EQ(policy.hasHeightForWidth(), plain.sizePolicy().hasHeightForWidth());
        EXPECT_EQ(edit->borderStyle(), kVantroBorderStyleThin);
        EXPECT_TRUE(edit->text().isEmpty());
    }
    auto* description = part<VantroTextEdit>(dialog, "descriptionEdit");
    EXPECT_EQ(description->borderStyle(), kVantroBorderStyleThin);
    EXPECT_TRUE(description->toPlainText().isEmpty());

    auto* buttons = part<QDialogButtonBox>(dialog, "buttonBox");
    EXPECT_EQ(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    EXPECT_EQ(buttons->buttons().size(), 2);
}

TEST(CrashReportDialogForm, ShowsTheTextsWithTheProductName)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Report a Problem"));
    EXPECT_EQ(part<QLabel>(dialog, "message")->text(), QStringLiteral("Alpha quit unexpectedly."));
    EXPECT_EQ(part<QLabel>(dialog, "queryMessage")->text(), kQuery);
    EXPECT_EQ(part<VantroLineEdit>(dialog, "userNameEdit")->placeholderText(),
              QStringLiteral("Your Name (optional)"));
    EXPECT_EQ(part<VantroLineEdit>(dialog, "userEmailEdit")->placeholderText(),
              QStringLiteral("Email Address (optional)"));
    EXPECT_EQ(part<VantroTextEdit>(dialog, "descriptionEdit")->placeholderText(),
              QStringLiteral("Tell us what you were doing just before the crash (optional)"));
    auto* buttons = part<QDialogButtonBox>(dialog, "buttonBox");
    EXPECT_EQ(buttons->button(QDialogButtonBox::Ok)->text(), QStringLiteral("Submit"));
    EXPECT_NE(buttons->button(QDialogButtonBox::Cancel), nullptr);
}

TEST(CrashReportDialogForm, NamesEveryProductAsItsConstantReads)
{
    for (CFStringRef product : {kZpProductAlpha, kZpProductBeta, kZpProductGamma, kZpProductDelta,
                                kZpProductEpsilon, kZpProductZeta, kZpProductEta, kZpProductTheta,
                                kZpProductIota, kZpProductKappa}) {
        const QString name = ZpQtStringUtils::createQStringFromCFStringRef(product);
        ASSERT_FALSE(name.isEmpty());
        CrashReportDialog dialog(name);
        EXPECT_EQ(part<QLabel>(dialog, "message")->text(), name + QStringLiteral(" quit unexpectedly."));
    }
}

TEST(CrashReportDialogForm, InsertsANameWithPercentSignsAsItStands)
{
    for (const QString& name : {QStringLiteral("50% Off"), QStringLiteral("%2"), QStringLiteral("%1"),
                                QStringLiteral("100%"), QStringLiteral("%L1 %%"), QString()}) {
        CrashReportDialog dialog(name);
        EXPECT_EQ(part<QLabel>(dialog, "message")->text(), name + QStringLiteral(" quit unexpectedly."))
            << name.toStdString();
    }
}

TEST(CrashReportDialogForm, TranslatesEveryTextInItsOwnContext)
{
    BracketingTranslator translator("CrashReportDialog");
    QCoreApplication::installTranslator(&translator);
    CrashReportDialog dialog(QStringLiteral("Beta"));
    QCoreApplication::removeTranslator(&translator);

    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("<Report a Problem>"));
    // The product name goes into the translated message.
    EXPECT_EQ(part<QLabel>(dialog, "message")->text(), QStringLiteral("<Beta quit unexpectedly.>"));
    EXPECT_EQ(part<QLabel>(dialog, "queryMessage")->text(), QLatin1Char('<') + kQuery + QLatin1Char('>'));
    EXPECT_EQ(part<VantroLineEdit>(dialog, "userNameEdit")->placeholderText(),
              QStringLiteral("<Your Name (optional)>"));
    EXPECT_EQ(part<VantroLineEdit>(dialog, "userEmailEdit")->placeholderText(),
              QStringLiteral("<Email Address (optional)>"));
    EXPECT_EQ(part<VantroTextEdit>(dialog, "descriptionEdit")->placeholderText(),
              QStringLiteral("<Tell us what you were doing just before the crash (optional)>"));
    EXPECT_EQ(part<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->text(),
              QStringLiteral("<Submit>"));
}

TEST(CrashReportDialogForm, TranslationsOfOtherContextsAreNotUsed)
{
    BracketingTranslator translator("PrivacyDialog");
    QCoreApplication::installTranslator(&translator);
    CrashReportDialog dialog(QStringLiteral("Beta"));
    QCoreApplication::removeTranslator(&translator);

    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Report a Problem"));
    EXPECT_EQ(part<QLabel>(dialog, "message")->text(), QStringLiteral("Beta quit unexpectedly."));
    EXPECT_EQ(part<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->text(),
              QStringLiteral("Submit"));
}

TEST(CrashReportDialogWindow, HasATitleBarAndACloseButtonOnly)
{
    const Qt::WindowFlags asked = Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
    ASSERT_EQ(static_cast<int>(asked), 0x8001003);

    CrashReportDialog dialog(QStringLiteral("Alpha"));
    // Qt adds the system menu hint to any window that asks for a title bar
    // (a plain QDialog given the same flags shows it too); nothing else is
    // added: no minimise, maximise or help button, no frameless window.
    const QDialog reference(nullptr, asked);
    EXPECT_EQ(dialog.windowFlags(), reference.windowFlags());
    EXPECT_EQ(dialog.windowFlags(), asked | Qt::WindowSystemMenuHint);
    EXPECT_EQ(dialog.windowType(), Qt::Dialog);
    EXPECT_FALSE(dialog.windowFlags()
                 & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint | Qt::WindowContextHelpButtonHint
                    | Qt::FramelessWindowHint | Qt::CustomizeWindowHint | Qt::WindowStaysOnTopHint));
}

TEST(CrashReportDialogWindow, Starts504By299ThenTakesItsLayoutsFixedSize)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    EXPECT_EQ(dialog.size(), QSize(504, 299));

    dialog.show();
    const QSize laidOut = dialog.layout()->totalSizeHint();
    EXPECT_EQ(dialog.size(), laidOut);
    EXPECT_EQ(dialog.minimumSize(), laidOut);
    EXPECT_EQ(dialog.maximumSize(), laidOut);

    // The user cannot make it bigger.
    dialog.resize(laidOut + QSize(200, 200));
    EXPECT_EQ(dialog.size(), laidOut);
}

TEST(CrashReportDialogWindow, OwnsItsWidgets)
{
    auto* dialog = new CrashReportDialog(QStringLiteral("Alpha"));
    const QPointer<QWidget> name = part<VantroLineEdit>(*dialog, "userNameEdit");
    const QPointer<QWidget> description = part<VantroTextEdit>(*dialog, "descriptionEdit");
    const QPointer<QWidget> buttons = part<QDialogButtonBox>(*dialog, "buttonBox");
    ASSERT_TRUE(name && description && buttons);
    delete dialog;
    EXPECT_TRUE(name.isNull());
    EXPECT_TRUE(description.isNull());
    EXPECT_TRUE(buttons.isNull());
}

TEST(CrashReportDialogFields, PrefilledNameAndEmailShowInTheirEdits)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    dialog.setUserName(QStringLiteral("Zoë Ångström"));
    dialog.setUserEmail(QStringLiteral("zoe@example.org"));
    EXPECT_EQ(part<VantroLineEdit>(dialog, "userNameEdit")->text(), QStringLiteral("Zoë Ångström"));
    EXPECT_EQ(part<VantroLineEdit>(dialog, "userEmailEdit")->text(), QStringLiteral("zoe@example.org"));
    EXPECT_EQ(dialog.userName(), QStringLiteral("Zoë Ångström"));
    EXPECT_EQ(dialog.userEmail(), QStringLiteral("zoe@example.org"));
    EXPECT_TRUE(dialog.description().isEmpty());

    dialog.setUserName(QString());
    EXPECT_TRUE(dialog.userName().isEmpty());
    EXPECT_TRUE(part<VantroLineEdit>(dialog, "userNameEdit")->text().isEmpty());
}

TEST(CrashReportDialogAnswers, SubmitAcceptsWhatTheUserTyped)
{
    const QString name = QStringLiteral("Zoë Ångström");
    const QString email = QStringLiteral("zoë@bücher.example");
    const QString description =
        QStringLiteral("Opened a RAW file — then it quit.\nZweite Zeile: Größe ✓\n写真 📷");

    CrashReportDialog dialog(QStringLiteral("Gamma"));
    const int result = execAnsweredBy(dialog, [&](CrashReportDialog& shown) {
        auto* nameEdit = part<VantroLineEdit>(shown, "userNameEdit");
        QTest::mouseClick(nameEdit, Qt::LeftButton);
        typeText(nameEdit, name);

        auto* emailEdit = part<VantroLineEdit>(shown, "userEmailEdit");
        QTest::mouseClick(emailEdit, Qt::LeftButton);
        typeText(emailEdit, email);

        auto* descriptionEdit = part<VantroTextEdit>(shown, "descriptionEdit");
        QTest::mouseClick(descriptionEdit->viewport(), Qt::LeftButton);
        typeText(descriptionEdit, description);

        clickSubmit(shown);
    });

    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog.userName(), name);
    EXPECT_EQ(dialog.userEmail(), email);
    EXPECT_EQ(dialog.description(), description);
    EXPECT_FALSE(dialog.isVisible());
}

TEST(CrashReportDialogAnswers, SubmitKeepsPrefilledFieldsTheUserLeftAlone)
{
    CrashReportDialog dialog(QStringLiteral("Delta"));
    dialog.setUserName(QStringLiteral("Zoë"));
    dialog.setUserEmail(QStringLiteral("zoe@example.org"));
    const int result = execAnsweredBy(dialog, [](CrashReportDialog& shown) {
        auto* nameEdit = part<VantroLineEdit>(shown, "userNameEdit");
        EXPECT_EQ(nameEdit->text(), QStringLiteral("Zoë"));
        // The user corrects the name and types no description.
        QTest::mouseClick(nameEdit, Qt::LeftButton);
        QTest::keyClick(nameEdit, Qt::Key_End);
        typeText(nameEdit, QStringLiteral(" K."));
        clickSubmit(shown);
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog.userName(), QStringLiteral("Zoë K."));
    EXPECT_EQ(dialog.userEmail(), QStringLiteral("zoe@example.org"));
    EXPECT_TRUE(dialog.description().isEmpty());
}

TEST(CrashReportDialogAnswers, CancelDeclines)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    const int result = execAnsweredBy(dialog, [](CrashReportDialog& shown) {
        typeText(part<VantroLineEdit>(shown, "userNameEdit"), QStringLiteral("Sam"));
        QPushButton* cancel = part<QDialogButtonBox>(shown, "buttonBox")->button(QDialogButtonBox::Cancel);
        ASSERT_NE(cancel, nullptr);
        QTest::mouseClick(cancel, Qt::LeftButton);
    });
    EXPECT_EQ(result, QDialog::Rejected);
    // Declining does not clear what was typed; the workflow decides what to keep.
    EXPECT_EQ(dialog.userName(), QStringLiteral("Sam"));
}

TEST(CrashReportDialogAnswers, EscapeDeclines)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    const int result = execAnsweredBy(dialog, [](CrashReportDialog& shown) {
        auto* emailEdit = part<VantroLineEdit>(shown, "userEmailEdit");
        QTest::mouseClick(emailEdit, Qt::LeftButton);
        typeText(emailEdit, QStringLiteral("sam@example.org"));
        QTest::keyClick(emailEdit, Qt::Key_Escape);
    });
    EXPECT_EQ(result, QDialog::Rejected);
}

TEST(CrashReportDialogAnswers, TheCloseButtonDeclinesLikeCancel)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    const int result = execAnsweredBy(dialog, [](CrashReportDialog& shown) {
        // What the window manager does when the title bar's close button is
        // pressed: a close request to the window.
        ASSERT_NE(shown.windowHandle(), nullptr);
        shown.windowHandle()->close();
    });
    EXPECT_EQ(result, QDialog::Rejected);
    EXPECT_FALSE(dialog.isVisible());
}

TEST(CrashReportDialogAnswers, ReturnInTheDescriptionStartsANewLineInsteadOfSubmitting)
{
    CrashReportDialog dialog(QStringLiteral("Alpha"));
    const int result = execAnsweredBy(dialog, [](CrashReportDialog& shown) {
        auto* descriptionEdit = part<VantroTextEdit>(shown, "descriptionEdit");
        QTest::mouseClick(descriptionEdit->viewport(), Qt::LeftButton);
        typeText(descriptionEdit, QStringLiteral("one\n\ntwo"));
        EXPECT_TRUE(shown.isVisible());
        clickSubmit(shown);
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(dialog.description(), QStringLiteral("one\n\ntwo"));
}
