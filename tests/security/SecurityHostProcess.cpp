#include "SecurityHostProcess.h"

#include "StoreReader.h"

#include <sys/stat.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

std::string SecurityHostRun::describe() const
{
    QString text = QStringLiteral("finished=%1 status=%2 code=%3\nstdout:\n%4\nstderr:\n%5")
                       .arg(finished)
                       .arg(exitStatus == QProcess::NormalExit ? QStringLiteral("normal") : QStringLiteral("crash"))
                       .arg(exitCode)
                       .arg(QString::fromUtf8(output), QString::fromUtf8(errors.right(4000)));
    return text.toStdString();
}

SecurityHostRun runSecurityHost(const QStringList& arguments, const QMap<QString, QString>& environment,
                                const QString& baseUrl)
{
    QProcessEnvironment childEnvironment = QProcessEnvironment::systemEnvironment();
    childEnvironment.insert(QStringLiteral("ZP_INGESTION_BASE_URL"), baseUrl.isEmpty() ? refusingBaseUrl() : baseUrl);
    childEnvironment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (auto it = environment.cbegin(); it != environment.cend(); ++it) {
        if (it.value().isNull())
            childEnvironment.remove(it.key());
        else
            childEnvironment.insert(it.key(), it.value());
    }

    SecurityHostRun run;
    QProcess host;
    host.setProcessEnvironment(childEnvironment);
    host.start(QStringLiteral(ZP_SECURITY_HOST), arguments);
    run.finished = host.waitForFinished(60000);
    if (!run.finished) {
        host.kill();
        host.waitForFinished(5000);
    }
    run.exitStatus = host.exitStatus();
    run.exitCode = host.exitCode();
    run.output = host.readAllStandardOutput();
    run.errors = host.readAllStandardError();
    static const QRegularExpression pair(QStringLiteral("(\\w+)=(\\S*)"));
    const int reportLine = run.output.indexOf("queue=");
    if (reportLine >= 0) {
        const QString line = QString::fromUtf8(run.output.mid(reportLine)).section(QLatin1Char('\n'), 0, 0);
        for (auto match = pair.globalMatch(line); match.hasNext();) {
            const auto found = match.next();
            run.facts.insert(found.captured(1), found.captured(2));
        }
    }
    return run;
}

QMap<QString, int> modesBelow(const QString& root)
{
    QMap<QString, int> modes;
    const QDir base(root);
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        struct stat info {};
        if (::lstat(QFile::encodeName(path).constData(), &info) == 0)
            modes.insert(base.relativeFilePath(path), int(info.st_mode & 07777) | (S_ISDIR(info.st_mode) ? 0x10000 : 0));
    }
    return modes;
}

QStringList notUserOnly(const QString& root)
{
    QStringList wrong;
    const QMap<QString, int> modes = modesBelow(root);
    for (auto it = modes.cbegin(); it != modes.cend(); ++it) {
        const bool directory = (it.value() & 0x10000) != 0;
        const int bits = it.value() & 07777;
        if (bits != (directory ? 0700 : 0600))
            wrong << QStringLiteral("%1 (%2)").arg(it.key()).arg(bits, 4, 8, QLatin1Char('0'));
    }
    return wrong;
}

QMap<QString, QByteArray> filesBelow(const QString& root)
{
    QMap<QString, QByteArray> files;
    const QDir base(root);
    QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        if (file.open(QIODevice::ReadOnly))
            files.insert(base.relativeFilePath(file.fileName()), file.readAll());
    }
    return files;
}

bool holdsSecret(const QByteArray& bytes, const QString& secret)
{
    if (secret.isEmpty())
        return false;
    const QByteArray utf8 = secret.toUtf8();
    const QByteArray utf16(reinterpret_cast<const char*>(secret.utf16()), int(secret.size() * sizeof(char16_t)));
    QByteArray withoutDashes = utf8;
    withoutDashes.replace('-', QByteArray());
    // Base64 shifts with the offset of the text: any of the three alignments.
    for (int shift = 0; shift < 3; ++shift) {
        const QByteArray encoded = (QByteArray(shift, ' ') + utf8).toBase64();
        // Leave out the characters that mix in the neighbours' bits.
        const int skip = shift == 0 ? 0 : 4;
        const QByteArray core = encoded.mid(skip, encoded.size() - skip - 4);
        if (bytes.contains(core))
            return true;
    }
    return bytes.contains(utf8) || bytes.contains(utf16) || bytes.contains(withoutDashes);
}
