// Nothing the library accepted is lost when the host is killed: a host tracks
// numbered events and records each one after its call returned; it is killed
// with SIGKILL at a random moment (during start-up, while events are being
// stored, while a send is on the wire or waits for its answer); the next launch
// delivers; every recorded number must have reached the receiver.
//
// ZP_RELIABILITY_TRIALS sets the number of trials (default: one of each kind),
// ZP_RELIABILITY_SEED the random seed (printed, so that a failure can be run
// again); scripts/reliability.sh runs the long form.
#include "TrialHostProtocol.h"

#include "IngestProcess.h"
#include "StoreReader.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

#include <signal.h>

#include <cstdio>

namespace {

// What the host is doing when it dies.
enum class Kind {
    StartUp,     // killed 0-30 ms after exec: before start-up returned
    Sending,     // sends start after every event (no throttle): killed mid-send
    SlowAnswers, // as Sending, but every answer comes 40 ms late: killed after
                 // the receiver stored a batch and before the host deleted it
    Offline,     // the endpoint refuses connections and the shipped throttle
                 // holds: killed while events only pile up in the store
    Relaunched,  // as Offline, then a second run with a receiver and the
                 // shipped throttle, killed while its start-up send carries
                 // the first run's events and deletes them
};
constexpr int kKinds = 5;

const char* kindName(Kind kind)
{
    switch (kind) {
    case Kind::StartUp: return "start-up";
    case Kind::Sending: return "sending";
    case Kind::SlowAnswers: return "slow-answers";
    case Kind::Offline: return "offline";
    case Kind::Relaunched: return "relaunched";
    }
    return "?";
}

// A host that does not end is a failure, not a hang of the suite.
constexpr int kProcessWaitMs = 60000;
// Delivery runs after a kill before the store must be empty: one is what a
// host gets; the others only tell "late" from "never" in the report.
constexpr int kMaxDeliveryRuns = 3;

// One run of the host that is killed.
struct KilledRun {
    QString baseUrl;
    qint64 throttleMs = -1; // below 0: the shipped throttle
    int killDelayMs = 0;    // after exec
    qint64 first = 0;       // its first number
};

struct Outcome {
    QString killDelays;       // of each killed run, in ms
    int startUpsCut = 0;      // killed runs whose start-up never returned
    long long accepted = 0;   // numbers recorded
    long long delivered = 0;  // distinct numbers that arrived
    long long lost = 0;       // recorded, never arrived
    long long duplicated = 0; // extra copies of numbers that arrived more than once
    long long unrecorded = 0; // arrived, not recorded: a call cut off by a kill
    int deliveryRuns = 0;
};

QString hostProgram()
{
    return QStringLiteral(ZP_TRIAL_HOST);
}

int configuredTrials()
{
    bool ok = false;
    const int trials = qEnvironmentVariableIntValue("ZP_RELIABILITY_TRIALS", &ok);
    return ok && trials > 0 ? trials : kKinds;
}

quint32 configuredSeed()
{
    bool ok = false;
    const quint32 seed = quint32(qEnvironmentVariable("ZP_RELIABILITY_SEED").toULong(&ok));
    return ok ? seed : QRandomGenerator::global()->generate();
}

// The Trial numbers in stored or delivered logs, with each log's id.
QList<QPair<qint64, QString>> trialNumbers(const QList<QJsonObject>& logs)
{
    QList<QPair<qint64, QString>> numbers;
    for (const QJsonObject& log : logs) {
        if (log.value(QStringLiteral("type")).toString() != QLatin1String("event")
            || log.value(QStringLiteral("name")).toString() != QLatin1String(TrialHost::kEventName))
            continue;
        qint64 number = -1;
        for (const QJsonValue& value : log.value(QStringLiteral("typedProperties")).toArray()) {
            const QJsonObject property = value.toObject();
            if (property.value(QStringLiteral("name")).toString() == QLatin1String(TrialHost::kNumberProperty))
                number = property.value(QStringLiteral("value")).toString().toLongLong();
        }
        numbers << qMakePair(number, log.value(QStringLiteral("id")).toString());
    }
    return numbers;
}

QList<QJsonObject> storedLogs(const QString& storageDirectory)
{
    QList<QJsonObject> logs;
    for (const QByteArray& json : StoreReader::logs(storageDirectory))
        logs << QJsonDocument::fromJson(json).object();
    return logs;
}

// The record file's complete lines: whether start-up returned, and the numbers.
bool readRecord(const QString& path, QList<qint64>* numbers)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false; // the host died before it opened the file
    bool started = false;
    const QList<QByteArray> lines = file.readAll().split('\n');
    // The last piece follows the last newline: empty, or a line the kill cut.
    for (int i = 0; i + 1 < lines.size(); ++i) {
        if (lines.at(i) == TrialHost::kStartedLine)
            started = true;
        else
            *numbers << lines.at(i).toLongLong();
    }
    return started;
}


