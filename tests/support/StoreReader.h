#pragma once

#include <QMap>
#include <QString>

// Reads a queue's leveldb store directly. Only while no queue has it open.
class StoreReader {
public:
    // Every record, key -> value; empty if the store cannot be opened.
    static QMap<QByteArray, QByteArray> records(const QString& storageDirectory);
    // The records except "install_id".
    static QMap<QByteArray, QByteArray> logs(const QString& storageDirectory);
    static QString logsDirectory(const QString& storageDirectory);
};

// A local address where nothing listens, so that sends are refused at once.
QString refusingBaseUrl();
