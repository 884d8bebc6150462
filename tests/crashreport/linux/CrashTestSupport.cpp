#include "CrashTestSupport.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <signal.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace CrashTestSupport {

ProcessResult runProcess(const std::vector<std::string>& arguments, const std::vector<std::string>& extraEnvironment,
                         const std::string& outputFile, std::chrono::milliseconds timeout)
{
    ProcessResult result;
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (char** entry = environ; *entry != nullptr; ++entry)
        envp.push_back(*entry);
    for (const std::string& entry : extraEnvironment)
        envp.push_back(const_cast<char*>(entry.c_str()));
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = 0;
    const int error = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return result;
    result.started = true;
    result.pid = pid;

    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const pid_t done = waitpid(pid, &result.status, WNOHANG);
        if (done == pid) {
            result.reapedAt = std::chrono::steady_clock::now();
            result.finished = true;
            break;
        }
        if (done < 0 && errno != EINTR)
            break;
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &result.status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    result.output = readFile(outputFile).value_or(std::string());
    return result;
}

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "zpcrash-XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr)
        mPath = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    if (!mPath.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
}

std::optional<std::string> readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<std::string> listDirectory(const std::string& path)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(path, error))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::uint8_t> readElfBuildId(const std::string& path)
{
    const std::optional<std::string> file = readFile(path);
    if (!file || file->size() < sizeof(Elf64_Ehdr))
        return {};
    const std::string& bytes = *file;
    Elf64_Ehdr header;
    std::memcpy(&header, bytes.data(), sizeof(header));
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        return {};
    for (unsigned i = 0; i < header.e_shnum; ++i) {
        const std::size_t at = header.e_shoff + i * static_cast<std::size_t>(header.e_shentsize);
        if (at + sizeof(Elf64_Shdr) > bytes.size())
            return {};
        Elf64_Shdr section;
        std::memcpy(&section, bytes.data() + at, sizeof(section));
        if (section.sh_type != SHT_NOTE || section.sh_offset + section.sh_size > bytes.size())
            continue;
        const std::size_t align = section.sh_addralign == 8 ? 8 : 4;
        std::size_t note = section.sh_offset;
        const std::size_t end = section.sh_offset + section.sh_size;
        while (note + sizeof(Elf64_Nhdr) <= end) {
            Elf64_Nhdr noteHeader;
            std::memcpy(&noteHeader, bytes.data() + note, sizeof(noteHeader));
            const std::size_t name = note + sizeof(noteHeader);
            const std::size_t desc = name + ((noteHeader.n_namesz + align - 1) & ~(align - 1));
            if (desc + noteHeader.n_descsz > end)
                break;
            if (noteHeader.n_type == NT_GNU_BUILD_ID && noteHeader.n_namesz == 4
                && std::memcmp(bytes.data() + name, "GNU", 4) == 0) {
                const auto* p = reinterpret_cast<const std::uint8_t*>(bytes.data() + desc);
                return std::vector<std::uint8_t>(p, p + noteHeader.n_descsz);
            }
            note = desc + ((noteHeader.n_descsz + align - 1) & ~(align - 1));
        }
    }
    return {};
}

std::optional<std::string> findExecutable(const std::vector<std::string>& names)
{
    const char* path = std::getenv("PATH");
    if (path == nullptr)
        return std::nullopt;
    for (const std::string& name : names) {
        std::istringstream directories(path);
        std::string directory;
        while (std::getline(directories, directory, ':')) {
            if (directory.empty())
                continue;
            const std::string candidate = directory + "/" + name;
            if (access(candidate.c_str(), X_OK) == 0)
                return candidate;
        }
    }
    return std::nullopt;
}

} // namespace CrashTestSupport
