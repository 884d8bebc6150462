#pragma once

// Runs tests/security's host program (security_host) as a child process and
// reads what it printed, and the helpers the security tests share to look at
// what a run left on disk.

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

struct SecurityHostRun {
    bool finished = false; // false: it did not end in time and was killed
    QProcess::ExitStatus exitStatus = QProcess::NormalExit;
    // The exit code, or the number of the signal that ended it (CrashExit).
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
    // The "key=value" pairs of the host's report line; empty if it printed none.
    QMap<QString, QString> facts;

    bool endedNormally() const { return finished && exitStatus == QProcess::NormalExit && exitCode == 0; }
    bool diedBy(int signalNumber) const
    {
        return finished && exitStatus == QProcess::CrashExit && exitCode == signalNumber;
    }
    // For failure messages.
    std::string describe() const;
};

// Runs security_host with `arguments`, in this process's environment changed
// by `environment` (a variable set to a null QString is removed). Always sets
// ZP_INGESTION_BASE_URL, to `baseUrl` or to an address that refuses, so that
// no child ever reaches a real endpoint.
SecurityHostRun runSecurityHost(const QStringList& arguments, const QMap<QString, QString>& environment = {},
                                const QString& baseUrl = QString());

// Every file and directory below `root` (not `root` itself), relative path ->
// permission bits.
QMap<QString, int> modesBelow(const QString& root);

// The entries of modesBelow(root) whose bits differ from 0700 for directories
// or 0600 for files, as "path (mode)"; empty when all are user-only.
QStringList notUserOnly(const QString& root);

// Every regular file below `root`, relative path -> content.
QMap<QString, QByteArray> filesBelow(const QString& root);

// Whether `bytes` holds `secret` in any of the forms it could be stored in:
// UTF-8, UTF-16 (little-endian, as QString holds it), without its dashes, or
// in base64.
bool holdsSecret(const QByteArray& bytes, const QString& secret);
