#include "StoreReader.h"

#include <leveldb/db.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <QDir>
#include <memory>

QMap<QByteArray, QByteArray> StoreReader::records(const QString& storageDirectory)
{
    QMap<QByteArray, QByteArray> result;
    leveldb::DB* raw = nullptr;
    leveldb::Options options;
    if (!leveldb::DB::Open(options, logsDirectory(storageDirectory).toStdString(), &raw).ok())
        return result;
    std::unique_ptr<leveldb::DB> db(raw);
    std::unique_ptr<leveldb::Iterator> it(db->NewIterator(leveldb::ReadOptions()));
    for (it->SeekToFirst(); it->Valid(); it->Next())
        result.insert(QByteArray::fromStdString(it->key().ToString()), QByteArray::fromStdString(it->value().ToString()));
    return result;
}

QMap<QByteArray, QByteArray> StoreReader::logs(const QString& storageDirectory)
{
    QMap<QByteArray, QByteArray> result = records(storageDirectory);
    result.remove("install_id");
    return result;
}

QString StoreReader::logsDirectory(const QString& storageDirectory)
{
    return storageDirectory + QDir::separator() + QStringLiteral("logs");
}

QString refusingBaseUrl()
{
    // A socket that is bound but never listens: connections to its port are
    // refused, and no other process (a receiver of a test running beside this
    // one) can take the port while this process lives.
    static const quint16 port = [] {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0
            || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return quint16(0);
        return quint16(ntohs(address.sin_port));
    }();
    return QStringLiteral("http://127.0.0.1:%1").arg(port);
}
