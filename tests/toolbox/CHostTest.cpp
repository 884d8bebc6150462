// A C host built against the installed library and header: its calling order
// runs, and what it tracked reaches zp-ingest (sent by the next run, since a C
// program has no Qt application object to send with).
#include "IngestProcess.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Runs a program to its end (bounded for liveness) and says how it went.
QString run(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment = {})
{
    QProcess process;
    if (!environment.isEmpty())
        process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(300000))
        return QStringLiteral("did not finish");
    const QString output = QString::fromLocal8Bit(process.readAll());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return QStringLiteral("failed: ") + output;
    return QString();
}

} // namespace

TEST(CHost, RunsTheCallingOrderFromTheInstalledHeaderAndItsLogsAreDelivered)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString prefix = dir.filePath(QStringLiteral("prefix"));
    const QString build = dir.filePath(QStringLiteral("build"));
    const QString data = dir.filePath(QStringLiteral("data"));

    ASSERT_EQ(run(QStringLiteral("cmake"), {"--install", ZP_PROJECT_BINARY_DIR, "--prefix", prefix}).toStdString(), "");
    ASSERT_TRUE(QFile::exists(prefix + QStringLiteral("/include/ZpToolboxLite/ZpToolboxLite.h")));
    ASSERT_EQ(run(QStringLiteral("cmake"), {"-S", ZP_C_HOST_SOURCE_DIR, "-B", build, "-G", "Ninja",
                                            "-DCMAKE_PREFIX_PATH=" + prefix, "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                                            "-DCMAKE_C_FLAGS=" ZP_C_HOST_C_FLAGS, "-DCMAKE_CXX_FLAGS=" ZP_C_HOST_CXX_FLAGS,
                                            "-DCMAKE_EXE_LINKER_FLAGS=" ZP_C_HOST_LINKER_FLAGS})
                  .toStdString(),
              "");
    ASSERT_EQ(run(QStringLiteral("cmake"), {"--build", build}).toStdString(), "");

    IngestProcess ingest;
    ASSERT_TRUE(ingest.ok()) << ingest.error().toStdString();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ZP_INGESTION_BASE_URL"), ingest.baseUrl());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    ASSERT_EQ(run(build + QStringLiteral("/c_host"), {data}, environment).toStdString(), "");

    // The next run of a Qt host sends what is pending as its queue opens.
    ASSERT_EQ(run(QStringLiteral(ZP_APPCENTER_PROBE), {data + QStringLiteral("/AppCenter"), "0"}, environment)
                  .toStdString(),
              "");
    QStringList names;
    for (const QJsonObject& log : ingest.logs())
        if (log.value(QStringLiteral("type")).toString() == QLatin1String("event"))
            names << log.value(QStringLiteral("name")).toString();
    names.sort();
    EXPECT_EQ(names, (QStringList{"Application", "CHost", "CHostOnce", "CHostTimedEnd", "CHostTimedStart",
                                  "CHostValue", "System"}));
}
