#pragma once

#include <QByteArray>
#include <QString>

// What the log queue promises about every record of its leveldb store, so that
// a fuzzer can check it after driving the library: the value is a JSON object
// stored under its own "id".
//
// Reading a record and writing it again need not give the same bytes: Qt's
// parser drops a U+FEFF that opens a string value, which Qt's writer keeps.
// Whether a record holds exactly what Qt writes for a log is checked where the
// log is known (the feature-code fuzzer), not here.
namespace StoredLogs {

// Empty when the record keeps the promise, else what is wrong with it.
QString problemWith(const QByteArray& key, const QByteArray& value);

// Checks every record of the store under storageDirectory (the "AppCenter"
// folder) and returns how many logs it holds. Aborts on the first broken
// record. Only while no queue has the store open.
int checkAll(const QString& storageDirectory);

} // namespace StoredLogs
