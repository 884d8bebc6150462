#pragma once

#include <QString>

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

private:
    static void restrict(const QString& path, bool directory);
};
