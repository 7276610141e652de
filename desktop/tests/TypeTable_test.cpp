// The table of type identifiers against the facts that it is made of, read here by a plain rule.
#include "desktop/tables/TypeTable.h"

#include "desktop/platform/CBasicTypePlatform.h"

#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Declaration
{
    std::string mType;
    std::vector<std::string> mExtensions;
    std::vector<std::string> mFileTypes;
    std::vector<std::string> mParents;
    bool mIsPackage;
};

std::vector<std::string> Split(std::string const& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

std::vector<Declaration> ReadDeclarations()
{
    std::vector<Declaration> declarations;
    std::ifstream file(LOAM_TYPE_DECLARATIONS);
    bool isHeadRead = false;
    for (std::string line; std::getline(file, line);) {
        if (line[0] == '#') continue;
        if (isHeadRead) {
            auto const fields = Split(line, '\t');
            declarations.push_back({fields.at(0), Split(fields.at(1), ' '),
                                    Split(fields.at(2), '|'), Split(fields.at(3), ' '),
                                    fields.at(4) == "yes"});
        }
        isHeadRead = true;
    }
    return declarations;
}

bool ConformsToPackage(std::map<std::string, Declaration> const& declarations,
                       std::string const& type)
{
    if (type == "com.apple.package") return true;
    auto const found = declarations.find(type);
    if (found == declarations.end()) return false;
    for (auto const& parent : found->second.mParents) {
        if (ConformsToPackage(declarations, parent)) return true;
    }
    return false;
}

unsigned int CodeOf(std::string text)
{
    for (auto at = text.find("\\x"); at != std::string::npos; at = text.find("\\x"))
        text.replace(at, 4, 1, static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
    unsigned int code = 0;
    for (char const c : text)
        code = code << 8 | static_cast<unsigned char>(c);
    return code;
}

std::string Plain(std::u16string const& ascii)
{
    return std::string(ascii.begin(), ascii.end());
}

class TypeTableTest : public testing::Test
{
protected:
    std::string OfExtension(std::u16string const& extension, bool ofPackage = false) const
    {
        return Plain(mPlatform->GetTypeForExtension(extension, ofPackage));
    }

    std::string OfExtension(std::string const& extension, bool ofPackage = false) const
    {
        return OfExtension(std::u16string(extension.begin(), extension.end()), ofPackage);
    }

    std::string OfFileType(unsigned int code) const
    {
        return Plain(mPlatform->GetTypeForFileType(code));
    }

    std::unique_ptr<CBasicTypePlatform> const mPlatform{NewTypePlatform()};
};

}  // namespace

TEST_F(TypeTableTest, HasAsManyRowsAsThereAreTags)
{
    std::size_t withExtensions = 0;
    std::size_t withFileTypes = 0;
    std::set<std::string> extensions;
    std::set<std::string> fileTypes;
    auto const declarations = ReadDeclarations();
    for (auto const& d : declarations) {
        withExtensions += d.mExtensions.empty() ? 0 : 1;
        withFileTypes += d.mFileTypes.empty() ? 0 : 1;
        extensions.insert(d.mExtensions.begin(), d.mExtensions.end());
        fileTypes.insert(d.mFileTypes.begin(), d.mFileTypes.end());
    }
    EXPECT_EQ(declarations.size(), 873U);
    EXPECT_EQ(withExtensions, 369U);
    EXPECT_EQ(extensions.size(), 473U);
    EXPECT_EQ(kTypeTable.mExtensionCount, 473U);
    EXPECT_EQ(withFileTypes, 230U);
    EXPECT_EQ(fileTypes.size(), 366U);
    EXPECT_EQ(kTypeTable.mFileTypeCount, 366U);
}

TEST_F(TypeTableTest, AnswersEachTagWithItsFirstClaim)
{
    std::map<std::string, std::string> extensions;
    std::map<std::string, std::string> packages;
    std::map<std::string, std::string> fileTypes;
    std::map<std::string, Declaration> byType;
    auto const declarations = ReadDeclarations();
    for (auto const& d : declarations)
        byType.emplace(d.mType, d);
    std::string wrong;
    for (auto const& d : declarations) {
        if (d.mIsPackage != ConformsToPackage(byType, d.mType)) wrong += d.mType + " package\n";
        for (auto const& extension : d.mExtensions) {
            extensions.emplace(extension, d.mType);
            if (d.mIsPackage) packages.emplace(extension, d.mType);
        }
        for (auto const& fileType : d.mFileTypes)
            fileTypes.emplace(fileType, d.mType);
    }
    for (auto const& [extension, type] : extensions) {
        if (OfExtension(extension) != type) wrong += extension + '\n';
        if (OfExtension(extension, true) != packages[extension]) wrong += extension + " package\n";
    }
    for (auto const& [fileType, type] : fileTypes) {
        if (OfFileType(CodeOf(fileType)) != type) wrong += fileType + '\n';
    }
    EXPECT_EQ(wrong, "");
}

TEST_F(TypeTableTest, KnowsTheseTags)
{
    struct
    {
        char const* mWhat;
        std::u16string mExtension;
        std::string mType;
        std::string mPackageType;
    } const cases[] = {
        {"plain text", u"txt", "public.plain-text", ""},
        {"upper case", u"TXT", "public.plain-text", ""},
        {"mixed case in the facts", u"slidesaver", "com.apple.systempreference.screen-slide-saver",
         "com.apple.systempreference.screen-slide-saver"},
        {"digits", u"3gp", "public.3gpp", ""},
        {"first row", u"3g2", "public.3gpp2", ""},
        {"last row", u"zsh", "public.zsh-script", ""},
        {"two claims, the first a package", u"app", "com.apple.application-bundle",
         "com.apple.application-bundle"},
        {"two claims, the second a package", u"pkg", "com.apple.installer-package-archive",
         "com.apple.installer-package"},
        {"two claims of packages", u"pages", "com.apple.iWork.Pages.pages",
         "com.apple.iWork.Pages.pages"},
        {"two claims, no package", u"mp4", "public.mpeg-4", ""},
        {"four claims", u"plist", "com.apple.property-list", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(OfExtension(c.mExtension), c.mType);
        EXPECT_EQ(OfExtension(c.mExtension, true), c.mPackageType);
    }
    EXPECT_EQ(OfFileType(0x54455854), "com.apple.traditional-mac-plain-text");
    EXPECT_EQ(OfFileType(0x50444620), "com.adobe.pdf");
    EXPECT_EQ(OfFileType(0x4150504C), "com.apple.application-bundle");
    EXPECT_EQ(OfFileType(0x757469C4), "com.apple.utilities-folder") << "a byte above 127";
}

TEST_F(TypeTableTest, AnswersNothingForOtherTags)
{
    struct
    {
        char const* mWhat;
        std::u16string mExtension;
    } const cases[] = {
        {"unknown", u"loam"},
        {"nothing", u""},
        {"beginning of one", u"tx"},
        {"one and more", u"txt2"},
        {"blank behind", u"txt "},
        {"zero behind", std::u16string(u"txt\0", 4)},
        {"zeroes behind the longest", std::u16string(u"suggestionsassets\0\0\0\0", 21)},
        {"before the first", u"\x01"},
        {"behind the last", u"\xFFFF"},
        {"letter that folds to ASCII", u"\u212Aey"},
        {"unit whose low byte is a letter", u"t\u0178t"},
        {"full width", u"\uFF54\uFF58\uFF54"},
        {"very long", std::u16string(100000, u'z')},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(OfExtension(c.mExtension), "");
        EXPECT_EQ(OfExtension(c.mExtension, true), "");
    }
    EXPECT_EQ(OfFileType(0), "");
    EXPECT_EQ(OfFileType(0x74657874), "") << "case counts in file types";
    EXPECT_EQ(OfFileType(0xFFFFFFFF), "");
}
