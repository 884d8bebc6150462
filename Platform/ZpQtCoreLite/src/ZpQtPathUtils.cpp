#include <ZpQtCoreLite/ZpQtPathUtils.h>
#include <ZpQtCoreLite/ZpQtStringUtils.h>

#include "ZpQtPathUtilsPlatform.h"

#include <QDir>
#include <QStandardPaths>

namespace {

// The vendor's folder inside the generic data location, shared by its products.
const QString kVendorFolder = QStringLiteral("Vantro");

bool isSingleComponent(const QString& name)
{
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..")
           && !name.contains(QLatin1Char('/')) && !name.contains(QLatin1Char('\\'));
}

} // namespace

CFURLRef ZpQtPathUtils::getUserAppDataPathForProduct(CFStringRef product)
{
    const QString productName = ZpQtStringUtils::createQStringFromCFStringRef(product);
    if (!isSingleComponent(productName))
        return nullptr;

    const QString dataLocation = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (dataLocation.isEmpty() || !QDir().mkpath(dataLocation))
        return nullptr;
    const QDir data(dataLocation);
    if (!ZpQtPathUtilsPlatform::makePrivateDirectory(data, kVendorFolder))
        return nullptr;
    const QDir vendor(data.filePath(kVendorFolder));
    if (!ZpQtPathUtilsPlatform::makePrivateDirectory(vendor, productName))
        return nullptr;

    const QString path = QDir::toNativeSeparators(vendor.filePath(productName));
    CFStringRef cfPath = ZpQtStringUtils::createCFStringRefFromQString(path);
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, cfPath,
                                                 ZpQtPathUtilsPlatform::nativePathStyle(), true);
    CFRelease(cfPath);
    return url;
}
