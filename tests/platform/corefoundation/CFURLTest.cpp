// File URLs: POSIX and Windows paths in and out, escaping, last components,
// file-system representations and appending.
#include "CFTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

using zpcf_test::createString;
using zpcf_test::Owned;
using zpcf_test::utf8;

namespace {

CFURLRef urlFor(const char *path, CFURLPathStyle style, bool isDirectory) {
    Owned<CFStringRef> str(createString(path));
    return CFURLCreateWithFileSystemPath(nullptr, str, style, isDirectory);
}

std::string urlString(const char *path, CFURLPathStyle style, bool isDirectory) {
    Owned<CFURLRef> url(urlFor(path, style, isDirectory));
    return url ? utf8(CFURLGetString(url)) : "<null>";
}

std::string pathOf(CFURLRef url, CFURLPathStyle style) {
    Owned<CFStringRef> path(CFURLCopyFileSystemPath(url, style));
    return utf8(path);
}

std::string lastComponent(CFURLRef url) {
    Owned<CFStringRef> last(CFURLCopyLastPathComponent(url));
    return utf8(last);
}

} // namespace

TEST(CFURL, PathStyleConstantsMatchApple) {
    EXPECT_EQ(kCFURLPOSIXPathStyle, 0);
    EXPECT_EQ(kCFURLHFSPathStyle, 1);
    EXPECT_EQ(kCFURLWindowsPathStyle, 2);
}

TEST(CFURL, PosixPathsBecomeEscapedFileUrls) {
    EXPECT_EQ(urlString("/tmp/file.txt", kCFURLPOSIXPathStyle, false), "file:///tmp/file.txt");
    EXPECT_EQ(urlString("/tmp/a dir", kCFURLPOSIXPathStyle, true), "file:///tmp/a%20dir/");
    EXPECT_EQ(urlString("/tmp/dir/", kCFURLPOSIXPathStyle, true), "file:///tmp/dir/");
    EXPECT_EQ(urlString("/tmp/dir/", kCFURLPOSIXPathStyle, false), "file:///tmp/dir");
    EXPECT_EQ(urlString("/", kCFURLPOSIXPathStyle, true), "file:///");
    EXPECT_EQ(urlString("/", kCFURLPOSIXPathStyle, false), "file:///");
    EXPECT_EQ(urlString("/a%b#c?d;e", kCFURLPOSIXPathStyle, false), "file:///a%25b%23c%3Fd%3Be");
    EXPECT_EQ(urlString("/keep-._~!$&'()*+,=:@", kCFURLPOSIXPathStyle, false), "file:///keep-._~!$&'()*+,=:@");
    EXPECT_EQ(urlString("/caf\xC3\xA9/\xE4\xB8\xAD", kCFURLPOSIXPathStyle, false), "file:///caf%C3%A9/%E4%B8%AD");
}

TEST(CFURL, WindowsPathsBecomeFileUrls) {
    EXPECT_EQ(urlString("C:\\Users\\x y", kCFURLWindowsPathStyle, false), "file:///C:/Users/x%20y");
    EXPECT_EQ(urlString("C:\\Users\\x y", kCFURLWindowsPathStyle, true), "file:///C:/Users/x%20y/");
    EXPECT_EQ(urlString("C:\\", kCFURLWindowsPathStyle, true), "file:///C:/");
    EXPECT_EQ(urlString("C:", kCFURLWindowsPathStyle, true), "file:///C:/");
    EXPECT_EQ(urlString("C:\\", kCFURLWindowsPathStyle, false), "file:///C:/");
    EXPECT_EQ(urlString("d:/mixed\\seps", kCFURLWindowsPathStyle, false), "file:///d:/mixed/seps");
    EXPECT_EQ(urlString("\\\\server\\share\\f.txt", kCFURLWindowsPathStyle, false), "file://server/share/f.txt");
}

TEST(CFURL, FileSystemPathPerStyle) {
    Owned<CFURLRef> windows(urlFor("C:\\Users\\x y\\", kCFURLWindowsPathStyle, true));
    EXPECT_EQ(pathOf(windows, kCFURLWindowsPathStyle), "C:\\Users\\x y");
    EXPECT_EQ(pathOf(windows, kCFURLPOSIXPathStyle), "/C:/Users/x y");

    Owned<CFURLRef> drive(urlFor("C:\\", kCFURLWindowsPathStyle, true));
    EXPECT_EQ(pathOf(drive, kCFURLWindowsPathStyle), "C:\\");

    Owned<CFURLRef> posix(urlFor("/tmp/a b/c\xC3\xA9", kCFURLPOSIXPathStyle, true));
    EXPECT_EQ(pathOf(posix, kCFURLPOSIXPathStyle), "/tmp/a b/c\xC3\xA9");
    EXPECT_EQ(pathOf(posix, kCFURLWindowsPathStyle), "\\tmp\\a b\\c\xC3\xA9");

    Owned<CFURLRef> root(urlFor("/", kCFURLPOSIXPathStyle, true));
    EXPECT_EQ(pathOf(root, kCFURLPOSIXPathStyle), "/");

    Owned<CFURLRef> unc(urlFor("\\\\server\\share\\f.txt", kCFURLWindowsPathStyle, false));
    EXPECT_EQ(pathOf(unc, kCFURLWindowsPathStyle), "\\\\server\\share\\f.txt");

    EXPECT_EQ(CFURLCopyFileSystemPath(posix, kCFURLHFSPathStyle), nullptr);
}

