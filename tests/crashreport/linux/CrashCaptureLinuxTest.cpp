// The Linux crash handler, checked from outside: crash_victim installs it and
// crashes as told, and each test looks at how the child ended and at the
// files it left.

#include "CrashTestSupport.h"
#include "CrashVictimProtocol.h"
#include "MinidumpReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <random>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace CrashTestSupport;

namespace {

constexpr std::uint32_t kThreadListStream = 3;
constexpr std::uint32_t kModuleListStream = 4;
constexpr std::uint32_t kMemoryListStream = 5;
constexpr std::uint32_t kExceptionStream = 6;
constexpr std::uint32_t kSystemInfoStream = 7;
constexpr std::uint32_t kLinuxProcStatusStream = 0x47670004;
constexpr std::uint32_t kLinuxCmdLineStream = 0x47670006;
constexpr std::uint32_t kLinuxAuxvStream = 0x47670008;
constexpr std::uint32_t kLinuxMapsStream = 0x47670009;
constexpr std::uint32_t kLinuxEnvironStream = 0x47670007;

constexpr std::uint32_t kElfBuildIdSignature = 0x4270454c; // "LEpB"
constexpr std::uint32_t kContextAmd64Control = 0x00100001;
constexpr std::uint32_t kContextAmd64Integer = 0x00100002;

const std::string kVictim = ZP_CRASH_VICTIM;
const std::string kJson(CrashVictim::kCrashJson, sizeof(CrashVictim::kCrashJson) - 1);

std::string victimPath()
{
    return std::filesystem::canonical(kVictim).string();
}

std::string uniqueMarker(const char* prefix)
{
    std::random_device random;
    return std::string(prefix) + std::to_string(random()) + std::to_string(random());
}

std::string fileName(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

::testing::AssertionResult diedBy(const ProcessResult& process, int signalNumber)
{
    if (!process.started)
        return ::testing::AssertionFailure() << "the victim did not start";
    if (!process.finished)
        return ::testing::AssertionFailure() << "the victim did not end in time; output:\n" << process.output;
    if (!WIFSIGNALED(process.status))
        return ::testing::AssertionFailure() << "the victim exited with " << WEXITSTATUS(process.status)
                                             << "; output:\n" << process.output;
    if (WTERMSIG(process.status) != signalNumber)
        return ::testing::AssertionFailure() << "the victim died by signal " << WTERMSIG(process.status)
                                             << ", expected " << signalNumber << "; output:\n" << process.output;
    return ::testing::AssertionSuccess();
}

std::string hex(const std::vector<std::uint8_t>& bytes)
{
    std::string out;
    char digits[3];
    for (std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof(digits), "%02x", byte);
        out += digits;
    }
    return out;
}

const MinidumpReader::Module* findModule(const std::vector<MinidumpReader::Module>& modules, std::uint64_t address)
{
    for (const auto& module : modules) {
        if (address >= module.base && address - module.base < module.size)
            return &module;
    }
    return nullptr;
}
// The result points into `modules`, which must outlive it.
const MinidumpReader::Module* findModule(std::vector<MinidumpReader::Module>&&, std::uint64_t) = delete;

class CrashCaptureLinuxTest : public ::testing::Test {
protected:
    struct Crash {
        ProcessResult process;
        std::optional<std::string> dump;
        std::optional<std::string> json;
    };

    void SetUp() override { ASSERT_FALSE(mDirectory.path().empty()); }

    std::string dumpPath() const { return mDirectory.path() + "/" + CrashVictim::kSession + ".dmp"; }
    std::string jsonPath() const { return mDirectory.path() + "/" + CrashVictim::kSession + ".json"; }

    Crash crash(const std::string& mode, const std::vector<std::string>& extraArguments = {},
                const std::vector<std::string>& extraEnvironment = {})
    {
        std::vector<std::string> arguments{kVictim, mode, mDirectory.path()};
        arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
        Crash result;
        result.process = runProcess(arguments, extraEnvironment, mOutput.path() + "/output.txt",
                                    std::chrono::seconds(30));
        result.dump = readFile(dumpPath());
        result.json = readFile(jsonPath());
        return result;
    }

