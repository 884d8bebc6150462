#pragma once

#include "CrashReport/CrashCapture.h"

#include <QString>
#include <string>

// A path as the crash-time core opens it: UTF-8 bytes on POSIX, UTF-16 on
// Windows, with the platform's separators.
std::basic_string<CrashPathChar> toCrashPath(const QString& path);
