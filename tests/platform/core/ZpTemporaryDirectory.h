#ifndef ZPCORE_TESTS_ZPTEMPORARYDIRECTORY_H
#define ZPCORE_TESTS_ZPTEMPORARYDIRECTORY_H

#include <filesystem>
#include <string>

// A fresh, empty directory under the system's temporary folder, removed with
// everything in it when the object goes away.
class ZpTemporaryDirectory {
public:
    ZpTemporaryDirectory();
    ~ZpTemporaryDirectory();
    ZpTemporaryDirectory(const ZpTemporaryDirectory&) = delete;
    ZpTemporaryDirectory& operator=(const ZpTemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return mPath; }

    // Creates relativePath (and its parent directories) holding exactly content.
    void writeFile(const std::filesystem::path& relativePath, const std::string& content) const;

private:
    std::filesystem::path mPath;
};

#endif