    // The steady-clock stamp the victim printed just before crashing.
    static std::optional<std::chrono::steady_clock::time_point> crashStamp(const ProcessResult& process)
    {
        const std::size_t at = process.output.find("stamp=");
        if (at == std::string::npos)
            return std::nullopt;
        const long long nanoseconds = std::stoll(process.output.substr(at + 6));
        return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(nanoseconds));
    }

    TemporaryDirectory mDirectory; // the crashes directory the victim writes to
    TemporaryDirectory mOutput;    // the victim's standard output, kept apart
};

TEST_F(CrashCaptureLinuxTest, NullWriteEndsBySigsegvAndLeavesBothFilesUserOnly)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    ASSERT_TRUE(crashed.json.has_value());

    struct stat info {};
    ASSERT_EQ(stat(dumpPath().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    ASSERT_EQ(stat(jsonPath().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    EXPECT_EQ(*crashed.json, kJson);
    EXPECT_EQ(listDirectory(mDirectory.path()),
              (std::vector<std::string>{fileName(dumpPath()), fileName(jsonPath())}));

    // A figure for the record, not an assertion: from the victim's stamp just
    // before the fault to the parent reaping it (both files written, process
    // ended), and the dump's size.
    const auto stamp = crashStamp(crashed.process);
    ASSERT_TRUE(stamp.has_value()) << crashed.process.output;
    const double milliseconds = std::chrono::duration<double, std::milli>(crashed.process.reapedAt - *stamp).count();
    std::printf("[  FIGURE  ] dump %zu bytes; fault to child reaped %.2f ms\n", crashed.dump->size(), milliseconds);
}

TEST_F(CrashCaptureLinuxTest, DumpDirectoryHoldsEachStreamOnce)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);
    ASSERT_EQ(crashed.dump->substr(0, 4), "MDMP");
    ASSERT_TRUE(dump.hasValidHeader());
    EXPECT_EQ(dump.version() & 0xffff, 0xa793u);

    std::vector<std::uint32_t> types = dump.streamTypes();
    std::sort(types.begin(), types.end());
    const std::vector<std::uint32_t> expected{kThreadListStream,      kModuleListStream,   kMemoryListStream,
                                              kExceptionStream,       kSystemInfoStream,   kLinuxProcStatusStream,
                                              kLinuxCmdLineStream,    kLinuxAuxvStream,    kLinuxMapsStream};
    EXPECT_EQ(types, expected);
    for (std::uint32_t type : expected)
        EXPECT_TRUE(dump.streamLocation(type).has_value()) << "stream " << type << " lies outside the file";
}

TEST_F(CrashCaptureLinuxTest, SystemInfoNamesLinuxOnAmd64)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    const auto system = MinidumpReader(*crashed.dump).systemInfo();
    ASSERT_TRUE(system.has_value());
    EXPECT_EQ(system->platformId, 0x8201u);
    EXPECT_EQ(system->processorArchitecture, 9u);
    EXPECT_GE(system->processorCount, 1u);
    EXPECT_EQ(system->csdVersion.rfind("Linux ", 0), 0u) << system->csdVersion;
}

TEST_F(CrashCaptureLinuxTest, ExceptionRecordsSignalCodeAndNullFaultAddress)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);
    const auto exception = dump.exception();
    ASSERT_TRUE(exception.has_value());
    EXPECT_EQ(exception->code, static_cast<std::uint32_t>(SIGSEGV));
    EXPECT_EQ(exception->flags, static_cast<std::uint32_t>(SEGV_MAPERR));
    EXPECT_EQ(exception->address, 0u);

    const auto threads = dump.threads();
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_EQ(exception->threadId, threads[0].id);
    // The main thread crashed: its id is the process id.
    EXPECT_EQ(exception->threadId, static_cast<std::uint32_t>(crashed.process.pid));
    EXPECT_EQ(exception->context.rva, threads[0].context.rva);
    EXPECT_EQ(exception->context.size, threads[0].context.size);
}

