#pragma once

#include <QString>

// One file sent with a crash report as an "errorAttachment" log.
struct ErrorAttachment {
    QString fileName;
    QString contentType;
    QString data; // already Base64
};
