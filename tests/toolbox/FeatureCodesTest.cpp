// The feature-code constants as a host finds them once the shared library is
// loaded: every valued code holds its exact text as a constant CFString, every
// reserved code is null, and all 178 are exported by the library.
#include "FeatureCodeTables.h"
#include "FeatureCodesFromC.h"

#include <QLibrary>
#include <QSet>
#include <QString>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

// A CFString made from UTF-8 text, released when it goes out of scope.
class CreatedString {
public:
    explicit CreatedString(const char* text)
        : mString(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8))
    {
    }
    explicit CreatedString(CFStringRef created)
        : mString(created)
    {
    }
    ~CreatedString()
    {
        if (mString)
            CFRelease(mString);
    }
    CreatedString(const CreatedString&) = delete;
    CreatedString& operator=(const CreatedString&) = delete;
    CFStringRef get() const { return mString; }

private:
    CFStringRef mString;
};

// The text of `string` as UTF-8, or "<null>" / "<not encodable>".
std::string utf8Of(CFStringRef string)
{
    if (!string)
        return "<null>";
    const CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8))
        return "<not encodable>";
    return std::string(buffer.data());
}

bool equalAsCFString(CFStringRef code, const char* text)
{
    CreatedString expected(text);
    return code && CFStringCompare(code, expected.get(), 0) == kCFCompareEqualTo;
}

} // namespace

TEST(FeatureCodes, EveryValuedCodeComparesEqualToItsText)
{
    for (const ValuedFeatureCode& code : kValuedFeatureCodes) {
        SCOPED_TRACE(code.name);
        ASSERT_NE(*code.variable, nullptr);
        EXPECT_TRUE(equalAsCFString(*code.variable, code.text)) << utf8Of(*code.variable);
        EXPECT_EQ(CFStringGetLength(*code.variable), static_cast<CFIndex>(std::strlen(code.text)));
    }
}

TEST(FeatureCodes, EveryValuedCodeReadsBackAsItsUtf8Text)
{
    for (const ValuedFeatureCode& code : kValuedFeatureCodes) {
        SCOPED_TRACE(code.name);
        EXPECT_EQ(utf8Of(*code.variable), code.text);
        const char* own = CFStringGetCStringPtr(*code.variable, kCFStringEncodingUTF8);
        ASSERT_NE(own, nullptr) << "a constant string keeps its 8-bit text";
        EXPECT_STREQ(own, code.text);
    }
}

TEST(FeatureCodes, ValuedCodesAreTheConstantStringsOfTheirTexts)
{
    // The same text always gives the same constant string in the process, so
    // a code made any other way (a created, releasable string) would differ.
    for (const ValuedFeatureCode& code : kValuedFeatureCodes) {
        SCOPED_TRACE(code.name);
        EXPECT_EQ(*code.variable, __CFStringMakeConstantString(code.text));
    }
}

TEST(FeatureCodes, EveryReservedCodeIsNull)
{
    for (const ReservedFeatureCode& code : kReservedFeatureCodes) {
        SCOPED_TRACE(code.name);
        EXPECT_EQ(*code.variable, nullptr) << utf8Of(*code.variable);
    }
}

TEST(FeatureCodes, ThereAre83ValuedAnd95ReservedCodesAll178Distinct)
{
    EXPECT_EQ(std::size(kValuedFeatureCodes), 83u);
    EXPECT_EQ(std::size(kReservedFeatureCodes), 95u);

    QSet<QString> names;
    QSet<const void*> variables;
    int nonNull = 0;
    for (const ValuedFeatureCode& code : kValuedFeatureCodes) {
        names << QString::fromLatin1(code.name);
        variables << code.variable;
        nonNull += *code.variable != nullptr;
    }
    for (const ReservedFeatureCode& code : kReservedFeatureCodes) {
        names << QString::fromLatin1(code.name);
        variables << code.variable;
        nonNull += *code.variable != nullptr;
    }
    EXPECT_EQ(names.size(), 178);
    EXPECT_EQ(variables.size(), 178) << "each code is a variable of its own";
    EXPECT_EQ(nonNull, 83);

    QSet<QString> texts;
    for (const ValuedFeatureCode& code : kValuedFeatureCodes)
        texts << QString::fromStdString(utf8Of(*code.variable));
    EXPECT_EQ(texts.size(), 83) << "no two codes report under the same text";
}

TEST(FeatureCodes, AllCodesAreExportedByTheLibraryUnderTheirCNames)
{
    QLibrary library(QStringLiteral(ZP_TOOLBOX_LIBRARY));
    ASSERT_TRUE(library.load()) << library.errorString().toStdString();
    int exported = 0;
    for (const ValuedFeatureCode& code : kValuedFeatureCodes)
        exported += library.resolve(code.name) != nullptr;
    for (const ReservedFeatureCode& code : kReservedFeatureCodes)
        exported += library.resolve(code.name) != nullptr;
    EXPECT_EQ(exported, 178);
}