TEST(CFURL, LastPathComponentIsDecodedAndIgnoresTheTrailingSlash) {
    Owned<CFURLRef> file(urlFor("/tmp/dir/my file.txt", kCFURLPOSIXPathStyle, false));
    EXPECT_EQ(lastComponent(file), "my file.txt");
    Owned<CFURLRef> dir(urlFor("/tmp/dir", kCFURLPOSIXPathStyle, true));
    EXPECT_EQ(lastComponent(dir), "dir");
    Owned<CFURLRef> root(urlFor("/", kCFURLPOSIXPathStyle, true));
    EXPECT_EQ(lastComponent(root), "/");
    Owned<CFURLRef> windows(urlFor("C:\\Users\\\xE4\xB8\xAD\xE6\x96\x87", kCFURLWindowsPathStyle, true));
    EXPECT_EQ(lastComponent(windows), "\xE4\xB8\xAD\xE6\x96\x87");
    EXPECT_EQ(CFURLCopyLastPathComponent(nullptr), nullptr);
}

TEST(CFURL, FileSystemRepresentationAndBufferSize) {
    Owned<CFURLRef> url(urlFor("/tmp/x y/\xC3\xA9", kCFURLPOSIXPathStyle, true));
    const std::string expected = "/tmp/x y/\xC3\xA9"; // 11 bytes
    UInt8 buffer[64];
    ASSERT_TRUE(CFURLGetFileSystemRepresentation(url, true, buffer, sizeof buffer));
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer)), expected);

    UInt8 exact[12];
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, true, exact, sizeof exact));
    UInt8 small[11];
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, small, sizeof small));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(url, true, nullptr, 64));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(nullptr, true, buffer, sizeof buffer));
}

TEST(CFURL, RelativePathsResolveAgainstTheCurrentDirectory) {
    Owned<CFURLRef> url(urlFor("sub dir/file", kCFURLPOSIXPathStyle, false));
    ASSERT_TRUE(url);
    EXPECT_EQ(utf8(CFURLGetString(url)), "sub%20dir/file");
    EXPECT_EQ(pathOf(url, kCFURLPOSIXPathStyle), "sub dir/file");
    char relative[64];
    ASSERT_TRUE(CFURLGetFileSystemRepresentation(url, false, reinterpret_cast<UInt8 *>(relative), sizeof relative));
    EXPECT_STREQ(relative, "sub dir/file");
    char absolute[4096];
    ASSERT_TRUE(CFURLGetFileSystemRepresentation(url, true, reinterpret_cast<UInt8 *>(absolute), sizeof absolute));
    EXPECT_EQ(std::string(absolute), (std::filesystem::current_path() / "sub dir/file").generic_string());
}

TEST(CFURL, AppendingPathComponents) {
    Owned<CFURLRef> base(urlFor("/tmp/base", kCFURLPOSIXPathStyle, true));
    Owned<CFStringRef> name(createString("new file.txt"));
    Owned<CFURLRef> file(CFURLCreateCopyAppendingPathComponent(nullptr, base, name, false));
    EXPECT_EQ(utf8(CFURLGetString(file)), "file:///tmp/base/new%20file.txt");
    Owned<CFURLRef> dir(CFURLCreateCopyAppendingPathComponent(nullptr, file, CFSTR("sub"), true));
    EXPECT_EQ(utf8(CFURLGetString(dir)), "file:///tmp/base/new%20file.txt/sub/");
    Owned<CFURLRef> noSlash(urlFor("/tmp/f", kCFURLPOSIXPathStyle, false));
    Owned<CFURLRef> appended(CFURLCreateCopyAppendingPathComponent(nullptr, noSlash, CFSTR("g"), false));
    EXPECT_EQ(pathOf(appended, kCFURLPOSIXPathStyle), "/tmp/f/g");
    EXPECT_EQ(utf8(CFURLGetString(base)), "file:///tmp/base/"); // the original is unchanged
    EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, base, nullptr, false), nullptr);
    EXPECT_EQ(CFURLCreateCopyAppendingPathComponent(nullptr, nullptr, name, false), nullptr);
}

TEST(CFURL, EqualityAndNullCases) {
    Owned<CFURLRef> a(urlFor("/tmp/x", kCFURLPOSIXPathStyle, false));
    Owned<CFURLRef> b(urlFor("/tmp/x", kCFURLPOSIXPathStyle, false));
    Owned<CFURLRef> c(urlFor("/tmp/x", kCFURLPOSIXPathStyle, true));
    EXPECT_TRUE(CFEqual(a, b));
    EXPECT_EQ(CFHash(a), CFHash(b));
    EXPECT_FALSE(CFEqual(a, c));
    EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, nullptr, kCFURLPOSIXPathStyle, false), nullptr);
    EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, CFSTR(""), kCFURLPOSIXPathStyle, false), nullptr);
    EXPECT_EQ(CFURLCreateWithFileSystemPath(nullptr, CFSTR("Disk:dir"), kCFURLHFSPathStyle, false), nullptr);
    EXPECT_EQ(CFURLGetString(nullptr), nullptr);
    EXPECT_EQ(CFURLCopyFileSystemPath(nullptr, kCFURLPOSIXPathStyle), nullptr);
    // GetString borrows: the URL's count and the string's stay as they were.
    CFStringRef borrowed = CFURLGetString(a);
    const CFIndex before = CFGetRetainCount(borrowed);
    CFURLGetString(a);
    EXPECT_EQ(CFGetRetainCount(borrowed), before);
    EXPECT_EQ(CFGetRetainCount(a), 1);
}