TEST_F(CrashCaptureLinuxTest, ThreadContextAndStackPointIntoTheVictim)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);
    const auto threads = dump.threads();
    ASSERT_EQ(threads.size(), 1u);
    const auto context = dump.context(threads[0].context);
    ASSERT_TRUE(context.has_value());
    EXPECT_EQ(context->flags & kContextAmd64Control, kContextAmd64Control);
    EXPECT_EQ(context->flags & kContextAmd64Integer, kContextAmd64Integer);

    const auto modules = dump.modules();
    const MinidumpReader::Module* module = findModule(modules, context->rip);
    ASSERT_NE(module, nullptr) << "rip " << std::hex << context->rip << " is in no listed module";
    EXPECT_EQ(module->name, victimPath());

    // The stack memory starts at or below the stack pointer and holds it.
    const MinidumpReader::Thread& thread = threads[0];
    EXPECT_GT(thread.stackMemory.size, 0u);
    EXPECT_LE(thread.stackStart, context->rsp);
    EXPECT_GT(thread.stackStart + thread.stackMemory.size, context->rsp);
    EXPECT_EQ(dump.bytesAt(thread.stackMemory).size(), thread.stackMemory.size);

    // The memory list points at the same bytes, for readers that look there.
    const auto ranges = dump.memoryList();
    ASSERT_EQ(ranges.size(), 1u);
    EXPECT_EQ(ranges[0].start, thread.stackStart);
    EXPECT_EQ(ranges[0].memory.rva, thread.stackMemory.rva);
    EXPECT_EQ(ranges[0].memory.size, thread.stackMemory.size);
}

TEST_F(CrashCaptureLinuxTest, ModuleListNamesVictimAndLibcWithTheirBuildIds)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    const auto modules = MinidumpReader(*crashed.dump).modules();

    std::set<std::string> names;
    for (const auto& module : modules)
        EXPECT_TRUE(names.insert(module.name).second) << module.name << " is listed twice";

    const auto victim = std::find_if(modules.begin(), modules.end(),
                                     [](const auto& module) { return module.name == victimPath(); });
    ASSERT_NE(victim, modules.end());
    const std::vector<std::uint8_t> victimBuildId = readElfBuildId(victimPath());
    ASSERT_FALSE(victimBuildId.empty()) << "the victim was linked without a build id";
    EXPECT_EQ(victim->cvSignature, kElfBuildIdSignature);
    EXPECT_EQ(hex(victim->buildId), hex(victimBuildId));
    EXPECT_GT(victim->size, 0u);

    const auto libc = std::find_if(modules.begin(), modules.end(), [](const auto& module) {
        return fileName(module.name).rfind("libc.so", 0) == 0 || fileName(module.name).rfind("libc-", 0) == 0;
    });
    ASSERT_NE(libc, modules.end());
    EXPECT_EQ(libc->cvSignature, kElfBuildIdSignature);
    EXPECT_EQ(hex(libc->buildId), hex(readElfBuildId(libc->name)));
}

TEST_F(CrashCaptureLinuxTest, EnvironmentNeverReachesTheDump)
{
    // The same kind of marker in the arguments shows that the search would
    // find it: the command line is in the dump, the environment is not.
    const std::string secret = uniqueMarker("ZpSecretEnvironmentValue");
    const std::string argument = uniqueMarker("ZpVisibleArgumentValue");
    const Crash crashed = crash(CrashVictim::kNullWrite, {argument}, {"ZP_CRASH_TEST_SECRET=" + secret});
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    EXPECT_NE(crashed.dump->find(argument), std::string::npos);
    EXPECT_EQ(crashed.dump->find(secret), std::string::npos);
    EXPECT_EQ(crashed.dump->find("ZP_CRASH_TEST_SECRET"), std::string::npos);
    EXPECT_FALSE(MinidumpReader(*crashed.dump).streamLocation(kLinuxEnvironStream).has_value());
}

