#include <ZpQtCoreLite/ZpQtPathUtils.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUuid>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

mode_t modeOf(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return 0;
    return info.st_mode & 07777;
}

QString uniqueProductName(const QString& prefix)
{
    return prefix + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

// Removes the product's folder at the end so every run creates it afresh.
struct ProductFolder
{
    explicit ProductFolder(const QString& name) : name(name) {}
    ~ProductFolder()
    {
        if (!path.isEmpty())
            QDir(path).removeRecursively();
    }
    QString name;
    QString path;
};

QString pathOf(CFURLRef url)
{
    return ZpQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
}

} // namespace

TEST(ZpQtPathUtils, CreatesPrivateProductFolderUnderDataLocation)
{
    ProductFolder product(uniqueProductName(QString::fromUtf8("Zp Test \xC3\x85 \xF0\x9F\x98\x80 ")));
    CFStringRef name = ZpQtStringUtils::createCFStringRefFromQString(product.name);
    CFURLRef url = ZpQtPathUtils::getUserAppDataPathForProduct(name);
    CFRelease(name);
    ASSERT_NE(url, nullptr);
    product.path = pathOf(url);

    const QString dataLocation = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    EXPECT_EQ(product.path, QDir(dataLocation).filePath(QStringLiteral("Vantro/") + product.name));
    EXPECT_TRUE(product.path.endsWith(QLatin1Char('/') + product.name));
    EXPECT_TRUE(QFileInfo(product.path).isDir());
    EXPECT_EQ(modeOf(product.path), mode_t(0700));
    EXPECT_EQ(modeOf(QFileInfo(product.path).path()), mode_t(0700)); // the vendor folder
    EXPECT_TRUE(ZpQtStringUtils::createQStringFromCFStringRef(CFURLGetString(url)).endsWith(QLatin1Char('/')))
        << "a directory URL ends with a slash";
    EXPECT_EQ(CFGetRetainCount(url), 1);
    CFRelease(url);
}

TEST(ZpQtPathUtils, ExistingFolderKeepsItsPermissions)
{
    ProductFolder product(uniqueProductName(QStringLiteral("ZpTestExisting")));
    CFStringRef name = ZpQtStringUtils::createCFStringRefFromQString(product.name);
    CFURLRef first = ZpQtPathUtils::getUserAppDataPathForProduct(name);
    ASSERT_NE(first, nullptr);
    product.path = pathOf(first);
    ASSERT_EQ(::chmod(QFile::encodeName(product.path).constData(), 0750), 0);

    CFURLRef second = ZpQtPathUtils::getUserAppDataPathForProduct(name);
    CFRelease(name);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(pathOf(second), product.path);
    EXPECT_EQ(modeOf(product.path), mode_t(0750));
    CFRelease(first);
    CFRelease(second);
}

TEST(ZpQtPathUtils, RejectsNullEmptyAndMultiComponentNames)
{
    EXPECT_EQ(ZpQtPathUtils::getUserAppDataPathForProduct(nullptr), nullptr);
    EXPECT_EQ(ZpQtPathUtils::getUserAppDataPathForProduct(CFSTR("")), nullptr);
    EXPECT_EQ(ZpQtPathUtils::getUserAppDataPathForProduct(CFSTR("..")), nullptr);
    EXPECT_EQ(ZpQtPathUtils::getUserAppDataPathForProduct(CFSTR("a/b")), nullptr);
    const QString vendor =
        QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)).filePath(QStringLiteral("Vantro"));
    EXPECT_FALSE(QFileInfo::exists(QDir(vendor).filePath(QStringLiteral("a"))));
}
