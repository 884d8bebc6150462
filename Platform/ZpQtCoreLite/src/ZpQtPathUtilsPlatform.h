#pragma once

// The operating-system half of ZpQtPathUtils, one implementation file per system
// (ZpQtPathUtilsPlatform<OS>.cpp, chosen by CMake).

#include <CoreFoundation/CoreFoundation.h>

#include <QDir>
#include <QString>

class ZpQtPathUtilsPlatform
{
public:
    ZpQtPathUtilsPlatform() = delete;

    // The CFURL path style of this system's native paths.
    static CFURLPathStyle nativePathStyle();

    // Creates `name` inside the existing folder `parent` so that only the user can
    // open it. True when the folder exists afterwards, whoever made it; an
    // existing folder is left as it is.
    static bool makePrivateDirectory(const QDir& parent, const QString& name);
};
