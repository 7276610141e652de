#include "text/MappedUnits.h"

#include <cstddef>
#include <cstdint>
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
        ByteBits pages;
        std::uint16_t const* const halves = table.GetMappedHalves();
        for (std::size_t at = 0; at < sizeof pages.mBytes; ++at) {
            // Of each pair of halves the lower bit, then those side by side.
            unsigned int bits = (halves[at] | halves[at] >> 1) & 0x5555U;
            bits = (bits | bits >> 1) & 0x3333;
            bits = (bits | bits >> 2) & 0x0F0F;
            pages.mBytes[at] = static_cast<unsigned char>(bits | bits >> 4);
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
