#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QString>
#include <optional>

class QCoreApplication;

// What one run of zp-demo-host is asked to do, read from the command line
// before the library is first called (the endpoint and the host's version
// and branch must be final by then). Plain values, copied freely.
class DemoOptions {
public:
    // The privacy question. Ask shows it and waits for the user; Participate
    // and Decline show it and let the demo's scripting click the answer;
    // Given skips it because the user agreed in an earlier run; Off skips it
    // and leaves analytics off for this run.
    enum class Privacy { Ask, Participate, Decline, Given, Off };
    // The crash dialog: answered by the user, or by the demo's scripting.
    enum class CrashAnswer { User, Send, DontSend };
    // NullWrite stores through a null pointer in the host's own code (the
    // crash a product would have); TestCrash calls ZpCrashReportTestCrash.
    enum class CrashKind { NullWrite, TestCrash };

    // Before the QApplication exists: whether the run needs no screen
    // (--offscreen, or only --help or --version), so that the offscreen
    // platform plug-in can be chosen in time.
    static bool offscreenRequested(int argc, char** argv);

    // Reads the application's arguments. --help and --version print and end
    // the process, as QCommandLineParser does; any other problem comes back
    // as an empty result with the reason in *error.
    static std::optional<DemoOptions> fromCommandLine(const QCoreApplication& app, QString* error);

    // The product constant (kZpProductAlpha...) named by `product`; never null
    // once fromCommandLine accepted the name. Constant: never released.
    CFStringRef productConstant() const;

    bool describe = false;
    QString logFile; // empty: "<data>/<product> Log.txt" when there is a data folder

    QString product = QStringLiteral("Beta");
    int productType = 0;
    int editionType = 3;
    QString userId = QStringLiteral("demo-user");
    QString appVersion = QStringLiteral("2024.1.0");
    int buildNumber = 1000;
    QString branch; // empty: not built from a named branch

    QString dataDir; // empty: the product's own folder
    QString endpoint; // empty: ZP_INGESTION_BASE_URL as inherited, else the built-in endpoint

    Privacy privacy = Privacy::Ask;
    QString features; // a feature script, see FeatureStep
    double crashAfterSeconds = -1; // < 0: no scripted crash
    CrashKind crashKind = CrashKind::NullWrite;
    CrashAnswer crashAnswer = CrashAnswer::User;
    bool alwaysSend = false;
    QString userName;
    QString userEmail;
    QString description;
    double quitAfterSeconds = -1; // < 0: run until the window is closed
    QString screenshotDir; // empty: no screenshots
};
