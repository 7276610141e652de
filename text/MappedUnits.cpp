#include "text/MappedUnits.h"

#include <cstring>

#include "text/CUnicodeMappingTable.h"
#include "text/simd/TextKernels.h"

namespace {

class CMappedSet final : public CUnitSet
{
public:
    explicit CMappedSet(CUnicodeMappingTable const& table)
        : CUnitSet({}, MappedPages(table))
        , mTable(table)
    {
    }

private:
    static ByteBits MappedPages(CUnicodeMappingTable const& table)
    {
        ByteBits pages = {};
        std::uint16_t const* const halves = table.GetMappedHalves();
        for (unsigned int page = 0; page < 0x100; ++page) {
            if ((halves[page / 8] >> page % 8 * 2 & 3) != 0) pages.Add(page);
        }
        return pages;
    }

    void FillPage(unsigned int page, ByteBits& bits) const override
    {
        std::memcpy(bits.mBytes, mTable.GetMappedUnits(page), sizeof bits.mBytes);
    }

    CUnicodeMappingTable const& mTable;
};

}  // namespace

char16_t const*
FindMappedUnit(CUnicodeMappingTable const& table, char16_t const* begin, char16_t const* end)
{
    CMappedSet set(table);
    char16_t const* const found = GetTextKernels().mFindFirstUnit(set, begin, end, true);
    return found ? found : end;
}
