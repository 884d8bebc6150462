#include "ProcessBench.h"

#include "BenchHost.h"

#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <algorithm>
#include <ctime>
#include <fstream>
#include <string>

namespace ProcessBench {

bool quick()
{
    const QByteArray value = qgetenv("ZP_BENCH_QUICK");
    return !value.isEmpty() && value != "0";
}

int64_t monotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
}

double percentile(std::vector<double> values, double percent)
{
    if (values.empty())
        return 0;
    const auto rank = size_t(percent / 100.0 * double(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(rank), values.end());
    return values[rank];
}

void prepareHostEnvironment()
{
    BenchHost::prepareProcess();
    BenchHost::pointSendsNowhere();
}

QMap<QString, qint64> statusKilobytes()
{
    // Lines look like "VmRSS:\t  123456 kB".
    QMap<QString, qint64> fields;
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        const QString text = QString::fromStdString(line);
        const int colon = text.indexOf(QLatin1Char(':'));
        if (colon <= 0 || !text.endsWith(QLatin1String(" kB")))
            continue;
        bool ok = false;
        const qint64 kilobytes = text.mid(colon + 1).chopped(3).trimmed().toLongLong(&ok);
        if (ok)
            fields.insert(text.left(colon), kilobytes);
    }
    return fields;
}

QString readLine(QProcess& child, int timeoutMs)
{
    while (!child.canReadLine()) {
        if (!child.waitForReadyRead(timeoutMs))
            return QString();
    }
    return QString::fromUtf8(child.readLine()).trimmed();
}

QMap<QString, QString> words(const QString& line)
{
    QMap<QString, QString> result;
    for (const QString& word : line.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const int equals = word.indexOf(QLatin1Char('='));
        if (equals > 0)
            result.insert(word.left(equals), word.mid(equals + 1));
    }
    return result;
}

QString selfPath()
{
    return QCoreApplication::applicationFilePath();
}

} // namespace ProcessBench
