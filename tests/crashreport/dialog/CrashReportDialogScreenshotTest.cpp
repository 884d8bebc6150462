// Renders CrashReportDialog to <build>/screenshots/crash-dialog.png and checks
// that nothing in it is cut off: every text fits the widget that shows it, in
// English and in a wordier translation.
#include "CrashReport/CrashReportDialog.h"

#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>
#include <ZpWidgetsLite/VantroLineEdit.h>
#include <ZpWidgetsLite/VantroTextEdit.h>

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QTranslator>
#include <gtest/gtest.h>

namespace {

// Horizontal room a QLineEdit keeps free on each side of its text.
constexpr int kLineEditTextMargin = 2;

// The width of the line a QLineEdit draws its text (and its placeholder) in,
// laid out by the style as the edit paints itself; a wider text is elided.
int lineWidthForText(const QLineEdit* edit)
{
    QStyleOptionFrame option;
    option.initFrom(edit);
    option.rect = edit->rect();
    option.lineWidth = edit->hasFrame() ? edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit) : 0;
    option.midLineWidth = 0;
    option.state |= QStyle::State_Sunken;
    option.features = QStyleOptionFrame::None;
    const QRect contents = edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit);
    return contents.marginsRemoved(edit->textMargins()).width() - 2 * kLineEditTextMargin;
}

// Checks a shown dialog for texts that do not fit.
void expectNothingCutOff(const CrashReportDialog& dialog)
{
    const QRect inside = dialog.rect();
    for (QWidget* widget : dialog.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        SCOPED_TRACE(widget->objectName().toStdString());
        EXPECT_TRUE(inside.contains(widget->geometry())) << "sticks out of the dialog";
    }

    for (QLabel* label : dialog.findChildren<QLabel*>()) {
        SCOPED_TRACE(label->objectName().toStdString());
        EXPECT_LE(label->sizeHint().width(), label->width());
        EXPECT_LE(label->minimumSizeHint().width(), label->width());
        EXPECT_LE(label->heightForWidth(label->width()), label->height()) << "a wrapped line is cut off";
    }

    const QList<VantroLineEdit*> edits = dialog.findChildren<VantroLineEdit*>();
    ASSERT_EQ(edits.size(), 2);
    for (VantroLineEdit* edit : edits) {
        SCOPED_TRACE(edit->objectName().toStdString());
        // Elided exactly as the edit's painting elides it.
        EXPECT_EQ(edit->fontMetrics().elidedText(edit->placeholderText(), Qt::ElideRight, lineWidthForText(edit)),
                  edit->placeholderText())
            << "the placeholder is cut off";
        EXPECT_GE(edit->height(), edit->sizeHint().height());
    }
    EXPECT_EQ(edits[0]->width(), edits[1]->width()) << "name and e-mail should share the row evenly";

    auto* description = dialog.findChild<VantroTextEdit*>(QStringLiteral("descriptionEdit"));
    ASSERT_NE(description, nullptr);
    // Its placeholder wraps; at least two lines of it must show.
    EXPECT_GE(description->viewport()->height(), 2 * description->fontMetrics().lineSpacing());
    EXPECT_GE(description->width(), description->minimumSizeHint().width());

    auto* buttons = dialog.findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"));
    ASSERT_NE(buttons, nullptr);
    ASSERT_EQ(buttons->buttons().size(), 2);
    for (QAbstractButton* button : buttons->buttons()) {
        SCOPED_TRACE(button->text().toStdString());
        EXPECT_LE(button->sizeHint().width(), button->width());
        EXPECT_LT(QFontMetricsF(button->font()).horizontalAdvance(button->text()), button->contentsRect().width());
        EXPECT_GE(button->height(), button->sizeHint().height());
    }
}

// A German translation of the dialog, longer than the English texts.
class GermanTranslator : public QTranslator {
public:
    QString translate(const char* context, const char* sourceText, const char* /*disambiguation*/,
                      int /*n*/) const override
    {
        if (qstrcmp(context, "CrashReportDialog") != 0)
            return {};
        static const QHash<QString, QString> texts = {
            {"Report a Problem", "Ein Problem melden"},
            {"%1 quit unexpectedly.", "%1 wurde unerwartet beendet."},
            {"Your Name (optional)", "Ihr Name (freiwillige Angabe)"},
            {"Email Address (optional)", "E-Mail-Adresse (freiwillige Angabe)"},
            {"Tell us what you were doing just before the crash (optional)",
             "Beschreiben Sie, was Sie kurz vor dem Absturz getan haben (freiwillige Angabe)"},
            {"Submit", "Absturzbericht senden"},
        };
        return texts.value(QString::fromUtf8(sourceText));
    }

    bool isEmpty() const override { return false; }
};

} // namespace

TEST(CrashReportDialogScreenshot, RendersWithNothingCutOff)
{
    CrashReportDialog dialog(ZpQtStringUtils::createQStringFromCFStringRef(kZpProductAlpha));
    dialog.show();

    const QImage image = dialog.grab().toImage();
    ASSERT_EQ(image.size(), dialog.size() * dialog.devicePixelRatio());
    const QString directory = QStringLiteral(ZP_SCREENSHOT_DIR);
    ASSERT_TRUE(QDir().mkpath(directory));
    const QString path = QDir(directory).filePath(QStringLiteral("crash-dialog.png"));
    ASSERT_TRUE(image.save(path, "PNG")) << path.toStdString();
    // Written before the checks so that a failing check leaves the picture to
    // look at; it reads back as the same picture.
    EXPECT_GT(QFileInfo(path).size(), 0);
    EXPECT_EQ(QImage(path).size(), image.size());

    expectNothingCutOff(dialog);
}

TEST(CrashReportDialogScreenshot, LongerTranslatedTextsFitToo)
{
    GermanTranslator german;
    QCoreApplication::installTranslator(&german);
    CrashReportDialog dialog(ZpQtStringUtils::createQStringFromCFStringRef(kZpProductEpsilon));
    QCoreApplication::removeTranslator(&german);
    dialog.show();

    ASSERT_EQ(dialog.findChild<QLineEdit*>(QStringLiteral("userEmailEdit"))->placeholderText(),
              QStringLiteral("E-Mail-Adresse (freiwillige Angabe)"));
    expectNothingCutOff(dialog);
}
