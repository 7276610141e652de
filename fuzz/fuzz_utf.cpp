// All UTF routines over any source, flags and capacity, at each level of instructions that the
// processor has, compared with the second statement of their rules.
//
// The first byte gives the flags and the offset of the source in memory, the next two the capacity;
// what follows is the source, taken as bytes, as UTF-16 units and as UTF-32 values.
#include "testing/NaiveUTF.h"
#include "text/CUTFConverter.h"
#include "text/simd/TextKernels.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

// Into memory of the exact size, so that the address sanitizer sees the ends.
template <class Out, class In, class Routine>
Converted<Out> Call(Routine routine, std::vector<In> const& source, size_t capacity, size_t offset)
{
    std::vector<In> memory(offset);
    memory.insert(memory.end(), source.begin(), source.end());
    std::vector<Out> written(capacity);
    In const* const begin = memory.data() + offset;
    In const* cursor = begin;
    Out* end = written.data();
    Converted<Out> done;
    done.mResult = routine(&cursor, begin + source.size(), &end, written.data() + capacity);
    done.mConsumed = static_cast<size_t>(cursor - begin);
    written.resize(static_cast<size_t>(end - written.data()));
    done.mWritten = std::move(written);
    return done;
}

template <class Unit>
std::vector<Unit> UnitsOf(uint8_t const* data, size_t size)
{
    std::vector<Unit> units(size / sizeof(Unit));
    if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(Unit));
    return units;
}

void CheckUTF8(std::vector<UTF8> const& source,
               size_t capacity,
               size_t offset,
               ConversionFlags flags)
{
    auto const to16 = [=](auto... cursors) { return ConvertUTF8toUTF16(cursors..., flags); };
    Require(Call<UTF16>(to16, source, capacity, offset) ==
            NaiveUTF8toUTF16(source, capacity, flags));
    Require(Call<UTF32>(ConvertUTF8toUTF32, source, capacity, offset) ==
            NaiveUTF8toUTF32(source, capacity));
    UTF8 const* const end = source.data() + source.size();
    Require(isLegalUTF8Sequence(source.data(), end) == NaiveIsLegalUTF8(source));
    Require(ComputeUTF16LengthFromUTF8(source.data(), end, flags) ==
            NaiveUTF16Length(source, flags));
}

void CheckUTF16(std::vector<UTF16> const& source,
                size_t capacity,
                size_t offset,
                ConversionFlags flags)
{
    auto const to8 = [=](auto... cursors) { return ConvertUTF16toUTF8(cursors..., flags); };
    auto const to32 = [=](auto... cursors) { return ConvertUTF16toUTF32(cursors..., flags); };
    Require(Call<UTF8>(to8, source, capacity, offset) == NaiveUTF16toUTF8(source, capacity, flags));
    Require(Call<UTF32>(to32, source, capacity, offset) ==
            NaiveUTF16toUTF32(source, capacity, flags));
    Require(isLegalUTF16Sequence(source.data(), source.data() + source.size()) ==
            NaiveIsLegalUTF16(source));
}

void CheckUTF32(std::vector<UTF32> const& source, size_t capacity, ConversionFlags flags)
{
    auto const to8 = [=](auto... cursors) { return ConvertUTF32toUTF8(cursors..., flags); };
    auto const to16 = [=](auto... cursors) { return ConvertUTF32toUTF16(cursors..., flags); };
    Require(Call<UTF8>(to8, source, capacity, 0) == NaiveUTF32toUTF8(source, capacity, flags));
    Require(Call<UTF16>(to16, source, capacity, 0) == NaiveUTF32toUTF16(source, capacity, flags));
}

void CheckStrings(std::vector<UTF8> const& bytes,
                  std::vector<UTF16> const& units,
                  ConversionFlags flags)
{
    auto const mode =
        flags == strictConversion ? CUTFConverter::kStrictMode : CUTFConverter::kLenientMode;
    auto const reached = flags == strictConversion ? strictConversion : lenientReplaceConversion;

    std::u16string text16 = u"former";
    auto const to16 = NaiveUTF8toUTF16(bytes, bytes.size() + 1, reached);
    bool const isConverted =
        CUTFConverter::ConvertUTF8toUTF16(std::string(bytes.begin(), bytes.end()), text16, mode);
    Require(isConverted == (to16.mResult == conversionOK));
    Require(text16 == (isConverted ? std::u16string(to16.mWritten.begin(), to16.mWritten.end())
                                   : std::u16string()));

    std::string text8 = "former";
    auto const to8 = NaiveUTF16toUTF8(units, 3 * units.size() + 1, reached);
    bool const isBack =
        CUTFConverter::ConvertUTF16toUTF8(std::u16string(units.begin(), units.end()), text8, mode);
    Require(isBack == (to8.mResult == conversionOK));
    Require(text8 ==
            (isBack ? std::string(to8.mWritten.begin(), to8.mWritten.end()) : std::string()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 3) return 0;
    constexpr ConversionFlags kFlags[] = {strictConversion, lenientConversion,
                                          lenientReplaceConversion};
    ConversionFlags const flags = kFlags[data[0] % 3];
    size_t const offset = data[0] / 8;
    size_t const capacity = static_cast<size_t>(data[1] | data[2] << 8) % (3 * size);
    data += 3;
    size -= 3;

    auto const bytes = UnitsOf<UTF8>(data, size);
    auto const units = UnitsOf<UTF16>(data, size);
    static auto const sLevels = GetAllTextKernels();
    for (TextKernels const* const kernels : sLevels) {
        StTextKernels const level(*kernels);
        CheckUTF8(bytes, capacity, offset, flags);
        CheckUTF16(units, capacity, offset, flags);
        CheckStrings(bytes, units, flags);
    }
    CheckUTF32(UnitsOf<UTF32>(data, size), capacity, flags);
    return 0;
}
