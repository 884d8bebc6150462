#include "TestCertificates.h"

#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSslKey>
#include <QSslSocket>

TestCertificates::TestCertificates(KeyType keyType)
{
    if (!mDir.isValid()) {
        mError = QStringLiteral("no temporary folder");
        return;
    }
    const bool rsa = keyType == KeyType::Rsa;
    const QString extensions = mDir.filePath(QStringLiteral("server.ext"));
    QFile extensionFile(extensions);
    // An RSA key may also carry the TLS key exchange (key encipherment).
    const QByteArray keyUsage = rsa ? QByteArrayLiteral("keyUsage=critical,digitalSignature,keyEncipherment\n")
                                    : QByteArrayLiteral("keyUsage=critical,digitalSignature\n");
    if (!extensionFile.open(QIODevice::WriteOnly)
        || extensionFile.write(QByteArrayLiteral("subjectAltName=IP:127.0.0.1\n"
                                                 "basicConstraints=critical,CA:FALSE\n")
                               + keyUsage + QByteArrayLiteral("extendedKeyUsage=serverAuth\n"))
            < 0) {
        mError = QStringLiteral("cannot write %1").arg(extensions);
        return;
    }
    extensionFile.close();

    const QStringList newKey = rsa
        ? QStringList{QStringLiteral("-newkey"), QStringLiteral("rsa:2048"), QStringLiteral("-nodes")}
        : QStringList{QStringLiteral("-newkey"), QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
                      QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes")};
    const QString serial =
        QStringLiteral("0x%1").arg(QRandomGenerator::global()->generate64() >> 1, 0, 16);
    if (!run(QStringList{QStringLiteral("req"), QStringLiteral("-x509")} + newKey
             + QStringList{QStringLiteral("-keyout"), QStringLiteral("ca.key"), QStringLiteral("-out"),
                           QStringLiteral("ca.pem"), QStringLiteral("-days"), QStringLiteral("2"),
                           QStringLiteral("-subj"), QStringLiteral("/CN=ZpToolboxLite test authority"),
                           QStringLiteral("-addext"), QStringLiteral("basicConstraints=critical,CA:TRUE"),
                           QStringLiteral("-addext"), QStringLiteral("keyUsage=critical,keyCertSign,cRLSign")})
        || !run(QStringList{QStringLiteral("req")} + newKey
                + QStringList{QStringLiteral("-keyout"), QStringLiteral("server.key"), QStringLiteral("-out"),
                              QStringLiteral("server.csr"), QStringLiteral("-subj"), QStringLiteral("/CN=127.0.0.1")})
        || !run({QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"), QStringLiteral("server.csr"),
                 QStringLiteral("-CA"), QStringLiteral("ca.pem"), QStringLiteral("-CAkey"), QStringLiteral("ca.key"),
                 QStringLiteral("-set_serial"), serial, QStringLiteral("-days"), QStringLiteral("2"),
                 QStringLiteral("-extfile"), QStringLiteral("server.ext"), QStringLiteral("-out"),
                 QStringLiteral("server.pem")}))
        return;

    mAuthority = QSslCertificate::fromPath(authorityPemPath(), QSsl::Pem);
    const QList<QSslCertificate> server =
        QSslCertificate::fromPath(mDir.filePath(QStringLiteral("server.pem")), QSsl::Pem);
    QFile keyFile(mDir.filePath(QStringLiteral("server.key")));
    const QSslKey key = keyFile.open(QIODevice::ReadOnly) ? QSslKey(&keyFile, rsa ? QSsl::Rsa : QSsl::Ec) : QSslKey();
    if (mAuthority.size() != 1 || server.size() != 1 || key.isNull()) {
        mError = QStringLiteral("openssl's output could not be loaded");
        return;
    }
    mServer = QSslConfiguration::defaultConfiguration();
    mServer.setLocalCertificate(server.first());
    mServer.setPrivateKey(key);
    mServer.setPeerVerifyMode(QSslSocket::VerifyNone);
}

QString TestCertificates::authorityPemPath() const
{
    return mDir.filePath(QStringLiteral("ca.pem"));
}

QString TestCertificates::serverCertificatePath() const
{
    return mDir.filePath(QStringLiteral("server.pem"));
}

QString TestCertificates::serverKeyPath() const
{
    return mDir.filePath(QStringLiteral("server.key"));
}

bool TestCertificates::run(const QStringList& arguments)
{
    QProcess openssl;
    openssl.setWorkingDirectory(mDir.path());
    openssl.start(QStringLiteral("openssl"), arguments);
    if (!openssl.waitForFinished(30000) || openssl.exitStatus() != QProcess::NormalExit
        || openssl.exitCode() != 0) {
        mError = QStringLiteral("openssl %1 failed: %2 %3")
                     .arg(arguments.join(QLatin1Char(' ')), openssl.errorString(),
                          QString::fromLocal8Bit(openssl.readAllStandardError()));
        return false;
    }
    return true;
}
