#include "DemoOptions.h"

#include <ZpCore/ZpProducts.h>

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QList>
#include <cstring>

namespace {

// The flags that need no screen: --offscreen itself, and those that only print.
const char* const kScreenlessFlags[] = {"--offscreen", "-h", "--help", "--help-all", "-v", "--version"};

struct ProductName {
    const char* name;
    const CFStringRef* constant; // the library's constants are set up at load; read them late
};

const ProductName kProducts[] = {
    {"Alpha", &kZpProductAlpha}, {"Beta", &kZpProductBeta},       {"Gamma", &kZpProductGamma},
    {"Delta", &kZpProductDelta}, {"Epsilon", &kZpProductEpsilon}, {"Zeta", &kZpProductZeta},
    {"Eta", &kZpProductEta},     {"Theta", &kZpProductTheta},     {"Iota", &kZpProductIota},
    {"Kappa", &kZpProductKappa},
};

const ProductName* findProduct(const QString& name)
{
    for (const ProductName& product : kProducts) {
        if (name == QLatin1String(product.name))
            return &product;
    }
    return nullptr;
}

template <typename Enum>
struct Choice {
    const char* name;
    Enum value;
};

// The enum value whose name is `text`; false (and *error set) for any other text.
template <typename Enum, size_t N>
bool choose(const QString& option, const QString& text, const Choice<Enum> (&choices)[N], Enum* value, QString* error)
{
    QStringList names;
    for (const Choice<Enum>& choice : choices) {
        if (text == QLatin1String(choice.name)) {
            *value = choice.value;
            return true;
        }
        names << QLatin1String(choice.name);
    }
    *error = QStringLiteral("--%1 takes one of %2, not \"%3\"").arg(option, names.join(QStringLiteral(", ")), text);
    return false;
}

bool toInt(const QString& option, const QString& text, int* value, QString* error)
{
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok) {
        *error = QStringLiteral("--%1 takes a whole number, not \"%2\"").arg(option, text);
        return false;
    }
    *value = number;
    return true;
}

bool toSeconds(const QString& option, const QString& text, double* value, QString* error)
{
    bool ok = false;
    const double seconds = text.toDouble(&ok);
    if (!ok || seconds < 0) {
        *error = QStringLiteral("--%1 takes a number of seconds (0 or more), not \"%2\"").arg(option, text);
        return false;
    }
    *value = seconds;
    return true;
}

} // namespace

bool DemoOptions::offscreenRequested(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        for (const char* flag : kScreenlessFlags) {
            if (std::strcmp(argv[i], flag) == 0)
                return true;
        }
    }
    return false;
}

