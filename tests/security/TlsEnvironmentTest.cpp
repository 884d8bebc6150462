// Nothing in a host's environment turns TLS verification off: against a
// receiver whose certificate no trusted authority signed, a host started with
// every variable that could plausibly weaken verification delivers nothing
// and keeps its records. Only ZP_HTTP_EXTRA_CA_FILE, the documented hook for
// tests and self-hosted receivers, adds an authority, and only a real one.
#include "SecurityHostProcess.h"

#include "IngestProcess.h"
#include "StoreReader.h"
#include "TestCertificates.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class TlsEnvironmentTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        ASSERT_TRUE(mUntrusted.ok()) << mUntrusted.error().toStdString();
        mIngest = std::make_unique<IngestProcess>(QStringList{QStringLiteral("--tls-cert"),
                                                              mUntrusted.serverCertificatePath(),
                                                              QStringLiteral("--tls-key"), mUntrusted.serverKeyPath()});
        ASSERT_TRUE(mIngest->ok()) << mIngest->error().toStdString();
        ASSERT_TRUE(mIngest->baseUrl().startsWith(QStringLiteral("https://")));
    }

    QString storage() const { return mDir.filePath(QStringLiteral("AppCenter")); }

    SecurityHostRun track(const QMap<QString, QString>& environment)
    {
        return runSecurityHost({QStringLiteral("analytics"), mDir.path(), QStringLiteral("3"), QStringLiteral("8")},
                               environment, mIngest->baseUrl());
    }

    // A run with `environment` reaches the receiver but delivers nothing, and
    // every record stays for a later send.
    void expectNothingDelivered(const QMap<QString, QString>& environment)
    {
        const SecurityHostRun run = track(environment);
        ASSERT_TRUE(run.endedNormally()) << run.describe();
        EXPECT_EQ(run.facts.value(QStringLiteral("database")), QStringLiteral("1"));
        EXPECT_TRUE(mIngest->logs().isEmpty());
        EXPECT_TRUE(mIngest->requests().isEmpty());
        EXPECT_GE(StoreReader::logs(storage()).size(), 3);
    }

    // A folder holding the untrusted authority under its OpenSSL hash name,
    // as SSL_CERT_DIR expects.
    QString hashedAuthorityFolder()
    {
        const QString folder = mWork.filePath(QStringLiteral("certs"));
        QDir().mkpath(folder);
        QFile::copy(mUntrusted.authorityPemPath(), folder + QStringLiteral("/untrusted.pem"));
        QProcess rehash;
        rehash.start(QStringLiteral("openssl"), {QStringLiteral("rehash"), folder});
        rehash.waitForFinished(30000);
        return folder;
    }

    QTemporaryDir mDir;
    QTemporaryDir mWork;
    TestCertificates mUntrusted;
    std::unique_ptr<IngestProcess> mIngest;
};

} // namespace

TEST_F(TlsEnvironmentTest, TrustVariablesOfQtAndOpenSslDeliverNothing)
{
    const QString authorityFolder = hashedAuthorityFolder();
    ASSERT_GE(QDir(authorityFolder).entryList(QDir::Files | QDir::System).size(), 2) << "openssl rehash made no link";
    expectNothingDelivered({
        {QStringLiteral("SSL_CERT_FILE"), mUntrusted.authorityPemPath()},
        {QStringLiteral("SSL_CERT_DIR"), authorityFolder},
        {QStringLiteral("CURL_CA_BUNDLE"), mUntrusted.authorityPemPath()},
        {QStringLiteral("REQUESTS_CA_BUNDLE"), mUntrusted.authorityPemPath()},
        {QStringLiteral("NODE_EXTRA_CA_CERTS"), mUntrusted.authorityPemPath()},
        {QStringLiteral("QT_SSL_USE_TEMPORARY_KEYCHAIN"), QStringLiteral("1")},
        {QStringLiteral("QT_SSL_IGNORE_ERRORS"), QStringLiteral("1")},
        {QStringLiteral("QT_SSL_PEER_VERIFY_MODE"), QStringLiteral("VerifyNone")},
        {QStringLiteral("QT_NETWORK_NO_SSL_VERIFY"), QStringLiteral("1")},
        {QStringLiteral("ZP_HTTP_VERIFY"), QStringLiteral("0")},
        {QStringLiteral("ZP_HTTP_INSECURE"), QStringLiteral("1")},
        {QStringLiteral("ZP_TLS_VERIFY"), QStringLiteral("0")},
    });
}

TEST_F(TlsEnvironmentTest, AnOpenSslConfigurationDeliversNothing)
{
    const QString configuration = mWork.filePath(QStringLiteral("openssl.cnf"));
    QFile file(configuration);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("openssl_conf = init\n"
                              "[init]\n"
                              "ssl_conf = ssl\n"
                              "[ssl]\n"
                              "system_default = defaults\n"
                              "[defaults]\n"
                              "VerifyCAFile = %1\n"
                              "ChainCAFile = %1\n")
                   .arg(mUntrusted.authorityPemPath())
                   .toUtf8());
    file.close();
    expectNothingDelivered({{QStringLiteral("OPENSSL_CONF"), configuration}});
}

TEST_F(TlsEnvironmentTest, TheExtraAuthorityHookRefusesALeafCertificate)
{
    // The receiver's own certificate (CA:FALSE) is no authority.
    expectNothingDelivered({{QStringLiteral("ZP_HTTP_EXTRA_CA_FILE"), mUntrusted.serverCertificatePath()}});
}

TEST_F(TlsEnvironmentTest, TheExtraAuthorityHookTrustsItsAuthorityAndWritesNoKeyLog)
{
    // The documented hook does what it says: the records now leave. It is also
    // the proof that the receiver above was reachable, so that nothing
    // delivered there means refused, not unreachable. No TLS key log appears
    // for a variable that some TLS libraries honour.
    const QString keyLog = mWork.filePath(QStringLiteral("keys.log"));
    const SecurityHostRun run = track({{QStringLiteral("ZP_HTTP_EXTRA_CA_FILE"), mUntrusted.authorityPemPath()},
                                       {QStringLiteral("SSLKEYLOGFILE"), keyLog}});
    ASSERT_TRUE(run.endedNormally()) << run.describe();
    // The send that starts with the queue takes what is stored by then: at
    // least the service start, perhaps not yet the tracked events.
    EXPECT_FALSE(mIngest->logs().isEmpty());
    EXPECT_FALSE(QFile::exists(keyLog));
}
