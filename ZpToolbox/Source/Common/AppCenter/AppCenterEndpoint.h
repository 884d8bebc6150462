#pragma once

#include <QString>

// Where logs are posted: the base URL of the ingestion service followed by
// "/logs?api-version=1.0.0". The base URL is deployment data, fixed at build
// time (the CMake cache variable ZP_INGESTION_BASE_URL) and overridden at run
// time by the environment variable of the same name, which self-hosted
// receivers and tests use.
class AppCenterEndpoint {
public:
    static QString baseUrl();
    static QString logsUrl();
};