class KillTrials : public ::testing::Test {
protected:
    Outcome runTrial(int index, Kind kind, QRandomGenerator& random);
    // Starts the host on `folder`, kills it, and adds what it recorded.
    void killRun(const KilledRun& run, const QString& folder, const QString& recordPath, Outcome* outcome,
                 QList<qint64>* recorded, QSet<qint64>* inFlight);
};

void KillTrials::killRun(const KilledRun& run, const QString& folder, const QString& recordPath, Outcome* outcome,
                         QList<qint64>* recorded, QSet<qint64>* inFlight)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ZP_INGESTION_BASE_URL"), run.baseUrl);
    QProcess host;
    host.setProcessEnvironment(environment);
    host.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    host.start(hostProgram(), {QString::fromLatin1(TrialHost::kTrack), folder, recordPath, QString::number(run.first),
                               QString::number(run.throttleMs)});
    EXPECT_TRUE(host.waitForStarted(kProcessWaitMs)) << host.errorString().toStdString();
    QThread::msleep(ulong(run.killDelayMs));
    EXPECT_EQ(::kill(pid_t(host.processId()), SIGKILL), 0);
    EXPECT_TRUE(host.waitForFinished(kProcessWaitMs));
    // A host that ended on its own was not a trial of anything.
    EXPECT_EQ(host.exitStatus(), QProcess::CrashExit) << "exit code " << host.exitCode();

    QList<qint64> numbers;
    if (!readRecord(recordPath, &numbers))
        ++outcome->startUpsCut;
    QFile::remove(recordPath);
    // Calls are made one at a time: only the one after the last recorded can
    // have been stored without being recorded.
    inFlight->insert(numbers.isEmpty() ? run.first : numbers.last() + 1);
    *recorded += numbers;
    if (!outcome->killDelays.isEmpty())
        outcome->killDelays += QLatin1Char('+');
    outcome->killDelays += QString::number(run.killDelayMs);
}

