#include "desktop/CFileSpecMacOSX.h"

#include "files/CFileSpec.h"

#include <gtest/gtest.h>

TEST(CFileSpecMacOSX, IsTheBodyOfEverySpecifier)
{
    CFileSpec const folder(u"/f", false);
    CFileSpec const specs[] = {
        CFileSpec(),
        folder,
        CFileSpec(CFileSpecImp(u"/f", false)),
        CFileSpec(folder, u"name", false),
        CFileSpec(folder, std::string("name"), false),
        CFileSpec(CFileSpec::cContainerDesktop, u"name", false),
        CFileSpec(CFileSpec::cContainerDesktop),
        CFileSpec(u"/f", true),
        CFileSpec(std::string("/f"), false),
    };
    for (CFileSpec const& spec : specs)
        EXPECT_TRUE(dynamic_cast<CFileSpecMacOSX*>(spec.GetImp()));
}
