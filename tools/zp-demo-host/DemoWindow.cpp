#include "DemoWindow.h"

#include <ZpToolboxLite.h>

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTime>
#include <QVBoxLayout>

namespace {

QString text(CFStringRef string)
{
    return ZpQtStringUtils::createQStringFromCFStringRef(string);
}

QLabel* note(const QString& html)
{
    auto* label = new QLabel(html);
    label->setTextFormat(Qt::RichText);
    return label;
}

} // namespace

DemoWindow::DemoWindow(const QString& title, QWidget* parent)
    : VantroMainWindow(parent)
{
    setWindowTitle(title);
    setObjectName(QStringLiteral("DemoWindow"));

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    mSummary = new QLabel(central);
    mSummary->setWordWrap(true);
    layout->addWidget(mSummary);

    auto* features = new QGroupBox(tr("Track a feature"), central);
    auto* grid = new QGridLayout(features);
    int row = 0;
    const auto addRow = [&](QWidget* control, const QString& what) {
        grid->addWidget(control, row, 0);
        grid->addWidget(note(what), row, 1);
        ++row;
    };

    addRow(addStepButton(tr("Take a tethered shot"), FeatureStep::Kind::Plain, kZpAnalyticsTetherShootTakePicture),
           tr("plain: <i>%1</i>").arg(text(kZpAnalyticsTetherShootTakePicture)));
    addRow(addStepButton(tr("Open the Layers module"), FeatureStep::Kind::Plain, kZpAnalyticsLayersModule),
           tr("dotted: <i>%1</i> sends \"Application\", Module = Layers").arg(text(kZpAnalyticsLayersModule)));

    mDetailViewButton = new QPushButton(tr("Open the detail view"), features);
    connect(mDetailViewButton, &QPushButton::clicked, this, &DemoWindow::toggleDetailView);
    addRow(mDetailViewButton, tr("timed: <i>%1</i> Start, then End with its time")
                                  .arg(text(kZpAnalyticsBrowseDetailViewSession)));

    addRow(addStepButton(tr("Show the welcome dialog"), FeatureStep::Kind::Once, kZpAnalyticsWelcomeDialogAutomatic),
           tr("once per run: <i>%1</i>").arg(text(kZpAnalyticsWelcomeDialogAutomatic)));

    auto* countRow = new QWidget(features);
    auto* countLayout = new QHBoxLayout(countRow);
    countLayout->setContentsMargins(0, 0, 0, 0);
    auto* countButton = new QPushButton(tr("Count cataloged photos"), countRow);
    mPhotoCount = new QSpinBox(countRow);
    mPhotoCount->setRange(0, 1000000);
    mPhotoCount->setValue(1234);
    countLayout->addWidget(countButton);
    countLayout->addWidget(mPhotoCount);
    connect(countButton, &QPushButton::clicked, this, [this] {
        FeatureStep step;
        step.kind = FeatureStep::Kind::Value;
        step.code = text(kZpAnalyticsBrowseCatalogedPhotoCount);
        step.number = mPhotoCount->value();
        emit stepRequested(step);
    });
    addRow(countRow, tr("with a value: <i>%1</i>, value = N").arg(text(kZpAnalyticsBrowseCatalogedPhotoCount)));
    layout->addWidget(features);

    auto* crashes = new QGroupBox(tr("Crash reporting"), central);
    auto* crashLayout = new QHBoxLayout(crashes);
    auto* crashNow = new QPushButton(tr("Crash now"), crashes);
    crashNow->setObjectName(QStringLiteral("crashNowButton"));
    connect(crashNow, &QPushButton::clicked, this, [this] { emit crashRequested(DemoOptions::CrashKind::NullWrite); });
    auto* testCrash = new QPushButton(tr("ZpCrashReportTestCrash"), crashes);
    connect(testCrash, &QPushButton::clicked, this, [this] { emit crashRequested(DemoOptions::CrashKind::TestCrash); });
    auto* testUi = new QPushButton(tr("Show the crash dialog"), crashes);
    connect(testUi, &QPushButton::clicked, this, &DemoWindow::crashDialogTestRequested);
    crashLayout->addWidget(crashNow);
    crashLayout->addWidget(testCrash);
    crashLayout->addWidget(testUi);
    crashLayout->addStretch();
    layout->addWidget(crashes);

    layout->addWidget(new QLabel(tr("Activity"), central));
    mActivity = new QPlainTextEdit(central);
    mActivity->setReadOnly(true);
    mActivity->setMinimumHeight(150);
    layout->addWidget(mActivity, 1);

    setCentralWidget(central);
    statusBar();
    resize(720, 560);
}

DemoWindow::~DemoWindow() = default;

void DemoWindow::appendActivity(const QString& line)
{
    mActivity->appendPlainText(QStringLiteral("%1  %2").arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss")), line));
    statusBar()->showMessage(line);
}

void DemoWindow::setSummary(const QString& text)
{
    mSummary->setText(text);
}

QPushButton* DemoWindow::addStepButton(const QString& label, FeatureStep::Kind kind, CFStringRef code)
{
    auto* button = new QPushButton(label);
    FeatureStep step;
    step.kind = kind;
    step.code = text(code);
    connect(button, &QPushButton::clicked, this, [this, step] { emit stepRequested(step); });
    return button;
}

void DemoWindow::toggleDetailView()
{
    FeatureStep step;
    step.kind = mDetailViewOpen ? FeatureStep::Kind::Stop : FeatureStep::Kind::Start;
    step.code = text(kZpAnalyticsBrowseDetailViewSession);
    mDetailViewOpen = !mDetailViewOpen;
    mDetailViewButton->setText(mDetailViewOpen ? tr("Close the detail view") : tr("Open the detail view"));
    emit stepRequested(step);
}