TEST(FeatureCodes, CSourcesSeeTheSameVariables)
{
    EXPECT_EQ(zpTestHDRMergeSeenFromC(), kZpAnalyticsHDRMerge);
    EXPECT_TRUE(equalAsCFString(zpTestHDRMergeSeenFromC(), "HDR.Action.Merge"));
    EXPECT_EQ(zpTestReservedCodeSeenFromC(), nullptr);
    EXPECT_EQ(zpTestAddressOfShowSubFoldersFromC(), &kZpAnalyticsBrowseShowSubFolders);
}

TEST(FeatureCodes, CodesWithSpacesKeepTheirSpaces)
{
    EXPECT_EQ(utf8Of(kZpAnalyticsImportSourceMassStorage), "Import.Source.Mass Storage");
    EXPECT_EQ(utf8Of(kZpAnalyticsBrowseShowSubFolders), "Show Sub-Folders");
    EXPECT_EQ(utf8Of(kZpAnalyticsFilterTesterModule), "Application.Module.Filter Tester");
    EXPECT_EQ(utf8Of(kZpAnalyticsUserPlusMemberYes), "Application.Plus Member.Yes");
    EXPECT_EQ(utf8Of(kZpAnalyticsPanoProxyErrorFormat), "Pano.Proxy Error.%@");
    EXPECT_EQ(utf8Of(kZpAnalyticsBrowseRootCatalogedFolderCount), "Top Level Cataloged Folder Count");
    // One blank between the words, as a character of the string itself.
    EXPECT_EQ(CFStringGetCharacterAtIndex(kZpAnalyticsImportSourceMassStorage, 18), u' ');
    EXPECT_EQ(CFStringGetCharacterAtIndex(kZpAnalyticsBrowseShowSubFolders, 4), u' ');
}

TEST(FeatureCodes, TheEightTemplatesHoldTheTemplatesThemselves)
{
    const std::pair<CFStringRef, const char*> templates[] = {
        {kZpAnalyticsKeywordsCountFormat, "Keywords.Count.%d"},
        {kZpAnalyticsPanoCountFormat, "Pano.Count.%d"},
        {kZpAnalyticsPanoErrorFormat, "Pano.Error.%@"},
        {kZpAnalyticsPanoProxyErrorFormat, "Pano.Proxy Error.%@"},
        {kZpAnalyticsHDRMergeCountFormat, "HDR.Count.%d"},
        {kZpAnalyticsHDRErrorFormat, "HDR.Error.%d"},
        {kZpAnalyticsFocusStackMergeCountFormat, "FocusStack.Count.%d"},
        {kZpAnalyticsFocusStackErrorFormat, "FocusStack.Error.%d"},
    };
    for (const auto& [code, text] : templates) {
        SCOPED_TRACE(text);
        EXPECT_EQ(utf8Of(code), text);
    }

    // Exactly the codes named "...Format" are templates.
    int withPercent = 0;
    for (const ValuedFeatureCode& code : kValuedFeatureCodes) {
        const bool isTemplate = QString::fromLatin1(code.name).endsWith(QLatin1String("Format"));
        EXPECT_EQ(std::strchr(code.text, '%') != nullptr, isTemplate) << code.name;
        withPercent += std::strchr(utf8Of(*code.variable).c_str(), '%') != nullptr;
    }
    EXPECT_EQ(withPercent, 8);
}

TEST(FeatureCodes, HostsFormatTheTemplatesWithANumberOrAString)
{
    CreatedString keywords(
        CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, kZpAnalyticsKeywordsCountFormat, 12));
    EXPECT_EQ(utf8Of(keywords.get()), "Keywords.Count.12");
    CreatedString hdrError(CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, kZpAnalyticsHDRErrorFormat, -3));
    EXPECT_EQ(utf8Of(hdrError.get()), "HDR.Error.-3");
    CreatedString panoError(
        CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, kZpAnalyticsPanoErrorFormat, CFSTR("No Overlap")));
    EXPECT_EQ(utf8Of(panoError.get()), "Pano.Error.No Overlap");
    // Formatting makes a new string and leaves the template as it was.
    EXPECT_EQ(utf8Of(kZpAnalyticsKeywordsCountFormat), "Keywords.Count.%d");
}

TEST(FeatureCodes, TheOneDotCodesKeepTheirTexts)
{
    EXPECT_EQ(utf8Of(kZpAnalyticsBrowseRecoverDatabase), "Browse.RecoveredDatabase");
    EXPECT_EQ(utf8Of(kZpAnalyticsBrowseRecoverNdDatabase), "Browse.RecoveredNdDatabase");
}
