#pragma once

#include <QJsonObject>
#include <QString>

// The faults zp-ingest plays on purpose so that a client's retry and back-off
// paths can be tested: an error status instead of storing, a late answer, a
// connection dropped while the request body is still arriving.
//
// A count below zero means "every request from now on"; zero means "off".
// Plain value; the server that holds one decides which thread may touch it.
class IngestFaults
{
public:
    int failStatus = 0; // the HTTP status to answer instead of storing
    int failCount = 0;  // how many of the next /logs requests get failStatus
    int delayMs = 0;    // every answer waits this long after the request was handled
    int closeCount = 0; // how many of the next /logs connections are dropped unanswered

    // True when `status` can be put on the wire by QHttpServer (it only knows
    // the codes it names) and is at least 200.
    static bool isAnswerableStatus(int status);

    // Applies the keys present in `changes` ("failStatus", "failCount",
    // "delayMs", "closeCount", all integers) to a copy of `current`. Unknown keys
    // and out-of-range values are refused with a reason and leave *result alone.
    static bool fromJson(const QJsonObject& changes, const IngestFaults& current, IngestFaults* result,
                         QString* reason);

    QJsonObject toJson() const;

    // Takes one request out of failCount when the status fault is armed.
    bool takeFailure();
    // Takes one connection out of closeCount when the close fault is armed.
    bool takeClose();
};
