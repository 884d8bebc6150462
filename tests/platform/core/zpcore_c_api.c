/* ZpCore used from plain C: proves the headers compile as C and the functions
 * link with C names. Each check returns 0 on success or the number of the first
 * step that failed, which ZpCoreCApiTest.cpp reports. */

#include <ZpCore/ZpCore.h>

#include <string.h>
#include <unistd.h>

int zpcore_c_log_check(void);
int zpcore_c_process_check(void);
int zpcore_c_utils_check(void);

typedef struct {
    int count;
    int32_t level;
    int32_t eventCode;
    int32_t line;
    char message[128];
} CapturedLine;

static void capture(void* context, const ZpLogRecord* record)
{
    CapturedLine* captured = (CapturedLine*)context;
    captured->count++;
    captured->level = record->level;
    captured->eventCode = record->eventCode;
    captured->line = record->line;
    strncpy(captured->message, record->message, sizeof captured->message - 1);
    captured->message[sizeof captured->message - 1] = '\0';
}

int zpcore_c_log_check(void)
{
    CapturedLine captured;
    memset(&captured, 0, sizeof captured);
    ZpLogSetStandardErrorEnabled(false);
    ZpLogAddSink(capture, &captured);

    ZpLogUTF8("from C: %d/%s", 5, "five");
    if (captured.count != 1 || strcmp(captured.message, "from C: 5/five") != 0
        || captured.level != kZpLogLevelInfo)
        return 1;

    ZpLogWithParams(kZpLogLevelWarning, CFSTR("C"), 0, CFSTR("%@!"), CFSTR("cf"));
    if (captured.count != 2 || strcmp(captured.message, "cf!") != 0 || captured.level != kZpLogLevelWarning)
        return 2;

    ZpLog(CFSTR("n=%d"), 9);
    if (captured.count != 3 || strcmp(captured.message, "n=9") != 0)
        return 3;

    ZpLogEvent(1026, "c_file.c", 12);
    if (captured.count != 4 || captured.eventCode != 1026 || captured.line != 12)
        return 4;

    ZpLogRemoveSink(capture, &captured);
    ZpLogUTF8("not captured");
    if (captured.count != 4)
        return 5;

    if (!ZpLogSetFilePath(NULL))
        return 6;
    ZpLogSetStandardErrorEnabled(true);
    return 0;
}

int zpcore_c_process_check(void)
{
    CFURLRef url;

    if (ZpProcessGetPID() != (int32_t)getpid())
        return 1;
    url = ZpProcessCreateCurrentProcessPath();
    if (url == NULL)
        return 2;
    CFRelease(url);
    ZpProcessSetBuildNumber(77);
    if (ZpProcessGetBuildNumber() != 77)
        return 3;
    ZpProcessSetBuildNumber(0);
    ZpProcessSetBranchName(CFSTR("c-branch"));
    if (ZpProcessGetBranchName() == NULL || !CFEqual(ZpProcessGetBranchName(), CFSTR("c-branch")))
        return 4;
    ZpProcessSetBranchName(NULL);
    if (ZpProcessGetBranchName() != NULL)
        return 5;
    if (!CFEqual(ZpProcessGetAppVersion(), CFSTR("0.0.0")) || !CFEqual(ZpProcessGetBuildString(), CFSTR("0")))
        return 6;
    if (ZpProcessGetActualPhysicalMem() == 0)
        return 7;
    return 0;
}

int zpcore_c_utils_check(void)
{
    CFMutableDictionaryRef dict;
    int32_t value = 0;
    const void* stored;

    if (kZpProductAlpha != CFSTR("Alpha") || kZpProductKappa != CFSTR("Kappa"))
        return 1;
    dict = ZpUtilsCFDictionaryCreateMutable();
    if (dict == NULL)
        return 2;
    ZpUtilsCFDictionarySetValueInt(dict, CFSTR("n"), 31);
    ZpUtilsCFDictionarySetValueString(dict, CFSTR("s"), kZpProductBeta);
    stored = CFDictionaryGetValue(dict, CFSTR("n"));
    if (stored == NULL || !CFNumberGetValue((CFNumberRef)stored, kCFNumberSInt32Type, &value) || value != 31)
        return 3;
    if (CFDictionaryGetValue(dict, CFSTR("s")) != kZpProductBeta)
        return 4;
    CFRelease(dict);
    if (ZpUtilsGetVRAMAvaliableInMB() < 0 || ZpUtilsGetVRAMDedicatedVideoMemoryInMB() < 0
        || ZpUtilsGetVRAMDedicatedSystemMemoryInMB() != 0 || ZpUtilsGetVRAMSharedSystemMemoryInMB() < 0)
        return 5;
    return 0;
}