std::optional<DemoOptions> DemoOptions::fromCommandLine(const QCoreApplication& app, QString* error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A small host application that uses ZpToolboxLite the way a product does: crash reporting,\n"
        "the privacy question, analytics, a main window whose buttons track features, and a crash.\n"
        "Every flag below exists so that a script can run it unattended."));
    parser.addHelpOption();
    parser.addVersionOption();

    const QCommandLineOption describe(QStringLiteral("describe"),
                                      QStringLiteral("Only print what the platform libraries report about this machine."));
    const QCommandLineOption offscreen(QStringLiteral("offscreen"),
                                       QStringLiteral("Use Qt's offscreen platform (no screen needed)."));
    const QCommandLineOption logFile(QStringLiteral("log-file"),
                                     QStringLiteral("Write the vendor log to <file> (default: \"<data>/<product> Log.txt\", "
                                                    "the product log that crash reports carry)."),
                                     QStringLiteral("file"));
    const QCommandLineOption product(QStringLiteral("product"),
                                     QStringLiteral("Product: Alpha, Beta ... Kappa (default Beta)."),
                                     QStringLiteral("name"), QStringLiteral("Beta"));
    const QCommandLineOption productType(QStringLiteral("product-type"), QStringLiteral("Product type (default 0)."),
                                         QStringLiteral("n"), QStringLiteral("0"));
    const QCommandLineOption edition(QStringLiteral("edition"), QStringLiteral("Product edition type (default 3)."),
                                     QStringLiteral("n"), QStringLiteral("3"));
    const QCommandLineOption userId(QStringLiteral("user-id"), QStringLiteral("User id in every crash report."),
                                    QStringLiteral("id"), QStringLiteral("demo-user"));
    const QCommandLineOption appVersion(QStringLiteral("app-version"), QStringLiteral("The host's version."),
                                        QStringLiteral("version"), QStringLiteral("2024.1.0"));
    const QCommandLineOption buildNumber(QStringLiteral("build-number"), QStringLiteral("The host's build number."),
                                         QStringLiteral("n"), QStringLiteral("1000"));
    const QCommandLineOption branch(QStringLiteral("branch"), QStringLiteral("The branch the host was built from."),
                                    QStringLiteral("name"));
    const QCommandLineOption dataDir(QStringLiteral("data-dir"),
                                     QStringLiteral("Keep the library's data (log queue, crash files) under <dir>."),
                                     QStringLiteral("dir"));
    const QCommandLineOption endpoint(QStringLiteral("endpoint"),
                                      QStringLiteral("Base URL of the log receiver (sets ZP_INGESTION_BASE_URL)."),
                                      QStringLiteral("url"));
    const QCommandLineOption privacy(QStringLiteral("privacy"),
                                     QStringLiteral("The privacy question: ask (the user answers), participate or "
                                                    "decline (answered by the demo), given (agreed earlier: not "
                                                    "asked, analytics on), off (not asked, analytics off)."),
                                     QStringLiteral("answer"), QStringLiteral("ask"));
    const QCommandLineOption features(QStringLiteral("features"),
                                      QStringLiteral("Features to track once launched, separated by ';': CODE, "
                                                     "CODE{Key=Value,...}, once:CODE, start:CODE, stop:CODE, "
                                                     "value:CODE=N, wait:MS."),
                                      QStringLiteral("script"));
    const QCommandLineOption crashAfter(QStringLiteral("crash-after"),
                                        QStringLiteral("Crash <s> seconds after the features (0: at once)."),
                                        QStringLiteral("s"));
    const QCommandLineOption crashKind(QStringLiteral("crash-kind"),
                                       QStringLiteral("null-write (in the host's code) or test-crash "
                                                      "(ZpCrashReportTestCrash); default null-write."),
                                       QStringLiteral("kind"), QStringLiteral("null-write"));
    const QCommandLineOption crashAnswer(QStringLiteral("crash-answer"),
                                         QStringLiteral("Answer the crash dialog: send or dont-send (default: the "
                                                        "user answers)."),
                                         QStringLiteral("answer"));
    const QCommandLineOption alwaysSend(QStringLiteral("always-send"),
                                        QStringLiteral("Crash reports go even when the dialog is declined."));
    const QCommandLineOption userName(QStringLiteral("user-name"),
                                      QStringLiteral("Name for the crash dialog."), QStringLiteral("name"));
    const QCommandLineOption userEmail(QStringLiteral("user-email"),
                                       QStringLiteral("E-mail address for the crash dialog."), QStringLiteral("email"));
    const QCommandLineOption description(QStringLiteral("description"),
                                         QStringLiteral("What the user was doing, typed into the crash dialog."),
                                         QStringLiteral("text"));
    const QCommandLineOption quitAfter(QStringLiteral("quit-after"),
                                       QStringLiteral("Quit normally <s> seconds after the launch finished."),
                                       QStringLiteral("s"));
    const QCommandLineOption screenshotDir(QStringLiteral("screenshot-dir"),
                                           QStringLiteral("Save the main window and each dialog as PNG in <dir>."),
                                           QStringLiteral("dir"));
    parser.addOptions({describe, offscreen, logFile, product, productType, edition, userId, appVersion, buildNumber,
                       branch, dataDir, endpoint, privacy, features, crashAfter, crashKind, crashAnswer, alwaysSend,
                       userName, userEmail, description, quitAfter, screenshotDir});
    parser.process(app);

    if (!parser.positionalArguments().isEmpty()) {
        *error = QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().constFirst());
        return std::nullopt;
    }

    DemoOptions options;
    options.describe = parser.isSet(describe);
    options.logFile = parser.value(logFile);
    options.product = parser.value(product);
    if (!findProduct(options.product)) {
        *error = QStringLiteral("--product takes Alpha, Beta, Gamma, Delta, Epsilon, Zeta, Eta, Theta, Iota or "
                                "Kappa, not \"%1\"")
                     .arg(options.product);
        return std::nullopt;
    }
    if (!toInt(productType.names().constFirst(), parser.value(productType), &options.productType, error)
        || !toInt(edition.names().constFirst(), parser.value(edition), &options.editionType, error)
        || !toInt(buildNumber.names().constFirst(), parser.value(buildNumber), &options.buildNumber, error))
        return std::nullopt;
    options.userId = parser.value(userId);
    options.appVersion = parser.value(appVersion);
    options.branch = parser.value(branch);
    options.dataDir = parser.value(dataDir);
    options.endpoint = parser.value(endpoint);

    static const Choice<Privacy> kPrivacy[] = {{"ask", Privacy::Ask},
                                               {"participate", Privacy::Participate},
                                               {"decline", Privacy::Decline},
                                               {"given", Privacy::Given},
                                               {"off", Privacy::Off}};
    if (!choose(privacy.names().constFirst(), parser.value(privacy), kPrivacy, &options.privacy, error))
        return std::nullopt;
    options.features = parser.value(features);
    if (parser.isSet(crashAfter)
        && !toSeconds(crashAfter.names().constFirst(), parser.value(crashAfter), &options.crashAfterSeconds, error))
        return std::nullopt;
    static const Choice<CrashKind> kCrashKinds[] = {{"null-write", CrashKind::NullWrite},
                                                    {"test-crash", CrashKind::TestCrash}};
    if (!choose(crashKind.names().constFirst(), parser.value(crashKind), kCrashKinds, &options.crashKind, error))
        return std::nullopt;
    static const Choice<CrashAnswer> kCrashAnswers[] = {{"send", CrashAnswer::Send},
                                                        {"dont-send", CrashAnswer::DontSend}};
    if (parser.isSet(crashAnswer)
        && !choose(crashAnswer.names().constFirst(), parser.value(crashAnswer), kCrashAnswers, &options.crashAnswer,
                   error))
        return std::nullopt;
    options.alwaysSend = parser.isSet(alwaysSend);
    options.userName = parser.value(userName);
    options.userEmail = parser.value(userEmail);
    options.description = parser.value(description);
    if (parser.isSet(quitAfter)
        && !toSeconds(quitAfter.names().constFirst(), parser.value(quitAfter), &options.quitAfterSeconds, error))
        return std::nullopt;
    options.screenshotDir = parser.value(screenshotDir);
    return options;
}

CFStringRef DemoOptions::productConstant() const
{
    const ProductName* found = findProduct(product);
    return found ? *found->constant : nullptr;
}
