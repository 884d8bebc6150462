#include "AppCenter/PrivateFiles.h"

// Windows has no POSIX modes: the storage lives under the user's profile,
// whose access list already admits only that user (and administrators).
void PrivateFiles::restrict(const QString&, bool)
{
}

void PrivateFiles::createPrivateFile(const std::string&)
{
}
