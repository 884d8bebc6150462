#include "FuzzApplication.h"

#include <QApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

QTemporaryDir* gScratch = nullptr;

} // namespace

void FuzzApplication::start()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Port 9 (discard) on the loopback: every send is refused at once.
    qputenv("ZP_INGESTION_BASE_URL", "http://127.0.0.1:9");
    QStandardPaths::setTestModeEnabled(true);
    // QApplication keeps references to both for its whole life.
    static int argc = 1;
    static char name[] = "zp-fuzzer";
    static char* argv[] = {name, nullptr};
    new QApplication(argc, argv);
    gScratch = new QTemporaryDir;
    require(gScratch->isValid(), "cannot make a temporary folder", gScratch->errorString());
    std::atexit([] {
        delete gScratch;
        gScratch = nullptr;
    });
}

QString FuzzApplication::scratchDirectory()
{
    return gScratch->path();
}

void FuzzApplication::require(bool condition, const char* what, const QString& detail)
{
    if (condition)
        return;
    std::fprintf(stderr, "==fuzz== invariant broken: %s\n%s\n", what, qUtf8Printable(detail));
    std::abort();
}
