// zp-demo-host: a small host application for ZpToolboxLite, using it only
// through its public header, the way a product does. See DemoHost for the
// order of a run and DemoOptions (or --help) for what a script can ask.
#include "DemoApplication.h"
#include "DemoHost.h"
#include "DemoOptions.h"
#include "FeatureStep.h"
#include "MachineReport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpCore.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDir>
#include <QFile>
#include <QTextStream>

namespace {

// The old first mode: what the platform libraries report about this machine,
// on standard output and through the vendor log.
int describeMachine()
{
    const QString report = MachineReport::text();
    QTextStream(stdout) << report << '\n';
    const QString firstLine = report.section(QLatin1Char('\n'), 0, 0);
    CFStringRef process = ZpQtStringUtils::createCFStringRefFromQString(firstLine);
    ZpLogWithParams(kZpLogLevelInfo, CFSTR("Demo"), 0, CFSTR("Described the machine in %ld facts; %@"),
                    long(report.count(QLatin1Char('\n')) + 1), process);
    CFRelease(process);
    return 0;
}

void setProcessString(void (*setter)(CFStringRef), const QString& text)
{
    CFStringRef string = text.isEmpty() ? nullptr : ZpQtStringUtils::createCFStringRefFromQString(text);
    setter(string);
    if (string)
        CFRelease(string);
}

// The library's data folder holds private data (what users type, process
// memory): user-only, like the folders the library makes itself.
bool makePrivateDirectory(const QString& path)
{
    if (!QDir().mkpath(path))
        return false;
    return QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

int main(int argc, char** argv)
{
    // The platform plug-in is chosen when the application object is made.
    if (DemoOptions::offscreenRequested(argc, argv))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    DemoApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zp-demo-host"));
    QApplication::setApplicationVersion(QStringLiteral(ZP_DEMO_HOST_VERSION));

    QString error;
    const std::optional<DemoOptions> parsed = DemoOptions::fromCommandLine(app, &error);
    const std::optional<QList<FeatureStep>> script =
        parsed ? FeatureStep::parseScript(parsed->features, &error) : std::nullopt;
    if (!parsed || !script) {
        QTextStream(stderr) << "zp-demo-host: " << error << " (see --help)\n";
        return 2;
    }
    const DemoOptions& options = *parsed;

    if (!options.dataDir.isEmpty() && !makePrivateDirectory(options.dataDir)) {
        QTextStream(stderr) << "zp-demo-host: cannot make the data folder " << options.dataDir << '\n';
        return 1;
    }
    QString logFile = options.logFile;
    if (logFile.isEmpty() && !options.dataDir.isEmpty())
        logFile = QDir(options.dataDir).filePath(options.product + QStringLiteral(" Log.txt"));
    if (!logFile.isEmpty())
        ZpLogSetFilePath(QFile::encodeName(logFile).constData());

    if (options.describe) {
        const int status = describeMachine();
        ZpLogSetFilePath(nullptr);
        return status;
    }

    // Before the first call into the library: it reads the host's branch
    // once, when it first looks up a product, and the endpoint from this
    // process's environment at each send.
    if (!options.endpoint.isEmpty())
        qputenv("ZP_INGESTION_BASE_URL", options.endpoint.toUtf8());
    setProcessString(ZpProcessSetAppVersion, options.appVersion);
    ZpProcessSetBuildNumber(options.buildNumber);
    setProcessString(ZpProcessSetBuildString,
                     QStringLiteral("%1 (build %2)").arg(options.appVersion).arg(options.buildNumber));
    setProcessString(ZpProcessSetBranchName, options.branch);

    int status = 0;
    {
        DemoHost host(options, *script, app);
        host.start();
        status = app.exec();
    }
    ZpLogSetFilePath(nullptr);
    return status;
}
