#pragma once

#include <QString>

// The process a fuzzer runs in, set up the way the library expects its host:
// a QApplication on the offscreen platform, Qt's test paths (nothing lands in
// the user's folders) and an ingestion URL where nothing listens, so that no
// log ever leaves the machine.
//
// Call once from LLVMFuzzerInitialize, on the thread that then runs every
// input. The application object lives until the process ends.
namespace FuzzApplication {

void start();

// A folder of its own for this process, removed at exit.
QString scratchDirectory();

// Ends the process with a message when `condition` is false. libFuzzer then
// keeps the input that was running, as it does for a sanitizer report.
void require(bool condition, const char* what, const QString& detail = QString());

} // namespace FuzzApplication
