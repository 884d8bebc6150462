#include "ZpTemporaryDirectory.h"

#include <fstream>
#include <stdexcept>
#include <vector>

#include <stdlib.h>

ZpTemporaryDirectory::ZpTemporaryDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "zpcore_tests.XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!::mkdtemp(buffer.data()))
        throw std::runtime_error("mkdtemp failed for " + pattern);
    mPath = buffer.data();
}

ZpTemporaryDirectory::~ZpTemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

void ZpTemporaryDirectory::writeFile(const std::filesystem::path& relativePath, const std::string& content) const
{
    const std::filesystem::path file = mPath / relativePath;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << content;
    if (!stream)
        throw std::runtime_error("cannot write " + file.string());
}