TEST_F(CrashCaptureLinuxTest, LinuxStreamsCopyTheProcFiles)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);

    const auto status = dump.stream(kLinuxProcStatusStream);
    ASSERT_TRUE(status.has_value());
    EXPECT_NE(status->find("\nPid:\t" + std::to_string(crashed.process.pid) + "\n"), std::string::npos) << *status;

    const auto commandLine = dump.stream(kLinuxCmdLineStream);
    ASSERT_TRUE(commandLine.has_value());
    const std::string expected = kVictim + '\0' + CrashVictim::kNullWrite + '\0' + mDirectory.path() + '\0';
    EXPECT_EQ(std::string(*commandLine), expected);

    const auto maps = dump.stream(kLinuxMapsStream);
    ASSERT_TRUE(maps.has_value());
    EXPECT_NE(maps->find(victimPath()), std::string::npos);
    EXPECT_NE(maps->find("[stack]"), std::string::npos);

    // auxv: (type, value) pairs of 64-bit words ending with AT_NULL; AT_PAGESZ is 4096 here.
    const auto auxv = dump.stream(kLinuxAuxvStream);
    ASSERT_TRUE(auxv.has_value());
    ASSERT_GE(auxv->size(), 16u);
    ASSERT_EQ(auxv->size() % 16, 0u);
    std::vector<std::uint64_t> words(auxv->size() / 8);
    std::memcpy(words.data(), auxv->data(), auxv->size());
    EXPECT_EQ(words[words.size() - 2], 0u);
    bool pageSizeFound = false;
    for (std::size_t i = 0; i + 1 < words.size(); i += 2)
        pageSizeFound = pageSizeFound || (words[i] == 6 /* AT_PAGESZ */ && words[i + 1] == 4096);
    EXPECT_TRUE(pageSizeFound);
}

struct SignalCase {
    const char* mode;
    int signalNumber;
};

// Names the case in test listings instead of dumping its bytes.
void PrintTo(const SignalCase& signalCase, std::ostream* out)
{
    *out << signalCase.mode;
}

class CrashBySignalTest : public CrashCaptureLinuxTest, public ::testing::WithParamInterface<SignalCase> {};

TEST_P(CrashBySignalTest, EndsByTheSignalAndRecordsIt)
{
    const Crash crashed = crash(GetParam().mode);
    ASSERT_TRUE(diedBy(crashed.process, GetParam().signalNumber));
    ASSERT_TRUE(crashed.json.has_value());
    EXPECT_EQ(*crashed.json, kJson);
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);
    ASSERT_TRUE(dump.hasValidHeader());
    const auto exception = dump.exception();
    ASSERT_TRUE(exception.has_value());
    EXPECT_EQ(exception->code, static_cast<std::uint32_t>(GetParam().signalNumber));
    const auto threads = dump.threads();
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_EQ(exception->threadId, threads[0].id);
}

INSTANTIATE_TEST_SUITE_P(Modes, CrashBySignalTest,
                         ::testing::Values(SignalCase{CrashVictim::kAbort, SIGABRT},
                                           SignalCase{CrashVictim::kDivideByZero, SIGFPE},
                                           SignalCase{CrashVictim::kIllegal, SIGILL},
                                           SignalCase{CrashVictim::kBusError, SIGBUS},
                                           SignalCase{CrashVictim::kBreakpoint, SIGTRAP},
                                           SignalCase{CrashVictim::kBadSystemCall, SIGSYS},
                                           SignalCase{CrashVictim::kTerminate, SIGABRT}),
                         [](const ::testing::TestParamInfo<SignalCase>& info) {
                             std::string name = info.param.mode;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

TEST_F(CrashCaptureLinuxTest, DivisionByZeroRecordsTheFaultingInstruction)
{
    const Crash crashed = crash(CrashVictim::kDivideByZero);
    ASSERT_TRUE(diedBy(crashed.process, SIGFPE));
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);
    const auto exception = dump.exception();
    ASSERT_TRUE(exception.has_value());
    EXPECT_EQ(exception->flags, static_cast<std::uint32_t>(FPE_INTDIV));
    const auto context = dump.context(exception->context);
    ASSERT_TRUE(context.has_value());
    // For a division fault the kernel reports the instruction's address.
    EXPECT_EQ(exception->address, context->rip);
    const auto modules = dump.modules();
    const MinidumpReader::Module* module = findModule(modules, context->rip);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->name, victimPath());
}

