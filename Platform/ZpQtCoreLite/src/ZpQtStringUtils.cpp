#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QFile>

#include <vector>

static_assert(sizeof(UniChar) == sizeof(QChar) && sizeof(UniChar) == sizeof(char16_t),
              "CFString and QString must share their UTF-16 code unit");

QString ZpQtStringUtils::createQStringFromCFStringRef(CFStringRef string)
{
    if (!string)
        return QString();
    const CFIndex length = CFStringGetLength(string);
    if (length <= 0)
        return QString(QLatin1String(""));
    QString text(length, Qt::Uninitialized);
    CFStringGetCharacters(string, CFRangeMake(0, length), reinterpret_cast<UniChar*>(text.data()));
    return text;
}

CFStringRef ZpQtStringUtils::createCFStringRefFromQString(const QString& string)
{
    return CFStringCreateWithCharacters(kCFAllocatorDefault,
                                        reinterpret_cast<const UniChar*>(string.utf16()),
                                        string.size());
}

QString ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(CFURLRef url)
{
    if (!url)
        return QString();
    // A decoded path is never longer than the escaped URL text it came from; only
    // a relative URL's base can add more, which the doubling covers. The cap
    // stops the doubling for URLs that have no file-system form at all.
    constexpr CFIndex kMaxBytes = 1 << 20;
    const CFStringRef text = CFURLGetString(url);
    const CFIndex estimate =
        text ? CFStringGetMaximumSizeForEncoding(CFStringGetLength(text), kCFStringEncodingUTF8) : 0;
    CFIndex size = estimate > 0 ? estimate + 1 : 256;
    for (; size <= kMaxBytes; size *= 2) {
        std::vector<UInt8> buffer(size_t(size), 0);
        if (CFURLGetFileSystemRepresentation(url, true, buffer.data(), size))
            return QFile::decodeName(reinterpret_cast<const char*>(buffer.data()));
    }
    return QString();
}
