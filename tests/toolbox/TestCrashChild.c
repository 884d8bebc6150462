/* A host that only calls ZpCrashReportTestCrash: it must not come back. */
#include <ZpToolboxLite.h>

#include <stdio.h>

int main(void)
{
    ZpCrashReportTestCrash();
    printf("ZpCrashReportTestCrash returned\n");
    return 0;
}