Outcome KillTrials::runTrial(int index, Kind kind, QRandomGenerator& random)
{
    Outcome outcome;
    QTemporaryDir dir;
    EXPECT_TRUE(dir.isValid());
    const QString folder = dir.filePath(QStringLiteral("data"));
    const QString storage = folder + QDir::separator() + QStringLiteral("AppCenter");
    const QString recordPath = dir.filePath(QStringLiteral("record"));
    EXPECT_TRUE(QDir().mkpath(folder));

    IngestProcess ingest(kind == Kind::SlowAnswers ? QStringList{QStringLiteral("--delay-ms"), QStringLiteral("40")}
                                                   : QStringList{});
    EXPECT_TRUE(ingest.ok()) << ingest.error().toStdString();
    if (!ingest.ok())
        return outcome;

    // Distinct numbers per trial and run, so that nothing of another can pass.
    const qint64 first = qint64(index) * 10000000 + 1;
    QList<KilledRun> runs;
    switch (kind) {
    case Kind::StartUp:
        runs << KilledRun{ingest.baseUrl(), 0, random.bounded(0, 31), first};
        break;
    case Kind::Sending:
    case Kind::SlowAnswers:
        runs << KilledRun{ingest.baseUrl(), 0, random.bounded(20, 401), first};
        break;
    case Kind::Offline:
        runs << KilledRun{refusingBaseUrl(), -1, random.bounded(20, 401), first};
        break;
    case Kind::Relaunched:
        runs << KilledRun{refusingBaseUrl(), -1, random.bounded(100, 401), first}
             << KilledRun{ingest.baseUrl(), -1, random.bounded(20, 201), first + 5000000};
        break;
    }

    QList<qint64> recorded;
    QSet<qint64> inFlight;
    for (const KilledRun& run : runs) {
        SCOPED_TRACE(QStringLiteral("trial %1 (%2), run killed after %3 ms")
                         .arg(index)
                         .arg(QString::fromLatin1(kindName(kind)))
                         .arg(run.killDelayMs)
                         .toStdString());
        killRun(run, folder, recordPath, &outcome, &recorded, &inFlight);
    }
    outcome.accepted = recorded.size();
    SCOPED_TRACE(QStringLiteral("trial %1 (%2, killed after %3 ms)")
                     .arg(index)
                     .arg(QString::fromLatin1(kindName(kind)), outcome.killDelays)
                     .toStdString());

    // The next launch, against a receiver that behaves.
    if (kind == Kind::SlowAnswers) {
        EXPECT_TRUE(ingest.control(QJsonObject{{"delayMs", 0}}));
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ZP_INGESTION_BASE_URL"), ingest.baseUrl());
    int left = -1;
    while (left != 0 && outcome.deliveryRuns < kMaxDeliveryRuns) {
        QProcess next;
        next.setProcessEnvironment(environment);
        next.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        next.start(hostProgram(), {QString::fromLatin1(TrialHost::kDeliver), folder});
        EXPECT_TRUE(next.waitForFinished(kProcessWaitMs));
        EXPECT_EQ(next.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(next.exitCode(), 0);
        ++outcome.deliveryRuns;
        left = int(trialNumbers(storedLogs(storage)).size());
    }
    EXPECT_EQ(left, 0) << "Trial events still in the store after " << outcome.deliveryRuns << " deliveries";
    EXPECT_EQ(outcome.deliveryRuns, 1) << "the first launch after the kill did not deliver everything";

    QMap<qint64, QStringList> arrived; // number -> log ids, one per copy
    for (const auto& numberAndId : trialNumbers(ingest.logs()))
        arrived[numberAndId.first] << numberAndId.second;
    outcome.delivered = arrived.size();

    const QSet<qint64> recordedSet(recorded.cbegin(), recorded.cend());
    EXPECT_EQ(recordedSet.size(), recorded.size()) << "the host recorded a number twice";
    QList<qint64> lost;
    for (qint64 number : recorded) {
        if (!arrived.contains(number))
            lost << number;
    }
    outcome.lost = lost.size();
    EXPECT_TRUE(lost.isEmpty()) << lost.size() << " accepted events never arrived, the first " << lost.first()
                                << " of " << recorded.size();

    for (auto it = arrived.cbegin(); it != arrived.cend(); ++it) {
        if (!recordedSet.contains(it.key())) {
            ++outcome.unrecorded;
            EXPECT_TRUE(inFlight.contains(it.key()))
                << "event " << it.key() << " arrived; it was neither recorded nor in flight at a kill";
        }
        if (it.value().size() > 1) {
            outcome.duplicated += it.value().size() - 1;
            // A copy is the same record sent again, never a second record.
            EXPECT_EQ(QSet<QString>(it.value().cbegin(), it.value().cend()).size(), 1)
                << "number " << it.key() << " was stored under several ids";
        }
    }
    return outcome;
}

} // namespace

TEST_F(KillTrials, NoAcceptedEventIsLostWhenTheHostIsKilled)
{
    const int trials = configuredTrials();
    const quint32 seed = configuredSeed();
    QRandomGenerator random(seed);
    std::printf("kill trials: %d, seed %u (ZP_RELIABILITY_SEED)\n", trials, seed);

    Outcome total;
    int killedRuns = 0;
    int extraDeliveryRuns = 0;
    for (int i = 0; i < trials; ++i) {
        // Every kind in turn, so that even the short form has one of each.
        const Kind kind = Kind(i % kKinds);
        const Outcome outcome = runTrial(i, kind, random);
        std::printf("  trial %3d %-12s kill %-7s ms  start-ups cut %d  accepted %5lld  delivered %5lld"
                    "  lost %lld  duplicated %4lld  unrecorded %lld\n",
                    i, kindName(kind), qPrintable(outcome.killDelays), outcome.startUpsCut, outcome.accepted,
                    outcome.delivered, outcome.lost, outcome.duplicated, outcome.unrecorded);
        std::fflush(stdout);
        total.accepted += outcome.accepted;
        total.delivered += outcome.delivered;
        total.lost += outcome.lost;
        total.duplicated += outcome.duplicated;
        total.unrecorded += outcome.unrecorded;
        total.startUpsCut += outcome.startUpsCut;
        killedRuns += kind == Kind::Relaunched ? 2 : 1;
        extraDeliveryRuns += outcome.deliveryRuns - 1;
        if (HasFatalFailure())
            break;
    }
    std::printf("kill trials: trials %d, accepted %lld, delivered %lld, lost %lld, duplicated %lld"
                ", delivered unrecorded %lld, host runs killed %d (%d in start-up), extra delivery runs %d\n",
                trials, total.accepted, total.delivered, total.lost, total.duplicated, total.unrecorded, killedRuns,
                total.startUpsCut, extraDeliveryRuns);
    EXPECT_EQ(total.lost, 0);
}
