// What the persistent queue costs: one enqueue on the caller's thread, and
// draining 10,000 pending logs to a zp-ingest receiver on loopback.
#include "AppCenter/AppCenterQueue.h"

#include "IngestProcess.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThreadPool>

namespace {

const QString kSecret = QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f");

QJsonObject sampleEvent(int i)
{
    return QJsonObject{{"type", "event"},
                       {"name", QStringLiteral("Feature %1").arg(i % 50)},
                       {"typedProperties", QJsonArray{QJsonObject{{"type", "string"}, {"name", "Tool"}, {"value", "Brush"}}}}};
}

// Nothing listens on port 9 of the loopback: sends fail at once and the
// throttle keeps later ones from starting, so only the enqueue is measured.
void pointNowhere()
{
    qputenv("ZP_INGESTION_BASE_URL", "http://127.0.0.1:9");
}

void BM_Enqueue(benchmark::State& state)
{
    pointNowhere();
    QTemporaryDir dir;
    AppCenterQueue queue(kSecret, dir.filePath(QStringLiteral("AppCenter")));
    QThreadPool::globalInstance()->waitForDone();
    int i = 0;
    for (auto _ : state) {
        QJsonObject log = sampleEvent(i++);
        queue.enqueue(log, QString());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Enqueue)->Repetitions(5)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);

void BM_Drain10000(benchmark::State& state)
{
    IngestProcess ingest;
    if (!ingest.ok()) {
        state.SkipWithError(ingest.error().toUtf8().constData());
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        const QString storage = dir.filePath(QStringLiteral("AppCenter"));
        pointNowhere();
        {
            AppCenterQueue queue(kSecret, storage);
            QThreadPool::globalInstance()->waitForDone();
            for (int i = 0; i < 10000; ++i) {
                QJsonObject log = sampleEvent(i);
                queue.enqueue(log, QString());
            }
        }
        QThreadPool::globalInstance()->waitForDone();
        qputenv("ZP_INGESTION_BASE_URL", ingest.baseUrl().toUtf8());
        state.ResumeTiming();
        {
            AppCenterQueue queue(kSecret, storage); // sends what is pending as it opens
            QThreadPool::globalInstance()->waitForDone();
        }
    }
    state.counters["logs_delivered"] = double(ingest.logs().size());
}
BENCHMARK(BM_Drain10000)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
