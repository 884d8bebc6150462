#pragma once

#include <QString>
#include <string>

// The library's files hold private data (what users typed, process memory):
// on POSIX, directories it creates are user-only (0700) and so are its files
// (0600). A no-op where the platform has no such modes.
class PrivateFiles {
public:
    // Creates `path` with its missing parents; the directories this creates
    // are user-only. Returns whether the directory exists afterwards.
    static bool makeDirectory(const QString& path);
    // Makes `path` and the regular files directly inside it user-only.
    static void restrictDirectory(const QString& path);
    // Creates the file at `nativePath` (a path in the file system's encoding)
    // if it is missing and makes it user-only, leaving its content alone.
    // Errors are left to whoever opens the file next.
    static void createPrivateFile(const std::string& nativePath);

private:
    static void restrict(const QString& path, bool directory);
};
