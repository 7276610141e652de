// Exceptions on their way between the shared libraries and a host, which links them as it is
// installed.
#include "marl/HierarchicalException.h"
#include "marl/basic_binstream.h"
#include "marl/memblock.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

#include <dlfcn.h>

TEST(LibraryBoundary, IsCrossedByAnExceptionThatMarlThrows)
{
    memblock block;
    basic_binstream stream(block);
    std::u16string text;
    try {
        stream >> text;
        FAIL() << "nothing was thrown";
    } catch (HierarchicalException const& e) {
        EXPECT_EQ(e.levels[0].signature, basic_binstream::kSignature);
        EXPECT_EQ(typeid(e), typeid(HierarchicalException));
    }
}

TEST(LibraryBoundary, IsCrossedByAStandardException)
{
    memblock block;
    EXPECT_THROW(block.resize(~0UL), std::exception);
}

TEST(LibraryBoundary, HasOneTypeRecordWhichIsMarls)
{
    struct
    {
        char const* mWhat;
        char const* mSymbol;
    } const cases[] = {
        {"type record", "_ZTI21HierarchicalException"},
        {"its name", "_ZTS21HierarchicalException"},
        {"virtual table", "_ZTV21HierarchicalException"},
    };

    void* const loam = dlopen(LOAM_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(loam, nullptr) << dlerror();
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        // Looked up in Loam first and then in what it stands on.
        void* const symbol = dlsym(loam, c.mSymbol);
        ASSERT_NE(symbol, nullptr) << dlerror();
        Dl_info info{};
        ASSERT_NE(dladdr(symbol, &info), 0);
        EXPECT_NE(std::string(info.dli_fname).find("libmarl"), std::string::npos) << info.dli_fname;
    }
    dlclose(loam);
}
