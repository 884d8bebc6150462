// A host run that starts the "Crashes" service and then ends as asked:
//   crashes_victim <directory> <user id> none|segv|terminate
// It prints "session=<id>" before it crashes.
#include "AppCenter/AppCenter.h"
#include "CrashReport/Crashes.h"

#include <QCoreApplication>
#include <QUuid>
#include <cstdio>
#include <exception>

namespace {

// Kept from UndefinedBehaviorSanitizer in a sanitizer build: it would end the
// process with its own report before the crash handler sees the fault.
[[gnu::noinline]] __attribute__((no_sanitize("undefined"))) void crashByNullWrite()
{
    // Through a volatile pointer: a store the compiler can see is to null is
    // undefined behaviour, and it would drop the whole branch.
    volatile int* volatile target = nullptr;
    *target = 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4)
        return 2;
    // Holds earlier runs' reports back, as the crash workflow does while it
    // asks the user, so that crashed runs can pile up for the test.
    Crashes::instance().setUserConfirmationHandler([](const QList<MSErrorReport>&) { return true; });
    AppCenter::start(QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f"), args.at(1));
    AppCenter::instance().setUserId(args.at(2));
    AppCenter::instance().startService(QStringLiteral("Crashes"));
    std::printf("session=%s\n", qPrintable(AppCenter::instance().sessionId().toString(QUuid::WithoutBraces)));
    std::fflush(stdout);

    const QString mode = args.at(3);
    if (mode == QLatin1String("segv"))
        crashByNullWrite();
    else if (mode == QLatin1String("terminate"))
        std::terminate();
    return 0;
}
