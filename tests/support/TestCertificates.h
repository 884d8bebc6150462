#pragma once

// A throw-away certificate authority and a server certificate for 127.0.0.1 that
// it signed, made with the openssl command-line tool in a temporary folder.

#include <QList>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>
#include <QTemporaryDir>

class TestCertificates
{
public:
    // The kind of key of both certificates: EC on curve P-256, or 2048-bit RSA.
    enum class KeyType { Ec, Rsa };

    // Check ok() before use; error() says what went wrong.
    explicit TestCertificates(KeyType keyType = KeyType::Ec);

    bool ok() const { return mError.isEmpty(); }
    QString error() const { return mError; }

    QList<QSslCertificate> authority() const { return mAuthority; }
    QString authorityPemPath() const;
    // The server certificate and its private key as PEM files, for servers
    // that run in another process.
    QString serverCertificatePath() const;
    QString serverKeyPath() const;
    // What an HTTPS test server presents: the server certificate and its key.
    QSslConfiguration serverConfiguration() const { return mServer; }

private:
    bool run(const QStringList& arguments);

    QTemporaryDir mDir;
    QString mError;
    QList<QSslCertificate> mAuthority;
    QSslConfiguration mServer;
};
