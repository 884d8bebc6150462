#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDir>

#include <gtest/gtest.h>

namespace {

// Owns one CF reference for the length of a test.
struct CFHolder
{
    explicit CFHolder(CFTypeRef object) : ref(object) {}
    ~CFHolder()
    {
        if (ref)
            CFRelease(ref);
    }
    CFHolder(const CFHolder&) = delete;
    CFHolder& operator=(const CFHolder&) = delete;
    CFTypeRef ref;
};

CFStringRef asString(const CFHolder& holder)
{
    return static_cast<CFStringRef>(holder.ref);
}

CFURLRef fileUrl(const char* utf8Path, bool isDirectory)
{
    CFHolder path(CFStringCreateWithCString(kCFAllocatorDefault, utf8Path, kCFStringEncodingUTF8));
    return CFURLCreateWithFileSystemPath(kCFAllocatorDefault, asString(path), kCFURLPOSIXPathStyle, isDirectory);
}

} // namespace

TEST(ZpQtStringUtils, NonAsciiRoundTripsThroughCFString)
{
    const QString texts[] = {
        QStringLiteral("plain ASCII"),
        QString::fromUtf8("Gr\xC3\xBC\xC3\x9F" "e, caf\xC3\xA9"),
        QString::fromUtf8("\xE4\xB8\xAD\xE6\x96\x87"),
        QString::fromUtf8("emoji \xF0\x9F\x98\x80 and \xF0\x9F\x87\xA8\xF0\x9F\x87\xBF flags"),
        QString(QChar(0)) + QStringLiteral("after a NUL"),
    };
    for (const QString& text : texts) {
        CFHolder cf(ZpQtStringUtils::createCFStringRefFromQString(text));
        ASSERT_NE(cf.ref, nullptr);
        EXPECT_EQ(CFStringGetLength(asString(cf)), text.size());
        EXPECT_EQ(ZpQtStringUtils::createQStringFromCFStringRef(asString(cf)), text);
    }
}

TEST(ZpQtStringUtils, SurrogatePairsStayTwoUnits)
{
    const QString grinning = QString::fromUtf8("\xF0\x9F\x98\x80");
    CFHolder cf(ZpQtStringUtils::createCFStringRefFromQString(grinning));
    ASSERT_EQ(CFStringGetLength(asString(cf)), 2);
    EXPECT_EQ(CFStringGetCharacterAtIndex(asString(cf), 0), 0xD83D);
    EXPECT_EQ(CFStringGetCharacterAtIndex(asString(cf), 1), 0xDE00);
}

TEST(ZpQtStringUtils, AgreesWithCFStringsUtf8Decoding)
{
    const char utf8[] = "Fot\xC3\xB3 \xE2\x82\xAC \xF0\x9F\x93\xB7";
    CFHolder cf(CFStringCreateWithCString(kCFAllocatorDefault, utf8, kCFStringEncodingUTF8));
    ASSERT_NE(cf.ref, nullptr);
    EXPECT_EQ(ZpQtStringUtils::createQStringFromCFStringRef(asString(cf)), QString::fromUtf8(utf8));
    EXPECT_EQ(ZpQtStringUtils::createQStringFromCFStringRef(CFSTR("Alpha")), QStringLiteral("Alpha"));
}

TEST(ZpQtStringUtils, ReadingDoesNotConsumeTheReference)
{
    CFHolder cf(ZpQtStringUtils::createCFStringRefFromQString(QStringLiteral("kept")));
    const CFIndex before = CFGetRetainCount(cf.ref);
    EXPECT_EQ(before, 1);
    EXPECT_EQ(ZpQtStringUtils::createQStringFromCFStringRef(asString(cf)), QStringLiteral("kept"));
    EXPECT_EQ(CFGetRetainCount(cf.ref), before);
}

TEST(ZpQtStringUtils, NullAndEmpty)
{
    EXPECT_TRUE(ZpQtStringUtils::createQStringFromCFStringRef(nullptr).isNull());

    CFHolder empty(CFStringCreateWithCString(kCFAllocatorDefault, "", kCFStringEncodingUTF8));
    const QString fromEmpty = ZpQtStringUtils::createQStringFromCFStringRef(asString(empty));
    EXPECT_TRUE(fromEmpty.isEmpty());
    EXPECT_FALSE(fromEmpty.isNull());

    for (const QString& text : {QString(), QStringLiteral("")}) {
        CFHolder cf(ZpQtStringUtils::createCFStringRefFromQString(text));
        ASSERT_NE(cf.ref, nullptr);
        EXPECT_EQ(CFStringGetLength(asString(cf)), 0);
    }
}

TEST(ZpQtStringUtils, FileSystemRepresentationOfPosixUrls)
{
    const char path[] = "/tmp/a b/\xC3\x85ngstr\xC3\xB6m \xF0\x9F\x98\x80%41.txt";
    CFHolder file(fileUrl(path, false));
    ASSERT_NE(file.ref, nullptr);
    EXPECT_EQ(ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(static_cast<CFURLRef>(file.ref)),
              QString::fromUtf8(path));

    CFHolder directory(fileUrl("/var/tmp/folder/", true));
    EXPECT_EQ(ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(static_cast<CFURLRef>(directory.ref)),
              QStringLiteral("/var/tmp/folder"));

    CFHolder root(fileUrl("/", true));
    EXPECT_EQ(ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(static_cast<CFURLRef>(root.ref)),
              QStringLiteral("/"));

    EXPECT_TRUE(ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(nullptr).isEmpty());
}

TEST(ZpQtStringUtils, FileSystemRepresentationOfLongAndRelativeUrls)
{
    QByteArray longPath = "/";
    for (int i = 0; i < 400; ++i)
        longPath += "f\xC3\xB6lder" + QByteArray::number(i) + '/';
    longPath += "end";
    CFHolder longUrl(fileUrl(longPath.constData(), false));
    EXPECT_EQ(ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(static_cast<CFURLRef>(longUrl.ref)),
              QString::fromUtf8(longPath));

    // A relative URL stands for a path under the current directory.
    CFHolder relative(fileUrl("sub dir/x.txt", false));
    ASSERT_NE(relative.ref, nullptr);
    EXPECT_EQ(ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(static_cast<CFURLRef>(relative.ref)),
              QDir::current().filePath(QStringLiteral("sub dir/x.txt")));
}