TEST_F(CrashCaptureLinuxTest, CrashOnSecondThreadRecordsThatThread)
{
    const Crash crashed = crash(CrashVictim::kSecondThread);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    EXPECT_EQ(crashed.json, kJson);
    const MinidumpReader dump(*crashed.dump);
    const auto exception = dump.exception();
    ASSERT_TRUE(exception.has_value());
    const auto threads = dump.threads();
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_EQ(exception->threadId, threads[0].id);
    EXPECT_NE(threads[0].id, static_cast<std::uint32_t>(crashed.process.pid));
    const auto context = dump.context(threads[0].context);
    ASSERT_TRUE(context.has_value());
    const auto modules = dump.modules();
    const MinidumpReader::Module* module = findModule(modules, context->rip);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->name, victimPath());
    EXPECT_GT(threads[0].stackMemory.size, 0u);
    EXPECT_LE(threads[0].stackStart, context->rsp);
}

TEST_F(CrashCaptureLinuxTest, TwoThreadsCrashingTogetherLeaveOneConsistentDump)
{
    const Crash crashed = crash(CrashVictim::kTwoThreads);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_EQ(crashed.json, kJson);
    ASSERT_TRUE(crashed.dump.has_value());
    const MinidumpReader dump(*crashed.dump);
    ASSERT_TRUE(dump.hasValidHeader());
    const auto exception = dump.exception();
    ASSERT_TRUE(exception.has_value());
    const auto threads = dump.threads();
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_EQ(exception->threadId, threads[0].id);
    EXPECT_NE(threads[0].id, static_cast<std::uint32_t>(crashed.process.pid));
    EXPECT_EQ(dump.modules().empty(), false);
}

TEST_F(CrashCaptureLinuxTest, StackOverflowIsRecordedFromTheAlternateStack)
{
    const Crash crashed = crash(CrashVictim::kStackOverflow);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    ASSERT_TRUE(crashed.dump.has_value());
    EXPECT_EQ(crashed.json, kJson);
    const MinidumpReader dump(*crashed.dump);
    const auto exception = dump.exception();
    ASSERT_TRUE(exception.has_value());
    EXPECT_EQ(exception->code, static_cast<std::uint32_t>(SIGSEGV));
    const auto context = dump.context(exception->context);
    ASSERT_TRUE(context.has_value());
    const auto modules = dump.modules();
    const MinidumpReader::Module* module = findModule(modules, context->rip);
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(module->name, victimPath());
}

TEST_F(CrashCaptureLinuxTest, EarlierHandlerThatRecoversLeavesNoFiles)
{
    const Crash crashed = crash(CrashVictim::kRecovered);
    ASSERT_TRUE(crashed.process.finished);
    ASSERT_TRUE(WIFEXITED(crashed.process.status)) << crashed.process.output;
    EXPECT_EQ(WEXITSTATUS(crashed.process.status), 0);
    EXPECT_NE(crashed.process.output.find("recovered"), std::string::npos);
    EXPECT_TRUE(listDirectory(mDirectory.path()).empty());
}

TEST_F(CrashCaptureLinuxTest, EarlierHandlerRunsBeforeTheFilesAreWritten)
{
    const Crash crashed = crash(CrashVictim::kPreviousReturns);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_EQ(readFile(mDirectory.path() + "/" + CrashVictim::kPreviousMarkerFile), std::string("dump-absent"));
    EXPECT_TRUE(crashed.dump.has_value());
    EXPECT_EQ(crashed.json, kJson);
}

TEST_F(CrashCaptureLinuxTest, ChildForkedWithoutExecWritesNothing)
{
    const Crash crashed = crash(CrashVictim::kForkedChild);
    ASSERT_TRUE(crashed.process.finished);
    ASSERT_TRUE(WIFEXITED(crashed.process.status)) << crashed.process.output;
    EXPECT_EQ(WEXITSTATUS(crashed.process.status), 0);
    EXPECT_NE(crashed.process.output.find("child-signal=" + std::to_string(SIGSEGV)), std::string::npos)
        << crashed.process.output;
    EXPECT_TRUE(listDirectory(mDirectory.path()).empty());
}

