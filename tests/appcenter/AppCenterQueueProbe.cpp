// A second process for the queue's tests.
//   appcenter_probe <storage directory> <count>
//       opens a queue on the directory, enqueues <count> events, waits for its
//       sends and says whether it had a database and how many logs it stored;
//   appcenter_probe --device
//       prints the "device" object this process would send.
#include "AppCenter/AppCenterQueue.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <QThreadPool>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 2 && args.at(1) == QLatin1String("--device")) {
        QTextStream(stdout) << QJsonDocument(DeviceInfo::current().toJson(QString())).toJson(QJsonDocument::Compact) << '\n';
        return 0;
    }
    if (args.size() != 3)
        return 2;
    int stored = 0;
    bool database = false;
    {
        AppCenterQueue queue(QStringLiteral("7d8e9f00-1a2b-4c3d-8e4f-5a6b7c8d9e0f"), args.at(1));
        database = queue.hasDatabase();
        for (int i = 0; i < args.at(2).toInt(); ++i) {
            QJsonObject log{{"type", "event"}, {"name", QStringLiteral("Probe %1").arg(i)}};
            queue.enqueue(log, QString());
            if (log.contains(QStringLiteral("id")))
                ++stored;
        }
    }
    QThreadPool::globalInstance()->waitForDone();
    QTextStream(stdout) << "database=" << int(database) << " stored=" << stored << '\n';
    return 0;
}
