// Feature codes and property dictionaries from a host, through the exported
// tracking calls of a started analytics handle whose store is a real leveldb
// database in a temporary folder (sends are refused, so every log stays).
//
// An input is one tracking call:
//
//   byte 0     the call: bits 0-2 pick TrackFeature, ...WithProperties,
//              ...Value, ...Start, ...StartWithProperties, ...Stop,
//              ...StopWithProperties, ...OncePerRun; bit 3: the code is raw
//              UTF-16 (little-endian units, unpaired surrogates included)
//              instead of UTF-8; bit 4: a Start and a Stop of the same code
//              follow; bit 5: the properties are NULL rather than a dictionary.
//   the code   up to the first '\n' (UTF-8) or unit 0x000A (UTF-16)
//   the value  for ...Value only: a decimal line
//   the rest   the properties: key, value, key, value... each an item:
//                's' UTF-8 text to '\n'      'u' UTF-16 units to 0x000A
//                'i' decimal integer to '\n' 'f' decimal double to '\n'
//                'T' / 'F' the booleans
//                'd' a dictionary of pairs   'a' an array of items
//              any other byte, or the end, closes the innermost container.
//
// Checked per input: every event log the call produces is stored as text that
// parses as a JSON object and is byte for byte what Qt's compact writer gives
// for the complete log (the promise of the queue's event writer). Every few thousand
// inputs the handle stops, every record of the store is checked the same way,
// and none of the observed events may be missing; then the store starts over.
#include "ZpToolboxLite.h"

#include "AppCenter/AppCenter.h"
#include "AppCenter/AppCenterAnalytics.h"
#include "AppCenter/AppCenterLogBuilder.h"
#include "AppCenter/AppCenterQueue.h"
#include "AppCenter/EventLogWriter.h"

#include "FuzzApplication.h"
#include "StoredLogs.h"

#include <CoreFoundation/CoreFoundation.h>
#include <ZpCore/ZpProducts.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QThreadPool>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr int kInputsPerStore = 4000;
constexpr int kMaxDepth = 12;

// Reads the input front to back; running past its end yields empty items.
class Reader {
public:
    Reader(const uint8_t* data, size_t size) : mData(data), mEnd(data + size) {}

    bool atEnd() const { return mData >= mEnd; }
    uint8_t byte() { return atEnd() ? 0 : *mData++; }

    QByteArray line()
    {
        const uint8_t* start = mData;
        while (mData < mEnd && *mData != '\n')
            ++mData;
        QByteArray text(reinterpret_cast<const char*>(start), mData - start);
        if (mData < mEnd)
            ++mData;
        return text;
    }

    std::vector<UniChar> units()
    {
        std::vector<UniChar> text;
        while (mEnd - mData >= 2) {
            const UniChar unit = UniChar(mData[0] | (mData[1] << 8));
            mData += 2;
            if (unit == 0x000A)
                break;
            text.push_back(unit);
        }
        return text;
    }

private:
    const uint8_t* mData;
    const uint8_t* const mEnd;
};

// Owned CoreFoundation objects of one input, released when it ends.
class Objects {
public:
    ~Objects()
    {
        for (CFTypeRef object : mObjects)
            CFRelease(object);
    }
    template <typename T>
    T keep(T object)
    {
        if (object)
            mObjects.push_back(object);
        return object;
    }

private:
    std::vector<CFTypeRef> mObjects;
};

CFStringRef utf8String(Objects& objects, const QByteArray& bytes)
{
    // NULL for invalid UTF-8, as CoreFoundation answers.
    return objects.keep(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.constData()),
                                                bytes.size(), kCFStringEncodingUTF8, false));
}

CFStringRef utf16String(Objects& objects, const std::vector<UniChar>& units)
{
    return objects.keep(CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(), CFIndex(units.size())));
}

CFTypeRef readItem(Reader& in, Objects& objects, int depth, bool* closed);

void readPairs(Reader& in, Objects& objects, CFMutableDictionaryRef dictionary, int depth)
{
    for (;;) {
        bool closed = false;
        CFTypeRef key = readItem(in, objects, depth, &closed);
        if (closed)
            return;
        CFTypeRef value = readItem(in, objects, depth, &closed);
        if (closed)
            return;
        if (key && value)
            CFDictionarySetValue(dictionary, key, value);
    }
}