TEST_F(CrashCaptureLinuxTest, InstallingTwiceKeepsOneHandler)
{
    // A second install() that took our own handler for the earlier one would
    // recurse until the alternate stack runs out, and leave no files.
    const Crash crashed = crash(CrashVictim::kInstallTwice);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_TRUE(crashed.dump.has_value());
    EXPECT_EQ(crashed.json, kJson);
}

TEST_F(CrashCaptureLinuxTest, PathsThatDoNotFitAreRefusedAndNothingIsWritten)
{
    const Crash crashed = crash(CrashVictim::kLongPaths);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_NE(crashed.process.output.find("prepared=0"), std::string::npos) << crashed.process.output;
    EXPECT_TRUE(listDirectory(mDirectory.path()).empty());
}

TEST_F(CrashCaptureLinuxTest, PathsThatFitAreAccepted)
{
    const Crash crashed = crash(CrashVictim::kNullWrite);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_NE(crashed.process.output.find("prepared=1"), std::string::npos) << crashed.process.output;
}

TEST_F(CrashCaptureLinuxTest, DumpPathThatDoesNotFitStillLeavesTheRecord)
{
    const Crash crashed = crash(CrashVictim::kLongDumpPath);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_NE(crashed.process.output.find("prepared=0"), std::string::npos) << crashed.process.output;
    EXPECT_EQ(crashed.json, kJson);
    EXPECT_EQ(listDirectory(mDirectory.path()), std::vector<std::string>{fileName(jsonPath())});
}

TEST_F(CrashCaptureLinuxTest, FailedDumpIsDeletedAndTheRecordStillWritten)
{
    const Crash crashed = crash(CrashVictim::kDumpFails);
    ASSERT_TRUE(diedBy(crashed.process, SIGSEGV));
    EXPECT_FALSE(crashed.dump.has_value());
    EXPECT_EQ(crashed.json, kJson);
}

class CrashCaptureLldbTest : public CrashCaptureLinuxTest {
protected:
    std::string backtrace(const std::string& mode)
    {
        const auto lldb = findExecutable({"lldb", "lldb-16", "lldb-15", "lldb-14"});
        if (!lldb)
            return {};
        const Crash crashed = crash(mode);
        EXPECT_TRUE(diedBy(crashed.process, mode == CrashVictim::kAbort ? SIGABRT : SIGSEGV));
        EXPECT_TRUE(crashed.dump.has_value());
        const ProcessResult debugger =
            runProcess({*lldb, "--batch", "--no-lldbinit", "-o", "target create --core " + dumpPath(), "-o", "bt",
                        "-o", "image list"},
                       {}, mOutput.path() + "/lldb.txt", std::chrono::seconds(60));
        EXPECT_TRUE(debugger.finished);
        std::printf("[   LLDB   ] %s\n", debugger.output.c_str());
        return debugger.output;
    }
};

TEST_F(CrashCaptureLldbTest, BacktraceNamesTheCrashingFunction)
{
    if (!findExecutable({"lldb", "lldb-16", "lldb-15", "lldb-14"}))
        GTEST_SKIP() << "no lldb in PATH";
    const std::string output = backtrace(CrashVictim::kNullWrite);
    EXPECT_NE(output.find("crashByNullWrite"), std::string::npos);
    EXPECT_NE(output.find("main"), std::string::npos);
    EXPECT_NE(output.find(victimPath()), std::string::npos);
}

TEST_F(CrashCaptureLldbTest, BacktraceOfAbortReachesTheCaller)
{
    if (!findExecutable({"lldb", "lldb-16", "lldb-15", "lldb-14"}))
        GTEST_SKIP() << "no lldb in PATH";
    // Unwinding out of libc needs the recorded stack memory and libc's own
    // unwind tables, found through its module entry.
    const std::string output = backtrace(CrashVictim::kAbort);
    EXPECT_NE(output.find("crashByAbort"), std::string::npos);
}

} // namespace
