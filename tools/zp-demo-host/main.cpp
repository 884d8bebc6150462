// zp-demo-host: a small host application for ZpToolboxLite.
//
// This first version exercises the platform libraries the product stands on:
// it describes the machine the way the product will report it and writes the
// description through the vendor log, to standard error and to a log file.
#include "MachineReport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpCore.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zp-demo-host"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Demonstration host for ZpToolboxLite."));
    parser.addHelpOption();
    const QCommandLineOption logFile(QStringLiteral("log-file"), QStringLiteral("Also write the vendor log to <file>."),
                                     QStringLiteral("file"));
    parser.addOption(logFile);
    parser.process(app);

    if (parser.isSet(logFile))
        ZpLogSetFilePath(parser.value(logFile).toUtf8().constData());

    const QString report = MachineReport::text();
    QTextStream(stdout) << report << '\n';

    const QString firstLine = report.section(QLatin1Char('\n'), 0, 0);
    CFStringRef process = ZpQtStringUtils::createCFStringRefFromQString(firstLine);
    ZpLogWithParams(kZpLogLevelInfo, CFSTR("Demo"), 0, CFSTR("Described the machine in %ld facts; %@"),
                    long(report.count(QLatin1Char('\n')) + 1), process);
    CFRelease(process);
    ZpLogSetFilePath(nullptr);
    return 0;
}
