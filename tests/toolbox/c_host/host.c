/* A host in plain C: the whole analytics calling order, through the installed
 * header alone. Usage: c_host <data folder> */
#include <ZpToolboxLite.h>

#include <stdio.h>
#include <string.h>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    CFStringRef folder = CFStringCreateWithCString(kCFAllocatorDefault, argv[1], kCFStringEncodingUTF8);
    CFURLRef location = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, folder, kCFURLPOSIXPathStyle, true);

    CFMutableDictionaryRef properties = CFDictionaryCreateMutable(kCFAllocatorDefault, 0,
                                                                  &kCFTypeDictionaryKeyCallBacks,
                                                                  &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(properties, CFSTR("Written in"), CFSTR("C"));

    ZpAnalytics* analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(analytics, kZpProductDelta, 0, 3, location);
    ZpAnalyticsTrackFeature(analytics, kZpAnalyticsLayersModule);
    ZpAnalyticsTrackFeatureWithProperties(analytics, CFSTR("CHost"), properties);
    ZpAnalyticsTrackFeatureOncePerRun(analytics, CFSTR("CHostOnce"));
    ZpAnalyticsTrackFeatureOncePerRun(analytics, CFSTR("CHostOnce"));
    ZpAnalyticsTrackFeatureStart(analytics, CFSTR("CHostTimed"));
    ZpAnalyticsTrackFeatureStop(analytics, CFSTR("CHostTimed"));
    ZpAnalyticsTrackFeatureValue(analytics, CFSTR("CHostValue"), -7);
    ZpAnalyticsTrackFeature(analytics, NULL); /* ignored */
    ZpAnalyticsShutdown(analytics);
    ZpAnalyticsRelease(analytics);

    CFRelease(properties);
    CFRelease(location);
    CFRelease(folder);
    printf("done\n");
    return 0;
}