// One item, or NULL when it cannot be made (invalid UTF-8); *closed when the
// byte read ends the container instead.
CFTypeRef readItem(Reader& in, Objects& objects, int depth, bool* closed)
{
    if (in.atEnd() || depth > kMaxDepth) {
        *closed = true;
        return nullptr;
    }
    switch (in.byte()) {
    case 's':
        return utf8String(objects, in.line());
    case 'u':
        return utf16String(objects, in.units());
    case 'i': {
        const long long value = in.line().toLongLong();
        return objects.keep(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
    }
    case 'f': {
        const double value = in.line().toDouble();
        return objects.keep(CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &value));
    }
    case 'T':
        return kCFBooleanTrue;
    case 'F':
        return kCFBooleanFalse;
    case 'd': {
        CFMutableDictionaryRef dictionary = objects.keep(CFDictionaryCreateMutable(
            kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        readPairs(in, objects, dictionary, depth + 1);
        return dictionary;
    }
    case 'a': {
        CFMutableArrayRef array = objects.keep(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
        for (;;) {
            bool end = false;
            CFTypeRef element = readItem(in, objects, depth + 1, &end);
            if (end)
                break;
            if (element)
                CFArrayAppendValue(array, element);
        }
        return array;
    }
    default:
        *closed = true;
        return nullptr;
    }
}

// The analytics handle and what was observed since its store was last checked.
struct Session {
    ZpAnalytics* analytics = nullptr;
    CFURLRef location = nullptr;
    QString storageDirectory;
    QJsonObject device;
    QList<QJsonObject> observed; // event logs of the current input
    int observedSinceCheck = 0;
    int inputs = 0;
};

Session* gSession = nullptr;

void startAnalytics()
{
    AppCenter::resetForTesting();
    gSession->analytics = ZpAnalyticsCreate();
    ZpAnalyticsStartupUserAppDataPath(gSession->analytics, kZpProductDelta, 0, 3, gSession->location);
    const std::shared_ptr<AppCenterQueue> queue = AppCenter::instance().queue();
    FuzzApplication::require(queue && queue->hasDatabase(), "the analytics store did not open");
    gSession->device = queue->device().toJson(QString());
    gSession->observedSinceCheck = 0;
}

// Stops the handle (its running features end as interrupted), checks every
// stored record, and starts again on an empty store.
void checkStoreAndStartOver()
{
    ZpAnalyticsShutdown(gSession->analytics);
    ZpAnalyticsRelease(gSession->analytics);
    gSession->analytics = nullptr;
    AppCenter::resetForTesting();
    QThreadPool::globalInstance()->waitForDone();
    const int stored = StoredLogs::checkAll(gSession->storageDirectory);
    FuzzApplication::require(stored >= gSession->observedSinceCheck, "tracked events are missing from the store",
                             QStringLiteral("%1 stored, %2 tracked").arg(stored).arg(gSession->observedSinceCheck));
    QDir(gSession->storageDirectory).removeRecursively();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    startAnalytics();
}

// The stored text of `log` as the queue writes it, against Qt's writer.
void checkEventText(const QJsonObject& log)
{
    QMap<QString, QString> properties;
    for (const QJsonValue& element : log.value(QStringLiteral("typedProperties")).toArray()) {
        const QJsonObject property = element.toObject();
        properties.insert(property.value(QStringLiteral("name")).toString(),
                          property.value(QStringLiteral("value")).toString());
    }
    const QByteArray id = AppCenterLogBuilder::newUuidText();
    const QByteArray timestamp = AppCenterLogBuilder::utcTimestampText();
    const QByteArray written = EventLogWriter(gSession->device)
                                   .write(id, log.value(QStringLiteral("name")).toString(), properties, timestamp);

    QJsonObject complete = log;
    complete.insert(QStringLiteral("id"), QString::fromLatin1(id));
    complete.insert(QStringLiteral("device"), gSession->device);
    complete.insert(QStringLiteral("timestamp"), QString::fromLatin1(timestamp));
    const QString problem = StoredLogs::problemWith(id, written);
    FuzzApplication::require(problem.isEmpty(), "an event log's stored text is no log", problem);
    const QByteArray qtWritten = QJsonDocument(complete).toJson(QJsonDocument::Compact);
    FuzzApplication::require(written == qtWritten, "an event log's stored text is not what Qt writes for it",
                             QStringLiteral("stored %1\nQt     %2")
                                 .arg(QString::fromLatin1(written.toBase64()), QString::fromLatin1(qtWritten.toBase64())));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzApplication::start();
    gSession = new Session;
    const QString folder = FuzzApplication::scratchDirectory();
    gSession->storageDirectory = folder + QStringLiteral("/AppCenter");
    CFStringRef path = ZpQtStringUtils::createCFStringRefFromQString(folder);
    gSession->location = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path, kCFURLPOSIXPathStyle, true);
    CFRelease(path);
    AppCenterAnalytics::instance().setEventObserverForTesting([](const QJsonObject& log) {
        gSession->observed.append(log);
        ++gSession->observedSinceCheck;
    });
    startAnalytics();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Reader in(data, size);
    Objects objects;
    const uint8_t call = in.byte();
    CFStringRef code = (call & 0x08) ? utf16String(objects, in.units()) : utf8String(objects, in.line());
    const int value = (call & 0x07) == 2 ? in.line().toInt() : 0;
    CFMutableDictionaryRef properties = nullptr;
    if (!(call & 0x20)) {
        properties = objects.keep(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks));
        readPairs(in, objects, properties, 0);
    }

    ZpAnalytics* analytics = gSession->analytics;
    gSession->observed.clear();
    switch (call & 0x07) {
    case 0: ZpAnalyticsTrackFeature(analytics, code); break;
    case 1: ZpAnalyticsTrackFeatureWithProperties(analytics, code, properties); break;
    case 2: ZpAnalyticsTrackFeatureValue(analytics, code, value); break;
    case 3: ZpAnalyticsTrackFeatureStart(analytics, code); break;
    case 4: ZpAnalyticsTrackFeatureStartWithProperties(analytics, code, properties); break;
    case 5: ZpAnalyticsTrackFeatureStop(analytics, code); break;
    case 6: ZpAnalyticsTrackFeatureStopWithProperties(analytics, code, properties); break;
    case 7: ZpAnalyticsTrackFeatureOncePerRun(analytics, code); break;
    }
    if (call & 0x10) {
        ZpAnalyticsTrackFeatureStartWithProperties(analytics, code, properties);
        ZpAnalyticsTrackFeatureStopWithProperties(analytics, code, properties);
    }
    for (const QJsonObject& log : std::as_const(gSession->observed))
        checkEventText(log);

    if (++gSession->inputs % kInputsPerStore == 0)
        checkStoreAndStartOver();
    return 0;
}
